// A scenario's life: the machine that it finds, and what happens to it from outside.

#include <algorithm>
#include <atomic>
#include <memory>
#include <utility>
#include <vector>

#include "platform/host/Bootstrap.h"
#include "platform/host/Call.h"
#include "platform/host/DriveLimits.h"
#include "platform/host/Imbalances.h"
#include "platform/host/Ledger.h"
#include "platform/host/Machine.h"
#include "platform/host/OutsideCalls.h"
#include "platform/host/Report.h"
#include "platform/host/Scenario.h"
#include "platform/host/TaskRuns.h"
#include "platform/host/TraceDecoder.h"

namespace host {
namespace {

// So many calls in a row that no wait comes between mean a loop that will not end.
constexpr unsigned kEndlessLoopCalls = 10'000;

// The sessions of the scenario that is run, which lives as long as the process.
const std::vector<ScenarioTrace>* theTraces = nullptr;
// The script's own thread: what it does comes from outside the machine.
std::atomic<const Thread*> theScript = nullptr;
// Before version 6.2 a wait counts the time in which the machine sleeps.
bool theWaitsCountOn = false;

void note(const std::string& what) {
  machine().note(what);
}

void signalEvent(const Action& action) {
  const bool isThere = machine().signalEvent(action.subject);
  note("event " + toUtf8(action.subject) +
       (isThere ? " signalled" : " is not there and was not signalled"));
}

void publishEvent(const Action& action) {
  machine().publishEvent(action.subject);
  note("event " + toUtf8(action.subject) + " published");
}

void withdrawEvent(const Action& action) {
  machine().withdrawEvent(action.subject);
  note("event " + toUtf8(action.subject) + " withdrawn");
}

void control(const Action& action) {
  const DWORD error = machine().services.request(action.number);
  const std::string name = action.number == SERVICE_CONTROL_STOP
                               ? std::string("stop")
                               : "control " + std::to_string(action.number);
  note("service manager: " + name +
       (error == ERROR_SUCCESS ? " requested" : " refused, error " + std::to_string(error)));
}

void writeFile(const Action& action) {
  try {
    machine().drive.write(action.subject, action.text);
    note("file " + toUtf8(action.subject) + " written");
  } catch (const DriveError& error) {
    note(std::string("file not written: ") + error.what());
  }
}

void deleteFile(const Action& action) {
  const bool isThere = machine().drive.exists(action.subject);
  machine().drive.remove(action.subject);
  note("file " + toUtf8(action.subject) +
       (isThere ? " deleted" : " is not there and was not deleted"));
}

void logEvent(const Action& action) {
  machine().raiseEvent(toWide(action.text), action.subject, action.number);
}

void changePower(const Action& action) {
  note(action.number != 0 ? "the machine goes on batteries" : "the machine goes on mains");
  TaskRuns::instance().setPower(action.number != 0);
}

void changeNetwork(const Action& action) {
  machine().network = action.number != 0;
  note(machine().network ? "the network is back" : "the network is gone");
}

std::string inMs(Nanoseconds span) {
  return std::to_string(span / kNanosecondsPerMillisecond) + " ms";
}

void suspend(const Action& action) {
  Scheduler::instance().suspend(action.span, theWaitsCountOn, theScript);
  note("the machine slept for " + inMs(action.span));
}

void stepClock(const Action& action) {
  machine().stepClock(action.span / kNanosecondsPerMillisecond);
  note(action.span < 0 ? "the clock is set back by " + inMs(-action.span)
                       : "the clock is set on by " + inMs(action.span));
}

// A life that is cut short has given nothing back yet, so what is open does not count.
void reportViolations() {
  if (const Scenario* life = lifeScenario()) {
    reportLedger(*life, Ledger::instance().violations());
  }
}

const ScenarioTrace& traceOf(const Action& action) {
  const std::string name = toUtf8(action.subject);
  const auto isMeant = [&](const ScenarioTrace& trace) { return trace.session == name; };
  return *std::find_if(theTraces->begin(), theTraces->end(), isMeant);
}

void enableTrace(const Action& action) {
  const ScenarioTrace& trace = traceOf(action);
  TraceFilter filter = trace.filter;
  if (action.number != Action::kOwnLevel) {
    filter.level = static_cast<UCHAR>(action.number);
  }
  note("trace " + trace.session + " enabled, level " + std::to_string(filter.level));
  machine().trace.enable(trace.session, trace.provider, filter);
}

void disableTrace(const Action& action) {
  machine().trace.disable(toUtf8(action.subject));
  note("trace " + toUtf8(action.subject) + " disabled");
}

void listen(bool listens) {
  machine().debugListener = listens;
  note(std::string("listener of the debug output ") + (listens ? "attached" : "detached"));
}

[[noreturn]] void endProcess() {
  note("the process is ended from outside");
  reportViolations();
  Report::instance().endNow("ended");
}

// Lets an action happen on the calling thread, whichever that is. No turn passes here, so nothing
// comes between the deed and its note.
void perform(const Action& action) {
  const Scheduler::Guard guard;
  switch (action.kind) {
    case Action::Kind::kSignalEvent:
      return signalEvent(action);
    case Action::Kind::kPublishEvent:
      return publishEvent(action);
    case Action::Kind::kWithdrawEvent:
      return withdrawEvent(action);
    case Action::Kind::kControl:
      return control(action);
    case Action::Kind::kWriteFile:
      return writeFile(action);
    case Action::Kind::kDeleteFile:
      return deleteFile(action);
    case Action::Kind::kLogEvent:
      return logEvent(action);
    case Action::Kind::kEnableTrace:
      return enableTrace(action);
    case Action::Kind::kDisableTrace:
      return disableTrace(action);
    case Action::Kind::kAttachListener:
      return listen(true);
    case Action::Kind::kDetachListener:
      return listen(false);
    case Action::Kind::kPower:
      return changePower(action);
    case Action::Kind::kNetwork:
      return changeNetwork(action);
    case Action::Kind::kSuspend:
      return suspend(action);
    case Action::Kind::kClock:
      return stepClock(action);
    case Action::Kind::kEndProcess:
      endProcess();
  }
}

// The steps that wait for one kind of sight, with how often each has seen it.
class Watch {
 public:
  Watch(const Scenario& scenario, Moment::Kind kind) {
    for (const Step& step : scenario.script) {
      if (step.moment.kind == kind) {
        watched_.push_back({&step, 0});
      }
    }
  }

  // Lets the steps happen whose turn it is; `matches` tells whether a moment's name was seen.
  template <class Matches>
  void see(const Matches& matches) {
    const Scheduler::Guard guard;
    for (Watched& watched : watched_) {
      const Moment& moment = watched.step->moment;
      if (matches(moment.name) && ++watched.seen == moment.nth) {
        perform(watched.step->action);
      }
    }
  }

 private:
  struct Watched {
    const Step* step;
    unsigned seen;
  };
  std::vector<Watched> watched_;
};

void listenToDebugOutput(const Scenario& scenario) {
  const auto watch = std::make_shared<Watch>(scenario, Moment::Kind::kOnLog);
  machine().onDebugOutput = [watch](const std::wstring& line) {
    const std::string text = toUtf8(line);
    Report::instance().record(ReportKind::kDebugLine, text);
    watch->see([&](const std::string& wanted) { return text.find(wanted) != std::string::npos; });
  };
}

void listenToTraces(const Scenario& scenario) {
  machine().trace.onEvent = [](const TraceSessions::Session& session, const TraceEvent& event) {
    note("trace " + session.name + ": " + describe(event));
  };
  theTraces = &scenario.traces;
  for (const ScenarioTrace& trace : scenario.traces) {
    if (trace.enabled) {
      machine().trace.enable(trace.session, trace.provider, trace.filter);
    }
  }
}

void listenToStatus(const Scenario& scenario) {
  const auto watch = std::make_shared<Watch>(scenario, Moment::Kind::kOnStatus);
  machine().services.onStatus = [watch](const SERVICE_STATUS& status) {
    std::string record;
    for (const DWORD field : {status.dwCurrentState, status.dwCheckPoint, status.dwWin32ExitCode,
                              status.dwControlsAccepted, status.dwWaitHint}) {
      record += (record.empty() ? "" : " ") + std::to_string(field);
    }
    Report::instance().record(ReportKind::kStatus, record);
    const std::string state = ServiceManager::stateName(status.dwCurrentState);
    watch->see([&](const std::string& wanted) { return wanted == state; });
  };
}

// A life whose calls nobody compares is not slowed down by them.
void listenToCalls(const Scenario& scenario) {
  if (scenario.calls.empty()) {
    return;
  }
  Journal::instance().onBegin = [](const JournalEntry& entry) {
    if (isOutsideCall(entry.name)) {
      Report::instance().record(ReportKind::kCall,
                                Scheduler::current().name + " " + callText(entry));
    }
  };
}

void armCalls(const Scenario& scenario) {
  Faults::instance().onStrike = [](const std::string& what) { note("fault: " + what); };
  for (const InjectedFault& fault : scenario.faults) {
    const Deed deed = fault.isDone ? Deed::kDone : Deed::kUndone;
    if (fault.lasting) {
      Faults::instance().failFrom(fault.call, fault.error, fault.nth, deed);
    } else {
      Faults::instance().failOnce(fault.call, fault.error, fault.nth, deed);
    }
  }
  for (const Step& step : scenario.script) {
    if (step.moment.kind == Moment::Kind::kBeforeCall) {
      CallHooks::instance().before(step.moment.name, step.moment.nth, [&step] {
        perform(step.action);
        // What the action set going is over, as far as it can get, when the call does its work.
        Scheduler::instance().standBack();
      });
    } else if (step.moment.kind == Moment::Kind::kInsideCall) {
      CallHooks::instance().before(step.moment.name, step.moment.nth,
                                   [&step] { perform(step.action); });
    }
  }
}

void setUpSystem(const Scenario& scenario) {
  Machine& system = machine();
  system.version = {scenario.majorVersion, scenario.minorVersion, scenario.buildNumber};
  theWaitsCountOn = std::pair(scenario.majorVersion, scenario.minorVersion) < std::pair(6U, 2U);
  system.userLanguage = scenario.language;
  system.minutesAheadOfUtc = scenario.minutesAheadOfUtc;
  if (scenario.clock) {
    system.setLocalTime(*scenario.clock);
  }
  if (scenario.privileges) {
    system.token.privileges = {scenario.privileges->begin(), scenario.privileges->end()};
  }
  system.token.unknownPrivileges = {scenario.unknownPrivileges.begin(),
                                    scenario.unknownPrivileges.end()};
  system.token.administrator = scenario.administrator;
  system.debugListener = scenario.debugListener;
  system.services.startedByManager = scenario.startedByManager;
  system.network = scenario.network;
  system.onBatteries = scenario.onBatteries;
  if (scenario.serviceProgram) {
    system.programPath = *scenario.serviceProgram;
  }
  system.schedulerRefuses = scenario.schedulerRefuses;
  system.moduleFileNameClearsLastError = scenario.moduleFileNameClearsLastError;
  system.taskProgramRuns = scenario.taskProgramRuns.value_or(system.taskProgramRuns);
  TaskRuns::instance().programExitCodes = scenario.taskProgramExitCodes;
  system.com.securityEndsWithLastThread = scenario.comSecurityEnds;
  for (const std::wstring& event : scenario.publishedEvents) {
    system.publishEvent(event);
  }
  for (const std::wstring& alias : scenario.takenNamespaces) {
    system.takeNamespace(alias);
  }
  for (const auto& [name, value] : scenario.environment) {
    system.environment[name] = value;
  }
}

void setUpLimits(const Scenario& scenario) {
  DriveLimits& limits = driveLimits();
  if (scenario.freeBytes) {
    limits.freeBytes = *scenario.freeBytes;
  }
  limits.shortWrites = scenario.shortWrites;
  for (const std::wstring& path : scenario.deniedPaths) {
    try {
      limits.deny(path);
    } catch (const DriveError& error) {
      note(std::string("not denied: ") + error.what());
    }
  }
}

void setUpInstallation(const Scenario& scenario) {
  Machine& system = machine();
  for (const ScenarioRegistryKey& key : scenario.registry) {
    system.registry.createKey(key.key);
    for (const auto& [name, text] : key.values) {
      system.registry.setText(key.key, name, text);
    }
  }
  for (const ScenarioDevice& device : scenario.devices) {
    system.devices.push_back({device.instanceId, device.classGuid, device.hardwareIds,
                              device.present, device.softwareKey, device.locateResult});
  }
  if (scenario.stackDirectory) {
    system.installStack(*scenario.stackDirectory);
  }
}

void sleepUntil(Nanoseconds moment) {
  const Scheduler::Guard guard;
  Scheduler::instance().block(
      "the script's next step", [] { return false; }, moment);
}

[[noreturn]] void giveUp(std::string_view how) {
  const Scheduler::Guard guard;  // nothing more happens in between
  Report& report = Report::instance();
  report.record(ReportKind::kThreads, Scheduler::instance().describeThreads());
  reportViolations();
  report.endNow(how);
}

// The script's own thread.
void follow(const Scenario& scenario) {
  std::vector<const Step*> timed;
  for (const Step& step : scenario.script) {
    if (step.moment.kind == Moment::Kind::kAt) {
      timed.push_back(&step);
    }
  }
  std::stable_sort(timed.begin(), timed.end(), [](const Step* left, const Step* right) {
    return left->moment.at < right->moment.at;
  });
  for (const Step* step : timed) {
    sleepUntil(step->moment.at);
    perform(step->action);
  }
  sleepUntil(scenario.limit);
  const Scheduler::Guard guard;
  giveUp(Scheduler::instance().everyoneElseWaitsForEver() ? "deadlock" : "running");
}

}  // namespace

void setUpMachine(const Scenario& scenario) {
  listenToDebugOutput(scenario);
  listenToStatus(scenario);
  listenToTraces(scenario);
  listenToCalls(scenario);
  machine().onNote = [](const std::string& what) {
    Report::instance().record(ReportKind::kNote, what);
  };
  setUpSystem(scenario);
  setUpInstallation(scenario);
  setUpLimits(scenario);
  armCalls(scenario);
}

void startScript(const Scenario& scenario) {
  Scheduler::instance().setDeadlockHandler(
      [](const std::string& /*report*/) { giveUp("deadlock"); });
  if (!scenario.endlessLoopExpected) {
    Scheduler::instance().setEndlessLoopHandler(kEndlessLoopCalls, [] { giveUp("endless"); });
  }
  theScript = &Scheduler::instance().spawn("script", [&scenario] { follow(scenario); });
}

}  // namespace host
