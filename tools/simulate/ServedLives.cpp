#include "tools/simulate/ServedLives.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <vector>

#include "platform/host/LifeServer.h"
#include "tools/runner/LifeSurroundings.h"
#include "tools/runner/RecordReader.h"

namespace simulate {
namespace {

void add(std::string& message, const std::string& variable) {
  message += variable;
  message += '\0';
}

std::string orderOf(const ServedLife& life) {
  std::string message;
  add(message, "TPM_HOST_SCENARIO=" + life.scenario.string());
  add(message, "TPM_HOST_DRIVE=" + life.drive.string());
  add(message, "TPM_HOST_SEED=" + std::to_string(life.seed));
  add(message, "TPM_HOST_ORDER=" + life.order);
  return message;
}

}  // namespace

std::variant<std::unique_ptr<ServedLives>, std::string> ServedLives::start(
    const std::filesystem::path& service) {
  std::unique_ptr<ServedLives> lives(new ServedLives);
  lives->report_ = runner::movedUp(memfd_create("report", MFD_CLOEXEC));
  lives->stray_ = runner::movedUp(memfd_create("stray", MFD_CLOEXEC));
  if (!lives->report_.isOpen() || !lives->stray_.isOpen()) {
    return runner::systemText("no file for what a life tells");
  }
  std::string refusal = lives->spawn(service);
  if (!refusal.empty()) {
    return refusal;
  }
  return lives;
}

ServedLives::~ServedLives() {
  control_.reset();
  if (process_ > 0) {
    waitpid(process_, nullptr, 0);
  }
}

std::string ServedLives::spawn(const std::filesystem::path& service) {
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
  posix_spawn_file_actions_adddup2(&files, report_.get(), host::kLifeServerReport);
  posix_spawn_file_actions_adddup2(&files, theirs.get(), host::kLifeServerControl);
  std::vector<std::string> arguments{runner::kProgramName};
  std::vector<std::string> environment{std::string(host::kLifeServerVariable) + "=yes",
                                       "TPM_HOST_REPORT=" + std::to_string(host::kLifeServerReport),
                                       "TPM_HOST_MODE=virtual"};
  for (std::string& option : runner::sanitizerEnvironment()) {
    environment.push_back(std::move(option));
  }
  const runner::FixedAddresses fixedAddresses;
  errno = posix_spawn(&process_, service.c_str(), &files, nullptr,
                      runner::pointersTo(arguments).data(), runner::pointersTo(environment).data());
  posix_spawn_file_actions_destroy(&files);
  if (errno != 0) {
    process_ = -1;
    return runner::systemText(service.string());
  }
  const rlimit noCore{0, 0};
  prlimit(process_, RLIMIT_CORE, &noCore, nullptr);
  return {};
}

std::string ServedLives::whole(int descriptor) const {
  struct stat about = {};
  fstat(descriptor, &about);
  std::string text(static_cast<std::size_t>(about.st_size), '\0');
  const ssize_t size = pread(descriptor, text.data(), text.size(), 0);
  text.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
  return text;
}

std::variant<runner::RunResult, std::string> ServedLives::live(const ServedLife& life) {
  const std::string order = orderOf(life);
  host::ServedEnd ending;
  if (send(control_.get(), order.data(), order.size(), MSG_NOSIGNAL) < 0 ||
      recv(control_.get(), &ending, sizeof ending, 0) != static_cast<ssize_t>(sizeof ending)) {
    return "no more lives can be had: " + whole(stray_.get());
  }
  runner::RunResult result;
  bool endTold = false;
  runner::RecordReader reader;
  reader.feed(whole(report_.get()), [&](const runner::Record& record) {
    addRecord(result, record);
    endTold = endTold || record.kind == host::ReportKind::kEnd;
    return true;
  });
  result.strayOutput = whole(stray_.get());
  if (ftruncate(stray_.get(), 0) != 0 || lseek(stray_.get(), 0, SEEK_SET) != 0) {
    return runner::systemText("the stray output cannot be emptied");
  }
  if (ending.tookTooLong) {
    result.end = runner::End::kKilled;
    result.detail = "it took more than a minute";
    return result;
  }
  decideEnd(result, ending.waitStatus, endTold, reader.fault());
  return result;
}

}  // namespace simulate
