#include "tests/machine/ToolProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <fstream>
#include <iterator>

namespace {

std::string contentOf(const std::filesystem::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

}  // namespace

ToolProcess::ToolProcess(const std::vector<std::string>& arguments,
                         const std::filesystem::path& standardOutput) {
  const auto out = standardOutput.empty() ? streams_.path() / "out" : standardOutput;
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC | O_APPEND;
  if (standardOutput == kClosedOutput) {
    posix_spawn_file_actions_addclose(&files, 1);
  } else {
    posix_spawn_file_actions_addopen(&files, 1, out.c_str(), kFlags, 0600);
  }
  posix_spawn_file_actions_addopen(&files, 2, (streams_.path() / "err").c_str(), kFlags, 0600);

  std::vector<std::string> texts{RUN_TOOL};
  texts.insert(texts.end(), arguments.begin(), arguments.end());
  std::vector<char*> argv;
  for (std::string& text : texts) {
    argv.push_back(text.data());
  }
  argv.push_back(nullptr);
  std::string temporary = "TMPDIR=" + temporary_.path().string();
  char* const environment[] = {temporary.data(), nullptr};
  const int error = posix_spawn(&process_, RUN_TOOL, &files, nullptr, argv.data(), environment);
  posix_spawn_file_actions_destroy(&files);
  if (error != 0) {
    process_ = -1;
    ADD_FAILURE() << RUN_TOOL << " cannot be started";
  }
}

ToolProcess::~ToolProcess() {
  if (process_ > 0) {
    kill(process_, SIGKILL);
    wait();
  }
}

std::string ToolProcess::standardOutput() const {
  return contentOf(streams_.path() / "out");
}

std::string ToolProcess::standardError() const {
  return contentOf(streams_.path() / "err");
}

void ToolProcess::signal(int number) const {
  kill(process_, number);
}

int ToolProcess::wait() {
  int status = 0;
  while (waitpid(process_, &status, 0) < 0 && errno == EINTR) {
  }
  process_ = -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

ToolRun runTool(const std::vector<std::string>& arguments) {
  ToolProcess process(arguments);
  const int status = process.wait();
  EXPECT_TRUE(std::filesystem::is_empty(process.temporaryFolder()))
      << "the tool left something in the folder for temporary files";
  return {status, process.standardOutput(), process.standardError()};
}
