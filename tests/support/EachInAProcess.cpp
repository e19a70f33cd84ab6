// The entry of test programs whose tests each need a process of their own, because the product
// keeps state for the whole process. With `--part=I/N` the program forks before each I-th of N
// tests and runs it in the child: much cheaper than a start of the program for each. With
// `--together` it does so for each I-th of N suites, because the sanitizers make even a fork dear,
// and runs the tests of a suite that failed one by one: what counts is what they say. Without
// `--part` it is an ordinary test program.

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
constexpr std::string_view kTogetherFlag = "--together";
constexpr unsigned kTestTimeoutSeconds = 120;
constexpr unsigned kSuiteTimeoutSeconds = 600;
constexpr int kMisused = 2;

struct Part {
  std::size_t number = 0;  // from 1
  std::size_t count = 0;   // 0: not asked for
  bool together = false;
};

struct Suite {
  std::string name;
  std::vector<std::string> tests;  // with the suite's name in front
};

struct Tally {
  std::size_t ran = 0;
  std::size_t failed = 0;
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
  bool together = false;
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    if (argument.starts_with("--gtest_internal_run_death_test")) return {};
    if (argument.starts_with(kPartFlag)) part = partFrom(argument.substr(kPartFlag.size()));
    together = together || argument == kTogetherFlag;
  }
  part.together = together;
  return part;
}

std::vector<Suite> allSuites() {
  std::vector<Suite> suites;
  const testing::UnitTest& program = *testing::UnitTest::GetInstance();
  for (int i = 0; i < program.total_test_suite_count(); ++i) {
    const testing::TestSuite& suite = *program.GetTestSuite(i);
    suites.push_back({suite.name(), {}});
    for (int j = 0; j < suite.total_test_count(); ++j) {
      suites.back().tests.push_back(std::string(suite.name()) + "." + suite.GetTestInfo(j)->name());
    }
  }
  return suites;
}

[[noreturn]] void runInChild(const std::string& filter, unsigned timeoutSeconds, int output) {
  dup2(output, STDOUT_FILENO);
  dup2(output, STDERR_FILENO);
  alarm(timeoutSeconds);
  GTEST_FLAG_SET(filter, filter);
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

// Runs what the filter names in a process of its own; the status with which that ended.
int statusOf(const std::string& filter, unsigned timeoutSeconds, std::FILE* output) {
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child < 0) giveUp("a process for a test");
  if (child == 0) runInChild(filter, timeoutSeconds, fileno(output));
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) giveUp("waiting for a test");
  }
  return status;
}

std::FILE* fileForOutput() {
  std::FILE* const output = std::tmpfile();
  if (output == nullptr) giveUp("a file for a test's output");
  return output;
}

// What a test printed is shown only if it failed.
void runTest(const std::string& name, Tally& tally) {
  std::FILE* const output = fileForOutput();
  const int status = statusOf(name, kTestTimeoutSeconds, output);
  ++tally.ran;
  if (status != 0) {
    ++tally.failed;
    showOutput(fileno(output));
    std::printf("FAILED: %s (%s)\n", name.c_str(), endOf(status).c_str());
  }
  std::fclose(output);
}

void runSuiteTogether(const Suite& suite, Tally& tally) {
  std::FILE* const output = fileForOutput();
  const int status = statusOf(suite.name + ".*", kSuiteTimeoutSeconds, output);
  std::fclose(output);
  if (status == 0) {
    tally.ran += suite.tests.size();
    return;
  }
  for (const std::string& test : suite.tests) runTest(test, tally);
}

int runPart(const Part& part) {
  Tally tally;
  std::size_t index = 0;
  const auto isOurs = [&] { return index++ % part.count == part.number - 1; };
  for (const Suite& suite : allSuites()) {
    if (part.together) {
      if (isOurs()) runSuiteTogether(suite, tally);
      continue;
    }
    for (const std::string& test : suite.tests) {
      if (isOurs()) runTest(test, tally);
    }
  }
  std::printf("ran %zu tests in processes of their own: %zu passed, %zu failed\n", tally.ran,
              tally.ran - tally.failed, tally.failed);
  return tally.ran > 0 && tally.failed == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

}  // namespace

int main(int argc, char** argv) {
  const Part part = partOf(argc, argv);
  testing::InitGoogleMock(&argc, argv);
  return part.count == 0 ? RUN_ALL_TESTS() : runPart(part);
}
