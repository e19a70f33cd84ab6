#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "platform/host/Scheduler.h"
#include "platform/host/TraceSessions.h"
#include "platform/host/windows/Types.h"

namespace host {

// What a run is like, as a person wrote it down. docs/scenarios.md describes the text.

// Something that happens to the machine from outside.
struct Action {
  enum class Kind {
    kSignalEvent,     // subject: the event's name
    kPublishEvent,    // subject: the event's name
    kWithdrawEvent,   // subject: the event's name
    kControl,         // number: the control's number; 1 is a stop
    kWriteFile,       // subject: path, text: content
    kDeleteFile,      // subject: path
    kLogEvent,        // subject: the provider, text: the log, number: the event's id
    kEnableTrace,     // subject: the session's name, number: the level, or kOwnLevel
    kDisableTrace,    // subject: the session's name
    kAttachListener,  // somebody begins to listen to the debug output
    kDetachListener,  // nobody listens to it any more
    kPower,           // number: 1 for batteries, 0 for mains
    kNetwork,         // number: 1 if there is one from now on
    kSuspend,         // span: for so long the machine sleeps
    kClock,           // span: by so much somebody sets the clock on, or back if it is negative
    kEndProcess,      // the process is ended from outside
  };
  // The level that the session's own section gives.
  static constexpr DWORD kOwnLevel = 256;

  Kind kind = Kind::kSignalEvent;
  std::wstring subject;
  std::string text;
  DWORD number = 0;
  Nanoseconds span = 0;
};

// When it happens.
struct Moment {
  enum class Kind {
    kAt,          // at a time of the machine's clock after the process's start
    kBeforeCall,  // when the run comes to the nth call of a platform call, ahead of its work
    kInsideCall,  // the same, and the caller goes on first
    kOnLog,       // when the nth log line that contains the text reached the listener
    kOnStatus,    // when the service reported a state for the nth time
  };
  Kind kind = Kind::kAt;
  Nanoseconds at = 0;
  std::string name;  // of the call, the text, or the state ("RUNNING")
  unsigned nth = 1;
};

struct Step {
  Moment moment;
  Action action;
  int line = 0;
};

struct InjectedFault {
  std::string call;
  DWORD error = 0;
  unsigned nth = 1;
  bool lasting = false;
  bool isDone = false;  // the call does its work, and fails all the same
};

struct ScenarioFile {
  std::wstring path;
  std::string bytes;
};

struct ScenarioRegistryKey {
  std::wstring key;
  std::vector<std::pair<std::wstring, std::wstring>> values;  // name and text
};

struct ScenarioTrace {
  std::string session;
  GUID provider{};
  TraceFilter filter;
  bool enabled = true;  // at the process's start
};

struct ScenarioDevice {
  std::wstring instanceId;
  std::wstring classGuid;
  std::vector<std::wstring> hardwareIds;
  std::wstring softwareKey;
  bool present = true;
  std::uint32_t locateResult = 0;  // what locating its node answers
};

// How the run must end.
struct ExpectedEnd {
  enum class Kind {
    kExit,       // the process ended with this exit code
    kFault,      // an access violation or the like ended it
    kTerminate,  // an exception that nobody caught ended it
    kRunning,    // it was still running when the time was up
    kDeadlock,   // nobody could ever go on
    kEnded,      // a step of the script ended it
  };
  Kind kind = Kind::kExit;
  std::int32_t exitCode = 0;
  // What the service manager was told last, if the scenario says so: state and exit code.
  std::optional<DWORD> lastState;
  std::optional<DWORD> lastExitCode;
};

struct Scenario {
  std::string name;   // the file's name without folder and ending
  std::string about;  // a sentence
  std::string after;  // the scenario whose life's drive this one begins with; empty for none
  // Why the Windows program cannot live through it under Wine: empty if it can, absent if the
  // scenario does not say.
  std::optional<std::string> wineReason;

  // The machine.
  DWORD majorVersion = 10;
  DWORD minorVersion = 0;
  DWORD buildNumber = 19045;
  LANGID language = 0x0409;
  std::optional<SYSTEMTIME> clock;  // local time at the start
  int minutesAheadOfUtc = 0;
  bool startedByManager = true;
  std::vector<std::wstring> arguments;  // of the command line, without the program's name
  std::optional<std::vector<std::wstring>> privileges;  // all if absent
  std::vector<std::wstring> unknownPrivileges;
  bool administrator = true;
  bool debugListener = true;
  std::optional<std::wstring> serviceProgram;  // its file; in the usual place if absent
  std::vector<std::wstring> publishedEvents;
  std::vector<std::wstring> takenNamespaces;
  std::map<std::wstring, std::wstring> environment;
  bool network = true;
  bool onBatteries = false;
  bool schedulerRefuses = false;
  bool moduleFileNameClearsLastError = true;
  std::optional<Nanoseconds> taskProgramRuns;
  std::optional<std::uint32_t> freeBytes;  // of the drive
  bool shortWrites = false;
  std::vector<std::wstring> deniedPaths;
  std::vector<std::wstring> readOnlyFiles;
  std::vector<DWORD> taskProgramExitCodes;
  bool comSecurityEnds = true;  // with the last thread that has begun COM

  // The client stack.
  std::optional<std::wstring> stackDirectory;  // installed there: device, keys and folder
  std::string clientLibrary = "talsClient";    // the stand-in's variant; empty for none
  std::string proxyLibrary = "talsProxy";
  bool recertificationProgram = true;
  bool recertificationCrashes = false;  // an access violation ends the program
  std::string clientScript;             // the answers of the client library, call by call
  std::vector<int> clientScriptLines;   // where each of its lines stands in the scenario

  std::vector<ScenarioFile> files;
  std::vector<ScenarioRegistryKey> registry;
  std::vector<ScenarioDevice> devices;
  std::vector<ScenarioTrace> traces;
  std::vector<InjectedFault> faults;
  std::vector<Step> script;

  Nanoseconds limit = 60'000 * kNanosecondsPerMillisecond;
  bool endlessLoopExpected = false;  // the run is required to spin
  ExpectedEnd end;
  // What the run must leave open or release too often, by its name in the list of imbalances, and
  // how often. Anything else that the ledger has fails the run.
  std::map<std::string, unsigned> imbalances;
  // The drive after the life: files that it left as it found them, files that are not there, and
  // the text that is in others.
  std::vector<std::wstring> unchangedFiles;
  std::vector<std::wstring> absentFiles;
  std::vector<ScenarioFile> leftFiles;
  // The calls that reach beyond the process and that the run must make, thread by thread in their
  // order. Empty if the scenario does not say; then none are told.
  std::map<std::string, std::vector<std::string>> calls;
  // What the run must print with seed 0 in virtual time, stamps and addresses aside. Absent if the
  // scenario does not say.
  std::optional<std::vector<std::string>> expected;
};

// What is wrong with a scenario's text.
struct ScenarioError {
  int line;
  std::string reason;
};

// Reads a scenario's text; nothing is done with a text that has an error. What must not be
// missing is reported at the line of the section that it belongs to.
std::variant<Scenario, ScenarioError> parseScenario(std::string_view name, std::string_view text);

// Puts everything on the drive that the scenario's machine has there: configuration and other
// files, the client libraries with their script, the recertification program. `standIns` is the
// folder with the built stand-ins. Done once, ahead of the (first) life.
// Gives a reason if something could not be written.
std::optional<std::string> prepareDrive(const Scenario& scenario,
                                        const std::filesystem::path& drive,
                                        const std::filesystem::path& standIns);

// Makes this process's machine what the scenario says, except for the drive, and arms the faults
// and the steps that wait for a call, a log line or a status: calls are counted from here. Called
// before the product's static objects are made, so it must not use any of the product's or static
// streams. The scenario must live as long as the process.
void setUpMachine(const Scenario& scenario);

// Starts the thread that lets the timed steps happen and ends the life at the limit. Called on the
// main thread ahead of the product's entry. The scenario must live as long as the process.
void startScript(const Scenario& scenario);

}  // namespace host
