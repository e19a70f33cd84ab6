// The entry of test programs whose tests each need a process of their own, because the product
// keeps state for the whole process. With `--part=I/N` the program forks before each I-th of N
// tests and runs it in the child: much cheaper than a start of the program for each, above all
// under the sanitizers. Without it, it is an ordinary test program.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::string_view kPartFlag = "--part=";
constexpr unsigned kTestTimeoutSeconds = 120;
constexpr int kMisused = 2;

struct Part {
  std::size_t number = 0;  // from 1
  std::size_t count = 0;   // 0: not asked for
};

bool readNumber(std::string_view text, std::size_t& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc{} && end == text.data() + text.size();
}

// "2/16"; ends the program if it is anything else.
Part partFrom(std::string_view text) {
  Part part;
  const std::size_t slash = text.find('/');
  if (slash == std::string_view::npos || !readNumber(text.substr(0, slash), part.number) ||
      !readNumber(text.substr(slash + 1), part.count) || part.number == 0 ||
      part.number > part.count) {
    std::fprintf(stderr, "%s%.*s: it must be a part's number and how many there are, as in 2/16\n",
                 kPartFlag.data(), static_cast<int>(text.size()), text.data());
    std::exit(kMisused);
  }
  return part;
}

// What the arguments ask for. A death test starts the program anew with the arguments of its own
// process, and runs a single test then.
Part partOf(int argc, char** argv) {
  Part part;
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument.starts_with("--gtest_internal_run_death_test")) return {};
    if (argument.starts_with(kPartFlag)) part = partFrom(argument.substr(kPartFlag.size()));
  }
  return part;
}

std::vector<std::string> allTests() {
  std::vector<std::string> names;
  const testing::UnitTest& tests = *testing::UnitTest::GetInstance();
  for (int i = 0; i < tests.total_test_suite_count(); ++i) {
    const testing::TestSuite& suite = *tests.GetTestSuite(i);
    for (int j = 0; j < suite.total_test_count(); ++j) {
      names.push_back(std::string(suite.name()) + "." + suite.GetTestInfo(j)->name());
    }
  }
  return names;
}

[[noreturn]] void runInChild(const std::string& name, int output) {
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
  alarm(kTestTimeoutSeconds);
  GTEST_FLAG_SET(filter, name);
  std::exit(RUN_ALL_TESTS());
}

void showOutput(int output) {
  lseek(output, 0, SEEK_SET);
  std::array<char, 4096> block{};
  for (ssize_t size = 0; (size = read(output, block.data(), block.size())) > 0;) {
    std::fwrite(block.data(), 1, static_cast<std::size_t>(size), stdout);
  }
}

std::string endOf(int status) {
  if (WIFSIGNALED(status)) return std::string("killed by ") + strsignal(WTERMSIG(status));
  return "exit status " + std::to_string(WEXITSTATUS(status));
}

[[noreturn]] void giveUp(const char* what) {
  std::fprintf(stderr, "%s: %s\n", what, std::strerror(errno));
  std::exit(EXIT_FAILURE);
}

// True if the test passed. What it printed is shown only if it did not.
bool passes(const std::string& name) {
  std::FILE* const output = std::tmpfile();
  if (output == nullptr) giveUp("a file for a test's output");
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child < 0) giveUp("a process for a test");
  if (child == 0) runInChild(name, fileno(output));
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) giveUp("waiting for a test");
  }
  if (status != 0) {
    showOutput(fileno(output));
    std::printf("FAILED: %s (%s)\n", name.c_str(), endOf(status).c_str());
  }
  std::fclose(output);
  return status == 0;
}

int runPart(const Part& part) {
  const std::vector<std::string> names = allTests();
  std::size_t ran = 0;
  std::size_t failed = 0;
  for (std::size_t i = part.number - 1; i < names.size(); i += part.count) {
    ++ran;
    if (!passes(names[i])) ++failed;
  }
  std::printf("ran %zu tests, each in a process of its own: %zu passed, %zu failed\n", ran,
              ran - failed, failed);
  return ran > 0 && failed == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
  const Part part = partOf(argc, argv);
  testing::InitGoogleMock(&argc, argv);
  return part.count == 0 ? RUN_ALL_TESTS() : runPart(part);
}
