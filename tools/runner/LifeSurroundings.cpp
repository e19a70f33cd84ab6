#include "tools/runner/LifeSurroundings.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/personality.h>
#include <sys/resource.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <string_view>

#include "platform/host/ForkedLives.h"

namespace runner {
namespace {

constexpr int kSanitizerExitStatus = 99;
constexpr unsigned long kReadPersonality = 0xffffffff;
constexpr int kLowestOwnDescriptor = 10;

constexpr std::string_view kSanitizer = RUNNER_SANITIZER;

// Which change of the product is on, and where its lives note what they come by, when the build of
// `./dev mutate` asks (tools/mutate/Mutant.cpp).
std::vector<std::string> mutantEnvironment() {
  std::vector<std::string> told;
  for (const char* const name : {"MUTANT", "MUTANT_MARKS"}) {
    if (const char* const value = std::getenv(name)) {
      told.push_back(std::string(name) + "=" + value);
    }
  }
  return told;
}

// What a new process gets for its descriptors; its input is empty.
class SpawnFiles {
 public:
  SpawnFiles() {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  }
  ~SpawnFiles() { posix_spawn_file_actions_destroy(&actions_); }
  SpawnFiles(const SpawnFiles&) = delete;
  SpawnFiles& operator=(const SpawnFiles&) = delete;

  void add(int ours, int theirs) { posix_spawn_file_actions_adddup2(&actions_, ours, theirs); }
  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

// A fault that a scenario asks for is no reason to leave a core file behind: for its lifetime what
// is started inherits that. To forbid it from here afterwards would be too late for a sudden end,
// and would meet a sanitizer that reads and writes the same limit as it starts.
class NoCoreFiles {
 public:
  NoCoreFiles() {
    if (getrlimit(RLIMIT_CORE, &before_) == 0) {
      const rlimit without{0, before_.rlim_max};
      isForbidden_ = setrlimit(RLIMIT_CORE, &without) == 0;
    }
  }
  ~NoCoreFiles() {
    if (isForbidden_) {
      setrlimit(RLIMIT_CORE, &before_);
    }
  }
  NoCoreFiles(const NoCoreFiles&) = delete;
  NoCoreFiles& operator=(const NoCoreFiles&) = delete;

 private:
  rlimit before_{};
  bool isForbidden_ = false;
};

}  // namespace

Descriptor movedUp(int descriptor) {
  const Descriptor low(descriptor);
  return Descriptor(fcntl(low.get(), F_DUPFD_CLOEXEC, kLowestOwnDescriptor));
}

Descriptor takeInterrupts() {
  signal(SIGPIPE, SIG_IGN);
  sigset_t signals;
  sigemptyset(&signals);
  for (const int number : {SIGINT, SIGTERM, SIGHUP}) {
    sigaddset(&signals, number);
  }
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  return Descriptor(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (std::string& text : texts) {
    pointers.push_back(text.data());
  }
  pointers.push_back(nullptr);
  return pointers;
}

std::string systemText(const std::string& what, int error) {
  return what + ": " + std::strerror(error);
}

OwnSignals::OwnSignals() {
  posix_spawnattr_init(&attributes_);
  posix_spawnattr_setpgroup(&attributes_, 0);
  sigset_t signals;
  sigemptyset(&signals);
  posix_spawnattr_setsigmask(&attributes_, &signals);
  sigfillset(&signals);
  posix_spawnattr_setsigdefault(&attributes_, &signals);
  posix_spawnattr_setflags(&attributes_,
                           POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
}

// A fault has to end the life as it ends it without a sanitizer; only what a sanitizer itself finds
// is its report.
std::vector<std::string> sanitizerEnvironment() {
  const std::string common =
      "handle_segv=0:handle_sigbus=0:handle_sigill=0:handle_sigfpe=0:handle_abort=0:exitcode=" +
      std::to_string(kSanitizerExitStatus);
  if (kSanitizer == "address") {
    return {"ASAN_OPTIONS=" + common + ":detect_leaks=1",
            "LSAN_OPTIONS=print_suppressions=0:exitcode=" + std::to_string(kSanitizerExitStatus),
            "UBSAN_OPTIONS=" + common + ":print_stacktrace=1"};
  }
  if (kSanitizer == "thread") {
    return {"TSAN_OPTIONS=" + common};
  }
  return {};
}

FixedAddresses::FixedAddresses() : before_(personality(kReadPersonality)) {
  if (before_ >= 0) {
    inForce_ = personality(static_cast<unsigned long>(before_) | ADDR_NO_RANDOMIZE) >= 0;
  }
}

FixedAddresses::~FixedAddresses() {
  if (inForce_) {
    personality(static_cast<unsigned long>(before_));
  }
}

std::variant<StartedProgram, std::string> startProgram(const ProgramStart& start) {
  SpawnFiles files;
  files.add(start.stray, STDOUT_FILENO);
  files.add(start.stray, STDERR_FILENO);
  files.add(start.report, host::kLifeReport);
  for (const auto& [ours, number] : start.descriptors) {
    files.add(ours, number);
  }
  std::vector<std::string> arguments{kProgramName};
  arguments.insert(arguments.end(), start.arguments.begin(), start.arguments.end());
  std::vector<std::string> environment = start.environment;
  environment.push_back("TPM_HOST_REPORT=" + std::to_string(host::kLifeReport));
  for (const auto& more : {sanitizerEnvironment(), mutantEnvironment()}) {
    environment.insert(environment.end(), more.begin(), more.end());
  }
  const FixedAddresses fixedAddresses;
  const NoCoreFiles noCoreFiles;
  StartedProgram started;
  started.addressesFixed = fixedAddresses.inForce();
  const int error =
      posix_spawn(&started.process, start.program.c_str(), files.get(), start.attributes,
                  pointersTo(arguments).data(), pointersTo(environment).data());
  if (error != 0) {
    return systemText(start.program.string(), error);
  }
  return started;
}

void decideEnd(RunResult& result, int waitStatus, bool endTold, const std::string& reportFault) {
  const int status = WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : 0;
  if (WIFSIGNALED(waitStatus)) {
    const int signal = WTERMSIG(waitStatus);
    const bool isFault =
        signal == SIGSEGV || signal == SIGBUS || signal == SIGILL || signal == SIGFPE;
    const char* name = sigabbrev_np(signal);
    result.detail =
        name == nullptr ? "signal " + std::to_string(signal) : std::string("SIG") + name;
    result.end = isFault ? End::kFault : signal == SIGABRT ? End::kTerminate : End::kLost;
    return;
  }
  if (!kSanitizer.empty() && status == kSanitizerExitStatus) {
    result.end = End::kSanitizer;
    result.detail = "";
    return;
  }
  if (!reportFault.empty()) {
    result.end = End::kLost;
    result.detail = reportFault;
    return;
  }
  if (!endTold) {
    result.end = End::kLost;
    result.detail = "exit status " + std::to_string(status) + ", and it told no end";
    return;
  }
  if (result.end == End::kExit && (result.exitCode & 0xff) != status) {
    result.end = End::kLost;
    result.detail = "exit status " + std::to_string(status) + ", but it told exit code " +
                    std::to_string(result.exitCode);
  }
}

}  // namespace runner
