#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <vector>

#include "platform/host/Call.h"
#include "platform/host/Ledger.h"
#include "platform/host/Machine.h"
#include "platform/host/ProcessObject.h"

namespace host {
namespace {

constexpr DWORD kFirstProcessId = 0x2000;
constexpr DWORD kIdStep = 4;
constexpr int kPatienceMs = 10'000;
// The stand-in ends at once, and what it leaves on the drive must not depend on who is faster.
constexpr int kGraceMs = 2'000;

std::vector<pid_t>& children() {
  static auto* all = new std::vector<pid_t>;
  return *all;
}

bool hasEnded(pid_t child) {
  siginfo_t info{};
  return waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT) != 0 ||
         info.si_pid == child;
}

// False if it has not ended by then.
bool waitForEnd(pid_t child, int patienceMs) {
  const int descriptor = static_cast<int>(syscall(SYS_pidfd_open, child, 0));
  pollfd ended{descriptor, POLLIN, 0};
  const bool hasCome = poll(&ended, 1, patienceMs) > 0;
  close(descriptor);
  return hasCome;
}

// Starts the file with nothing of ours but its own folder as current directory.
int spawnProgram(const std::filesystem::path& file, pid_t* child) {
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addchdir_np(&actions, file.parent_path().c_str());
  std::string name = file.string();
  char* arguments[] = {name.data(), nullptr};
  char* environment[] = {nullptr};
  const int error = posix_spawn(child, file.c_str(), &actions, nullptr, arguments, environment);
  posix_spawn_file_actions_destroy(&actions);
  return error;
}

}  // namespace

StartedProgram startProgram(const std::wstring& path) {
  DWORD error = 0;
  const auto file =
      machine().drive.locate(Drive::normalized(path, machine().currentDirectory), &error);
  if (!file.has_value() || !std::filesystem::exists(*file)) {
    return {error != 0 ? error : ERROR_FILE_NOT_FOUND};
  }
  if (std::filesystem::is_directory(*file)) {
    return {ERROR_ACCESS_DENIED};
  }
  pid_t child = 0;
  if (spawnProgram(*file, &child) != 0) {
    return {ERROR_BAD_EXE_FORMAT};
  }
  children().push_back(child);
  const auto number = static_cast<DWORD>(children().size() - 1);
  return {ERROR_SUCCESS, child, kFirstProcessId + 2 * kIdStep * number};
}

bool ProcessObject::signalled(const Thread& /*waiter*/) const {
  return hasEnded(child_);
}

int exitCodeOf(pid_t child) {
  if (!waitForEnd(child, kPatienceMs)) {
    endProgram(child);
  }
  siginfo_t info{};
  waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT);
  return info.si_status;
}

void endProgram(pid_t child) {
  if (!waitForEnd(child, kGraceMs)) {
    kill(child, SIGKILL);
  }
}

void waitForPrograms() {
  for (const pid_t child : children()) {
    waitForEnd(child, kPatienceMs);
  }
}

}  // namespace host

using host::Call;

HANDLE GetCurrentProcess() {
  const Call call("GetCurrentProcess");
  return INVALID_HANDLE_VALUE;  // the process's pseudo-handle has this value on the platform too
}

BOOL CreateProcessW(LPCWSTR applicationName, LPWSTR commandLine,
                    LPSECURITY_ATTRIBUTES processAttributes, LPSECURITY_ATTRIBUTES threadAttributes,
                    BOOL inheritHandles, DWORD flags, LPVOID environment, LPCWSTR currentDirectory,
                    LPSTARTUPINFOW startupInfo, LPPROCESS_INFORMATION processInformation) {
  Call call("CreateProcessW", applicationName, commandLine, processAttributes, threadAttributes,
            inheritHandles, flags, environment, currentDirectory);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  if (applicationName == nullptr || startupInfo == nullptr || processInformation == nullptr ||
      startupInfo->cb != sizeof(STARTUPINFOW)) {
    return call.fails(ERROR_INVALID_PARAMETER, FALSE);
  }
  const host::Scheduler::Guard guard;
  host::Machine& machine = host::machine();
  const host::StartedProgram started = host::startProgram(applicationName);
  if (started.error != ERROR_SUCCESS) {
    return call.fails(started.error, FALSE);
  }
  machine.programsStarted.emplace_back(applicationName);
  machine.note("program started: " + host::toUtf8(applicationName));
  if (call.failsWhenDone()) {
    return call.fails(call.fault(), FALSE);
  }
  auto& handles = host::HandleTable::instance();
  processInformation->hProcess =
      handles.add(std::make_shared<host::ProcessObject>(started.child), "CreateProcessW");
  processInformation->hThread =
      handles.add(std::make_shared<host::ProgramThreadObject>(started.child), "CreateProcessW");
  processInformation->dwProcessId = started.processId;
  processInformation->dwThreadId = processInformation->dwProcessId + host::kIdStep;
  return call.returns(TRUE);
}
