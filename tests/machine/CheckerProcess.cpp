#include "tests/machine/CheckerProcess.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>
#include <fstream>
#include <iterator>

#include "tests/machine/TemporaryFolder.h"

namespace {

namespace fs = std::filesystem;

std::string contentOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

}  // namespace

CheckerRun runCheckerScript(const fs::path& folder, const std::string& script) {
  const TemporaryFolder streams;
  const TemporaryFolder temporary;
  std::string shell = "/bin/sh";
  std::string option = "-c";
  std::string inFolder = "cd \"$FOLDER\" || exit 99\n" + script;
  char* const argv[] = {shell.data(), option.data(), inFolder.data(), nullptr};
  std::string place = "FOLDER=" + folder.string();
  std::string path = "PATH=" + fs::path(CONFIG_CHECK).parent_path().string() + ":/usr/bin:/bin";
  std::string temporaryFiles = "TMPDIR=" + temporary.path().string();
  char* const environment[] = {place.data(), path.data(), temporaryFiles.data(), nullptr};

  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  constexpr int kFlags = O_WRONLY | O_CREAT | O_TRUNC;
  posix_spawn_file_actions_addopen(&files, 1, (streams.path() / "out").c_str(), kFlags, 0600);
  posix_spawn_file_actions_addopen(&files, 2, (streams.path() / "err").c_str(), kFlags, 0600);
  pid_t process = -1;
  const int error = posix_spawn(&process, shell.c_str(), &files, nullptr, argv, environment);
  posix_spawn_file_actions_destroy(&files);
  if (error != 0) {
    ADD_FAILURE() << "no shell";
    return {};
  }
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  EXPECT_TRUE(fs::is_empty(temporary.path()))
      << "the checker left something in the folder for temporary files";
  return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status),
          contentOf(streams.path() / "out"), contentOf(streams.path() / "err")};
}
