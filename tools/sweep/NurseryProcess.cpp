#include "tools/sweep/NurseryProcess.h"

#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <vector>

#include "tools/runner/LifeSurroundings.h"
#include "tools/runner/RecordReader.h"

namespace sweep {
namespace {

namespace fs = std::filesystem;

constexpr int kReportDescriptor = 3;
constexpr std::size_t kMostStrayBytes = 4096;

std::string readWhole(int descriptor, std::size_t most) {
  std::string text;
  std::array<char, 65536> block{};
  while (text.size() < most) {
    const ssize_t size =
        pread(descriptor, block.data(), block.size(), static_cast<off_t>(text.size()));
    if (size <= 0) {
      break;
    }
    text.append(block.data(), static_cast<std::size_t>(size));
  }
  return text;
}

}  // namespace

std::variant<std::unique_ptr<NurseryProcess>, std::string> NurseryProcess::start(
    const runner::LoadedScenario& loaded, const fs::path& folder) {
  std::unique_ptr<NurseryProcess> nursery(new NurseryProcess);
  nursery->template_ = folder / "template";
  nursery->drive_ = folder / "drive";
  const runner::RunOptions options;
  if (auto reason = runner::prepareScenario(loaded, nursery->template_, options)) {
    return *reason;
  }
  std::string refusal = nursery->open();
  if (refusal.empty()) {
    refusal = nursery->spawn(runner::lifeOf(loaded, nursery->drive_, options));
  }
  if (!refusal.empty()) {
    return refusal;
  }
  return nursery;
}

NurseryProcess::~NurseryProcess() {
  control_.reset();
  if (process_ > 0) {
    waitpid(process_, nullptr, 0);
  }
  if (watch_ != nullptr) {
    munmap(const_cast<host::LifeWatch*>(watch_), sizeof(host::LifeWatch));
  }
}

std::string NurseryProcess::open() {
  report_ = runner::movedUp(memfd_create("report", MFD_CLOEXEC));
  stray_ = runner::movedUp(memfd_create("stray", MFD_CLOEXEC));
  watchFile_ = runner::movedUp(memfd_create("watch", MFD_CLOEXEC));
  if (!report_.isOpen() || !stray_.isOpen() || !watchFile_.isOpen() ||
      ftruncate(watchFile_.get(), sizeof(host::LifeWatch)) != 0) {
    return runner::systemText("no file for what a life tells");
  }
  void* const mapped =
      mmap(nullptr, sizeof(host::LifeWatch), PROT_READ, MAP_SHARED, watchFile_.get(), 0);
  if (mapped == MAP_FAILED) {
    return runner::systemText("the watch cannot be mapped");
  }
  watch_ = static_cast<const host::LifeWatch*>(mapped);
  return {};
}

std::string NurseryProcess::spawn(const runner::LifeOptions& options) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
    return runner::systemText("no socket");
  }
  control_ = runner::movedUp(ends[0]);
  const runner::Descriptor theirs = runner::movedUp(ends[1]);

  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_adddup2(&files, stray_.get(), STDOUT_FILENO);
  posix_spawn_file_actions_adddup2(&files, stray_.get(), STDERR_FILENO);
  posix_spawn_file_actions_adddup2(&files, report_.get(), kReportDescriptor);
  posix_spawn_file_actions_adddup2(&files, theirs.get(), host::kNurseryControl);
  posix_spawn_file_actions_adddup2(&files, watchFile_.get(), host::kNurseryWatch);
  std::vector<std::string> arguments{runner::kProgramName};
  arguments.insert(arguments.end(), options.arguments.begin(), options.arguments.end());
  std::vector<std::string> environment = options.environment;
  environment.push_back("TPM_HOST_REPORT=" + std::to_string(kReportDescriptor));
  environment.push_back(std::string(host::kNurseryVariable) + "=yes");
  for (std::string& option : runner::sanitizerEnvironment()) {
    environment.push_back(std::move(option));
  }
  const runner::FixedAddresses fixedAddresses;
  errno = posix_spawn(&process_, options.program.c_str(), &files, nullptr,
                      runner::pointersTo(arguments).data(), runner::pointersTo(environment).data());
  posix_spawn_file_actions_destroy(&files);
  if (errno != 0) {
    process_ = -1;
    return runner::systemText(options.program.string());
  }
  const rlimit noCore{0, 0};
  prlimit(process_, RLIMIT_CORE, &noCore, nullptr);
  return {};
}

std::string NurseryProcess::freshDrive() {
  std::error_code error;
  fs::remove_all(drive_, error);
  if (!error) {
    fs::copy(template_, drive_, fs::copy_options::recursive | fs::copy_options::copy_symlinks,
             error);
  }
  return error ? drive_.string() + ": " + error.message() : "";
}

std::string NurseryProcess::readReport(runner::RunResult& result, bool& endTold) {
  const auto take = [&](const runner::Record& record) {
    addRecord(result, record);
    endTold = endTold || record.kind == host::ReportKind::kEnd;
    return true;
  };
  runner::RecordReader reader;
  reader.feed(readWhole(report_.get(), SIZE_MAX), take);
  return reader.fault();
}

std::variant<runner::RunResult, std::string> NurseryProcess::live(const host::LifeOrder& order) {
  if (std::string reason = freshDrive(); !reason.empty()) {
    return reason;
  }
  host::LifeEnding ending;
  if (send(control_.get(), &order, sizeof order, MSG_NOSIGNAL) < 0 ||
      recv(control_.get(), &ending, sizeof ending, 0) != static_cast<ssize_t>(sizeof ending)) {
    return "the nursery is gone: " + readWhole(stray_.get(), kMostStrayBytes);
  }
  runner::RunResult result;
  bool endTold = false;
  const std::string fault = readReport(result, endTold);
  result.strayOutput = readWhole(stray_.get(), kMostStrayBytes);
  if (ftruncate(stray_.get(), 0) != 0 || lseek(stray_.get(), 0, SEEK_SET) != 0) {
    return runner::systemText("the stray output cannot be emptied");
  }
  if (ending.tookTooLong) {
    result.end = runner::End::kKilled;
    result.detail = "it took more than a minute";
    return result;
  }
  decideEnd(result, ending.waitStatus, endTold, fault);
  return result;
}

}  // namespace sweep
