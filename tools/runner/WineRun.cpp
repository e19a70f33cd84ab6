#include "tools/runner/WineRun.h"
#include "tools/runner/LifeSurroundings.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>

#include "platform/host/Drive.h"
#include "platform/host/Text.h"
#include "tools/runner/DriveCheck.h"
#include "tools/runner/LifeSurroundings.h"
#include "tools/runner/WinePlan.h"

namespace runner {
namespace {

namespace fs = std::filesystem;

constexpr char kShell[] = "/bin/bash";
// How a process ends that touched memory that it must not, and one whose C++ runtime gave up.
constexpr std::uint32_t kAccessViolation = 0xC0000005;
constexpr std::int32_t kAborted = 3;
// A prefix is begun and ended anew for each run, and the machine may be busy.
constexpr std::chrono::seconds kBeyondLimit{120};

std::vector<std::string> wineEnvironment() {
  std::vector<std::string> environment;
  for (const char* name : {"PATH", "HOME", "USER", "LANG"}) {
    if (const char* value = std::getenv(name)) {
      environment.push_back(std::string(name) + "=" + value);
    }
  }
  return environment;
}

// Runs the script for prefixes to its end. Gives why it failed, or nothing.
std::string runSession(const WinePrograms& programs, std::vector<std::string> arguments) {
  const std::string what = arguments.front();
  arguments.insert(arguments.begin(), {kShell, programs.session.string()});
  std::vector<std::string> environment = wineEnvironment();
  pid_t process = -1;
  // Wine's server ends by an interrupt, so it must not be born with that one blocked.
  const OwnSignals signals;
  const int error = posix_spawn(&process, kShell, nullptr, signals.get(),
                                pointersTo(arguments).data(), pointersTo(environment).data());
  if (error != 0) {
    return std::string(kShell) + ": " + std::strerror(error);
  }
  int status = 0;
  while (waitpid(process, &status, 0) < 0 && errno == EINTR) {
  }
  return status == 0 ? "" : "the prefix's " + what + " failed";
}

// A prefix for one run. What is at work in it is ended with the object, and the prefix is removed.
class Prefix {
 public:
  Prefix(const WinePrograms& programs, fs::path folder)
      : programs_(programs), folder_(std::move(folder)) {}
  ~Prefix() {
    if (made_) {
      runSession(programs_, {"end", folder_.string()});
    }
  }
  Prefix(const Prefix&) = delete;
  Prefix& operator=(const Prefix&) = delete;

  std::string make() {
    std::string fault = runSession(programs_, {"template", programs_.prefixTemplate.string()});
    if (fault.empty()) {
      made_ = true;
      fault = runSession(programs_, {"clone", programs_.prefixTemplate.string(), folder_.string()});
    }
    return fault;
  }

  const fs::path& folder() const { return folder_; }

 private:
  const WinePrograms& programs_;
  fs::path folder_;
  bool made_ = false;
};

void append(const fs::path& file, const std::string& text) {
  std::ofstream out(file, std::ios::binary | std::ios::app);
  out << text << std::flush;
  if (!out) {
    throw host::DriveError(file.string() + ": it could not be written");
  }
}

// The program, byte for byte as it is shipped, its language libraries, and beside it what Wine
// lacks.
void installProgram(const host::Scenario& scenario, host::Drive& drive, const fs::path& build) {
  const auto put = [&](const fs::path& file) {
    drive.copyIn(file, fileBesideProgram(scenario, host::toWide(file.filename().string())));
  };
  drive.copyIn(build / "program" / "TPMEnrollmentService.exe", serviceProgramOf(scenario));
  for (const fs::directory_entry& file : fs::directory_iterator(build / "program")) {
    if (file.path().extension() == ".dll") {
      put(file.path());
    }
  }
  put(build / "wine" / "cfgmgr32.dll");
  put(build / "wine" / "tasks.dll");
}

// Wine takes its own library first unless it is told otherwise, program by program.
std::string userRegistry(const host::Scenario& scenario) {
  const std::string program = host::toUtf8(serviceProgramOf(scenario));
  return "\n[Software\\\\Wine\\\\AppDefaults\\\\" + program.substr(program.rfind('\\') + 1) +
         "\\\\DllOverrides] 1700000000\n\"cfgmgr32\"=\"native\"\n";
}

// What an exit code of the platform says about the end.
void judgeExit(RunResult& result) {
  if (result.end != End::kExit) {
    return;
  }
  if (static_cast<std::uint32_t>(result.exitCode) == kAccessViolation) {
    result.end = End::kFault;
    result.detail = "access violation";
  } else if (result.exitCode == kAborted) {
    result.end = End::kTerminate;
    result.detail = "exit code 3";
  }
}

}  // namespace

std::variant<RunResult, std::string> runUnderWine(const LoadedScenario& loaded,
                                                  const fs::path& drive, const RunOptions& options,
                                                  const WinePrograms& programs) {
  const host::Scenario& scenario = loaded.scenario;
  Prefix prefix(programs, drive / "prefix");
  if (std::string fault = prefix.make(); !fault.empty()) {
    return fault;
  }
  try {
    // By a way that leads there from a folder that is kept, too.
    fs::create_directory_symlink(prefix.folder().filename() / "drive_c", drive / "C");
    if (auto reason = host::prepareDrive(scenario, drive, programs.build / "standins")) {
      return *reason;
    }
    host::Drive files;
    files.keepIn(drive);
    installProgram(scenario, files, programs.build);
    append(prefix.folder() / "system.reg", wineRegistry(scenario));
    append(prefix.folder() / "user.reg", userRegistry(scenario));
    append(drive / "plan", winePlan(scenario));

    DriveCheck check(scenario, drive);
    LifeOptions life;
    life.program = kShell;
    life.arguments = {programs.session.string(), "live", prefix.folder().string(),
                      (programs.build / "wine" / "life.exe").string(),
                      "Z:" + (drive / "plan").string()};
    life.environment = wineEnvironment();
    life.bound =
        std::chrono::milliseconds(scenario.limit / host::kNanosecondsPerMillisecond) + kBeyondLimit;
    life.interrupt = options.interrupt;
    life.onRecord = options.onRecord;
    auto ran = LifeProcess::run(life);
    if (auto* result = std::get_if<RunResult>(&ran)) {
      judgeExit(*result);
      result->drive = check.differences();
    }
    return ran;
  } catch (const std::exception& error) {
    return error.what();
  }
}

}  // namespace runner
