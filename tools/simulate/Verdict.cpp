#include "tools/simulate/Verdict.h"

#include <algorithm>
#include <charconv>

#include "platform/host/Imbalances.h"
#include "platform/host/Text.h"
#include "platform/host/windows/windows.h"
#include "tools/runner/PrintedLines.h"
#include "tools/runner/ScenarioCatalog.h"
#include "tools/simulate/LoopWatch.h"
#include "tools/simulate/ReportWatch.h"

namespace simulate {
namespace {

using runner::End;

constexpr std::string_view kHandlerFailed = "Exception occured in ServiceControlHandler function";

constexpr std::string_view kUnlockFailed = "ScopedLock dtor: Unlock failed for: ";

constexpr std::string_view kConfigRead = "Reading config from file: ";
constexpr std::string_view kShorterThanItWas = "Unrecognized type of exception occured";
constexpr std::string_view kServiceFailed = "Exception occured in ServiceMain function";
constexpr std::string_view kSlept = "the machine slept for ";
// An access violation.
constexpr std::string_view kCrashed = " ended with exit code 3221225477";

struct LineProbe {
  std::string_view text;
  Probe probe;
};
constexpr LineProbe kLineProbes[] = {
    {"Success! Task successfully registered.", Probe::kTaskMade},
    {"Task has beed updated to new OVER location, Ending", Probe::kTaskMended},
    {"Task is Ok, Skipping...", Probe::kTaskInOrder},
    {"Corrupted config. Default values will be used.", Probe::kCorruptConfig},
    {"Could not read parameter: TCBRepeaterTime", Probe::kBadWait},
    {kHandlerFailed, Probe::kHandlerAfterTheObject},
};

bool hasAction(const host::Scenario& scenario, host::Action::Kind kind) {
  return std::any_of(scenario.script.begin(), scenario.script.end(),
                     [&](const host::Step& step) { return step.action.kind == kind; });
}

bool hasFault(const host::Scenario& scenario, std::string_view call) {
  return std::any_of(scenario.faults.begin(), scenario.faults.end(),
                     [&](const host::InjectedFault& fault) { return fault.call == call; });
}

bool isConfigWritten(const host::Scenario& scenario) {
  return std::any_of(scenario.script.begin(), scenario.script.end(), [](const host::Step& step) {
    return step.action.kind == host::Action::Kind::kWriteFile &&
           step.action.subject.find(L"TPMEnrollmentService.conf") != std::wstring::npos;
  });
}

// Whether a line that is no comment has no equals sign.
bool isCorrupt(std::string_view config) {
  while (!config.empty()) {
    const std::size_t end = std::min(config.find('\n'), config.size());
    const auto line = host::trimmed(config.substr(0, end));
    config.remove_prefix(std::min(end + 1, config.size()));
    if (!line.empty() && line.front() != '#' && line.find('=') == std::string_view::npos) {
      return true;
    }
  }
  return false;
}

// Judges one life from its first record to its last.
class Judgement {
 public:
  explicit Judgement(const Life& life)
      : life_(life),
        loop_(life, verdict_),
        reports_(verdict_),
        isLogWhole_(life.isLogJudged && runner::isListenedToThroughout(life.scenario)) {}

  Verdict pass();

 private:
  void take(const runner::Record& record);
  void line(std::string_view whole, host::Nanoseconds at);
  void note(std::string_view text, host::Nanoseconds at);
  void slept(std::string_view text);
  void error(std::string_view text);
  void errorBreaks(const std::string& promise);
  bool mayUseTheDead() const;
  void end();
  void exited();
  void faulted();
  void terminated();
  void goesOn();
  void spun();
  void ledger();
  void situation();

  const Life& life_;
  Verdict verdict_;
  LoopWatch loop_;
  ReportWatch reports_;
  const bool isLogWhole_;
  bool sawDebugLines_ = false;
  bool wasEnded_ = false;
  bool handlerFailed_ = false;
  bool handlerFailedAtWork_ = false;
  bool handlerUnlocksLate_ = false;
  bool unlockFailed_ = false;
  bool serviceThrew_ = false;
  bool isConfigReadLast_ = false;
  bool serviceFailed_ = false;  // it threw because of a report that the scenario refuses
  unsigned programs_ = 0;
};

// Without level, use case, address and method.
std::string_view bareText(std::string_view line) {
  while (line.starts_with('[')) {
    const std::size_t end = line.find("] ");
    if (end == std::string_view::npos) {
      break;
    }
    line.remove_prefix(end + 2);
  }
  return line;
}

void Judgement::line(std::string_view whole, host::Nanoseconds at) {
  const std::string_view text = bareText(whole);
  isConfigReadLast_ = text.starts_with(kConfigRead);
  sawDebugLines_ = sawDebugLines_ || (isLogWhole_ && whole.starts_with("[DBG] "));
  if (whole.starts_with("[ERR] ") || whole.starts_with("[FTL] ")) {
    error(text);
  }
  for (const LineProbe& row : kLineProbes) {
    if (text.starts_with(row.text)) {
      verdict_.hit(row.probe);
    }
  }
  if (sawDebugLines_) {
    loop_.line(text, at);
  }
}

void Judgement::errorBreaks(const std::string& promise) {
  if (life_.isLogJudged) {
    verdict_.breaks(promise);
  }
}

// Each line of level ERROR and FATAL has a reason in the life's own scenario.
void Judgement::error(std::string_view text) {
  const host::Scenario& scenario = life_.scenario;
  const bool programMissing = !scenario.recertificationProgram ||
                              hasAction(scenario, host::Action::Kind::kDeleteFile) ||
                              !scenario.faults.empty();
  if (text.starts_with("Cannot run OrvixVTMEKRecertification.exe process.") ||
      text.starts_with("Process exception occured: ")) {
    if (!programMissing) {
      errorBreaks("a program that is there could not be started");
    }
    return;
  }
  if (text.starts_with("Corrupted config. ")) {
    if (!hasAction(scenario, host::Action::Kind::kWriteFile) && scenario.deniedPaths.empty() &&
        scenario.faults.empty() && !(life_.config && isCorrupt(*life_.config))) {
      errorBreaks("a configuration that is sound counts as corrupted");
    }
    return;
  }
  if (text.starts_with("~Event Unexpected error occured: ") && hasFault(scenario, "SetEvent")) {
    return;
  }
  // A report that the scenario refuses is a failure of the service like any other.
  const bool isReportRefused = hasFault(scenario, "SetServiceStatus");
  serviceThrew_ = serviceThrew_ || text.starts_with(kServiceFailed);
  if (text.starts_with(kServiceFailed) && isReportRefused) {
    serviceFailed_ = true;
    reports_.reportFailed();
    return;
  }
  if (text.starts_with(kHandlerFailed)) {
    handlerFailed_ = true;
    loop_.stopGivenUp();
    if (!reports_.hasStopBeenRequested()) {
      verdict_.breaks("the control handler failed without a stop");
    } else if (!isReportRefused && !reports_.isStopped()) {
      handlerFailedAtWork_ = true;
    }
    return;
  }
  if (text.starts_with(kUnlockFailed) && mayUseTheDead()) {
    handlerUnlocksLate_ = true;
    verdict_.hit(Probe::kHandlerAfterTheObject);
    return;
  }
  unlockFailed_ = unlockFailed_ || text.starts_with(kUnlockFailed);
  errorBreaks("an error that nothing explains: " + std::string(text));
}

// What was released when the service's thread ended is used by a handler that is still at it.
bool Judgement::mayUseTheDead() const {
  return life_.isHeldUp && reports_.isStopped() && reports_.hasStopBeenRequested();
}

void Judgement::note(std::string_view text, host::Nanoseconds at) {
  if (text == "service manager: stop requested") {
    reports_.stopRequested();
    loop_.stopAccepted(at);
  } else if (text.starts_with("service manager: stop refused")) {
    verdict_.hit(reports_.hasStopBeenRequested() ? Probe::kSecondStopRefused : Probe::kStopRefused);
  } else if (text == "the process is ended from outside") {
    wasEnded_ = true;
    verdict_.hit(Probe::kProcessEnded);
  } else if (text.starts_with("program started: ")) {
    ++programs_;
    loop_.programStarted();
    if (life_.scenario.recertificationCrashes) {
      verdict_.hit(Probe::kProgramCrashed);
    }
  } else if (text.starts_with(kSlept)) {
    slept(text.substr(kSlept.size()));
  } else if (text.starts_with("the clock is set back ") && loop_.isWaiting()) {
    verdict_.hit(Probe::kClockSetBack);
  } else if (text.starts_with("task \"") && text.find(" started ") != std::string_view::npos) {
    verdict_.hit(Probe::kTaskStarted);
  } else if (text.starts_with("task \"") && text.ends_with(kCrashed)) {
    verdict_.hit(Probe::kTaskProgramCrashed);
  }
}

// "7200000 ms"
void Judgement::slept(std::string_view text) {
  host::Nanoseconds ms = 0;
  std::from_chars(text.data(), text.data() + text.size(), ms);
  if (loop_.isWaiting()) {
    verdict_.hit(Probe::kSleepInTheWait);
  } else if (loop_.isLooking()) {
    verdict_.hit(Probe::kSleepInTheLook);
  }
  loop_.slept(ms * host::kNanosecondsPerMillisecond);
}

void Judgement::take(const runner::Record& record) {
  switch (record.kind) {
    case host::ReportKind::kDebugLine:
      for (const std::string& printed : runner::printedLines(record, false)) {
        line(runner::comparableLine(printed), record.at);
      }
      break;
    case host::ReportKind::kNote:
      note(record.text, record.at);
      break;
    case host::ReportKind::kStatus:
      reports_.status(runner::parseStatus(record.text).value_or(runner::Status{}));
      break;
    default:
      break;
  }
}

void Judgement::exited() {
  const auto& last = life_.result.lastStatus;
  if (life_.result.exitCode != 0) {
    verdict_.breaks("the process ended with exit code " + std::to_string(life_.result.exitCode));
  }
  if (!reports_.isStopped()) {
    verdict_.breaks("the process ended by itself without STOPPED");
  }
  if (last && last->exitCode != 0 && !serviceFailed_) {
    verdict_.breaks("STOPPED with exit code " + std::to_string(last->exitCode));
  }
  if (sawDebugLines_ && !loop_.hasClosed()) {
    verdict_.breaks("the service ended without the end of its loop");
  }
}

void Judgement::faulted() {
  if (mayUseTheDead()) {
    verdict_.hit(Probe::kHandlerAfterTheObject);
    return;
  }
  const bool isScripted = loop_.isInClient() && loop_.scriptedAnswer() == "crash";
  const bool hasEntry = life_.scenario.clientLibrary == "talsClient";
  const bool isUnseen =
      !sawDebugLines_ && life_.scenario.clientScript.find("crash") != std::string::npos;
  if (!isScripted && hasEntry && !isUnseen) {
    verdict_.breaks("the process ended with a fault");
    return;
  }
  verdict_.hit(Probe::kClientCrashed);
}

// The exception that the loading of the client library ends in is none that the service catches,
// nor is that of a configuration file which an editor made shorter between two looks at its size.
void Judgement::terminated() {
  if (isConfigReadLast_ && isConfigWritten(life_.scenario) &&
      life_.result.strayOutput.find(kShorterThanItWas) != std::string::npos) {
    verdict_.hit(Probe::kConfigShortened);
    return;
  }
  if (!life_.scenario.clientLibrary.empty() && !life_.scenario.proxyLibrary.empty()) {
    verdict_.breaks("an exception ended the process although everything is there: " +
                    life_.result.strayOutput);
  }
  verdict_.hit(Probe::kLibraryMissing);
}

// The life was given up at its limit.
void Judgement::goesOn() {
  if (!sawDebugLines_) {
    return;
  }
  loop_.cutShort(life_.result.machineTime);
  if (loop_.isInClient() && loop_.scriptedAnswer() == "never") {
    verdict_.hit(Probe::kClientNeverReturned);
  }
}

// A wait of zero spins for as long as a goal is open, and that is required. Nothing else spins.
void Judgement::spun() {
  if (expectedWaitMs(life_.config) != 0) {
    verdict_.breaks("the service spins although its wait is not zero");
    return;
  }
  verdict_.hit(Probe::kSpin);
}

void Judgement::end() {
  switch (life_.result.end) {
    case End::kExit:
      exited();
      break;
    case End::kFault:
      faulted();
      break;
    case End::kTerminate:
      terminated();
      break;
    case End::kRunning:
    case End::kDeadlock:
      goesOn();
      break;
    case End::kEndless:
      spun();
      break;
    case End::kEnded:
      if (!wasEnded_) {
        verdict_.breaks("the process ended as if from outside");
      }
      break;
    default:
      verdict_.breaks("the life ended as it must not: " + endText(life_.result) + " " +
                      life_.result.strayOutput);
      break;
  }
}

// What there was too much of, whether the scenario names it or not; empty for what did not come.
std::string imbalanceIn(const std::string& entry) {
  constexpr std::string_view kUnnamed = "unnamed: ";
  if (entry.starts_with(kUnnamed)) {
    return entry.substr(kUnnamed.size());
  }
  for (const host::Imbalance& row : host::imbalances()) {
    if (entry.starts_with(std::string(host::kNamedImbalance) + std::string(row.text) + " (")) {
      return std::string(row.text);
    }
  }
  return {};
}

void Judgement::ledger() {
  std::map<std::string, unsigned> left;
  for (const std::string& entry : life_.result.ledger) {
    if (const std::string text = imbalanceIn(entry); !text.empty()) {
      ++left[text];
    }
  }
  const bool isWhole = life_.result.end == End::kExit;
  const auto takes = [&](const std::string& text, unsigned least, unsigned most) {
    const auto found = left.find(text);
    const unsigned count = found == left.end() ? 0 : found->second;
    if (isWhole && (count < least || count > most)) {
      verdict_.breaks(text + ": " + std::to_string(count) + " times");
    }
    left.erase(text);
  };
  const unsigned unopened = (loop_.hasOpenedEvent() ? 0U : 1U) + (loop_.hasStopEvent() ? 0U : 1U);
  takes("boundary from CreateBoundaryDescriptorW is still open", 1, 1);
  takes("CloseHandle: null is no handle", sawDebugLines_ ? unopened : 0,
        sawDebugLines_ ? unopened : 2);
  takes("process from CreateProcessW is still open", programs_, programs_);
  takes("thread from CreateProcessW is still open", programs_, programs_);
  // A handler that is still at it when the service's thread has ended comes to a closed event, and
  // one that outlives the object to a lock that is no more.
  const auto isOfTheHandler = [&](const std::string& text) {
    if (text.starts_with("SetEvent: event ") && text.ends_with(" was closed before")) {
      return reports_.hasStopBeenRequested() && reports_.isStopped();
    }
    // The handler waited for the lock while an exception took the object with it.
    const bool diedInItsHands = unlockFailed_ && serviceThrew_ && reports_.hasStopBeenRequested();
    return (handlerFailed_ || handlerUnlocksLate_ || diedInItsHands) &&
           (text.starts_with("WaitForSingleObject: ") || text.starts_with("ReleaseMutex: "));
  };
  for (const auto& [text, count] : left) {
    if (!isOfTheHandler(text)) {
      verdict_.breaks("an imbalance that nothing explains: " + text);
    }
  }
}

// Rare things that the scenario alone tells.
void Judgement::situation() {
  if (!life_.config) {
    verdict_.hit(Probe::kNoConfig);
  } else if (life_.config->find("\"4294968\"") != std::string::npos && sawDebugLines_) {
    verdict_.hit(Probe::kWrappedWait);
  }
  if (life_.scenario.majorVersion < 10 && reports_.isStopped()) {
    verdict_.hit(Probe::kOlderWindows);
  }
}

Verdict Judgement::pass() {
  for (const runner::Record& record : life_.result.records) {
    take(record);
  }
  // An exception on its way out of the service's main function takes the object with it, and is
  // told only after that.
  if (handlerFailedAtWork_ && !serviceThrew_) {
    verdict_.breaks("the control handler failed while the service was at work");
  }
  end();
  ledger();
  situation();
  verdict_.goalsStood = loop_.allGoalsStand();
  return std::move(verdict_);
}

}  // namespace

Verdict judgeLife(const Life& life) {
  return Judgement(life).pass();
}

std::int32_t expectedWaitMs(const std::optional<std::string>& config) {
  constexpr std::int32_t kDefaultMs = 3'600'000;
  constexpr std::string_view kKey = "TCBRepeaterTime = \"";
  const std::size_t at = config ? config->find(kKey) : std::string::npos;
  if (at == std::string::npos) {
    return kDefaultMs;
  }
  const std::size_t begin = at + kKey.size();
  const std::string text = config->substr(begin, config->find('"', begin) - begin);
  std::int32_t seconds = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
  if (error != std::errc{} || end != text.data() + text.size() || seconds < 0) {
    return kDefaultMs;
  }
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(seconds) * 1000U);
}

}  // namespace simulate
