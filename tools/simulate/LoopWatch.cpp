#include "tools/simulate/LoopWatch.h"

#include <charconv>
#include <utility>
#include <vector>

#include "platform/host/Text.h"

namespace simulate {
namespace {

constexpr unsigned kTries = 10;
constexpr host::Nanoseconds kMs = host::kNanosecondsPerMillisecond;
constexpr std::int64_t kMostHeldUpMs = 2 * 60'000;
// In a spin a thread may have to let another make a thousand calls ahead of each of its own.
constexpr std::int64_t kMostInASpinMs = 100;
// What others do meanwhile, and what the service does that is neither a wait nor a call of the
// client library: a try for the event, the pause ahead of STOPPED, a turn of the control handler.
constexpr std::int64_t kMostOfOthersMs = 1'000;
constexpr std::int64_t kMostOfAStepMs = 10'000;
constexpr unsigned kConnectionError = 8;
constexpr unsigned kManyPasses = 100;
constexpr std::string_view kEntries[] = {"", "talsInitHUB", "talsInitQX1"};

// The number that a text begins with; 0 for none.
unsigned numberIn(std::string_view text, int base = 10) {
  unsigned number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number, base);
  return number;
}

// The answers of an entry, in order, as the script has them.
std::vector<std::string> answersOf(const std::string& script, std::string_view entry) {
  std::vector<std::string> answers;
  std::string_view rest = script;
  while (!rest.empty()) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    std::string_view line = rest.substr(0, end);
    line = line.substr(0, line.find('#'));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    const std::size_t equals = line.find('=');
    if (equals != std::string_view::npos && host::trimmed(line.substr(0, equals)) == entry) {
      answers.emplace_back(host::trimmed(line.substr(equals + 1)));
    }
  }
  return answers;
}

}  // namespace

const LoopWatch::Row LoopWatch::kRows[] = {
    {"Registering STOP event completed!", &LoopWatch::stopEventMade},
    {"Starting talsInit...", &LoopWatch::loopBegins},
    {"Running Init for method: ", &LoopWatch::transactionBegins},
    {"tALS init status: 0x", &LoopWatch::answered},
    {"Init(EPID cert provisioning) transaction failed with error : ",
     &LoopWatch::transactionFailed},
    {"Registering to TPM Event...", &LoopWatch::lookBegins},
    {"Next try in 5 sec. Tries left : ", &LoopWatch::tryFailed},
    {"Event opened successfully!", &LoopWatch::eventOpened},
    {"Event not registered by the system.", &LoopWatch::eventNotThere},
    {"Scheduling VTM Task ...", &LoopWatch::taskArranged},
    {"Waiting for signaled event, with timeout = ", &LoopWatch::waitBegins},
    {"Waiting over. dwObject value: ", &LoopWatch::waitIsOver},
    {"Stop service event signaled.", &LoopWatch::stopSeen},
    {"Tpm event signaled.", &LoopWatch::tpmEventSeen},
    {"OrvixVTMEKRecertification has been started.", &LoopWatch::launched},
    {"Process exception occured: ", &LoopWatch::launchFailed},
    {"Exception occured: ", &LoopWatch::launchFailed},
    {"Closing talsClient access layer", &LoopWatch::closes},
    {"Stopping service...", &LoopWatch::stopComes},
};

LoopWatch::LoopWatch(const Life& life, Verdict& verdict)
    : life_(life), verdict_(verdict), waitMs_(expectedWaitMs(life.config)) {}

void LoopWatch::line(std::string_view text, host::Nanoseconds at) {
  at_ = at;
  for (const Row& row : kRows) {
    if (text.starts_with(row.text)) {
      (this->*row.take)(text.substr(row.text.size()));
      return;
    }
  }
}

void LoopWatch::expect(bool holds, const std::string& promise) {
  if (!holds) {
    verdict_.breaks(promise);
  }
}

void LoopWatch::stopEventMade(std::string_view /*rest*/) {
  expect(!stopEventThere_, "the stop event was made twice");
  stopEventThere_ = true;
}

void LoopWatch::loopBegins(std::string_view /*rest*/) {
  expect(place_ == Place::kBefore, "the loop began twice");
  expect(stopEventThere_, "the loop began without a stop event");
  passBegins();
}

void LoopWatch::passBegins() {
  expect(!byStop_, "the loop went on after a stop");
  place_ = Place::kPass;
  ran_ = {};
  looked_ = false;
  if (++passes_ == kManyPasses) {
    verdict_.hit(Probe::kHundredPasses);
  }
}

void LoopWatch::transactionBegins(std::string_view rest) {
  const unsigned method = numberIn(rest);
  if (place_ == Place::kAfterWait) {
    passBegins();
  }
  if (method != 1 && method != 2) {
    verdict_.breaks("a transaction of no method was run");
    return;
  }
  expect(place_ == Place::kPass, "a transaction was run outside a pass");
  expect(!ran_[method], "a transaction was tried again without a wait");
  expect(!done_[method], "a transaction was run again after it counted as done");
  expect(!allGoalsStand(), "a pass began although all goals stand");
  if (method == 2) {
    expect(done_[1] || ran_[1], "method 2 was run ahead of method 1");
    expect(!done_[1] || arranged_ || opened_, "method 2 was run ahead of the look for the event");
  }
  ran_[method] = true;
  running_ = method;
}

std::string LoopWatch::scriptedAnswer() const {
  const auto answers = answersOf(life_.scenario.clientScript, kEntries[running_]);
  const std::size_t call = calls_[running_];
  return answers.empty() ? "0" : answers[std::min(call, answers.size() - 1)];
}

void LoopWatch::answered(std::string_view rest) {
  const unsigned status = numberIn(rest, 16);
  if (running_ == 0) {
    verdict_.breaks("an answer came to no transaction");
    return;
  }
  const std::string scripted = scriptedAnswer();
  expect(numberIn(scripted) == status && !scripted.starts_with("throw"),
         "the client library answered " + std::to_string(status) + " in place of " + scripted);
  ++calls_[running_];
  if (status == kConnectionError) {
    return;
  }
  done_[running_] = true;
  running_ = 0;
  if (status != 0) {
    verdict_.hit(Probe::kOtherStatusCounts);
  }
}

void LoopWatch::transactionFailed(std::string_view rest) {
  if (running_ == 0) {
    verdict_.breaks("a transaction failed that had not been run, or that counted as done");
    return;
  }
  if (numberIn(rest.substr(std::min<std::size_t>(2, rest.size())), 16) != kConnectionError) {
    const std::string scripted = scriptedAnswer();
    expect(scripted.starts_with("throw"), "an exception came in place of the answer " + scripted);
    ++calls_[running_];
    verdict_.hit(Probe::kClientThrew);
  }
  running_ = 0;
}

void LoopWatch::lookBegins(std::string_view /*rest*/) {
  if (place_ == Place::kAfterWait) {
    passBegins();
  }
  expect(place_ == Place::kPass, "the look for the event came outside a pass");
  expect(done_[1], "the look for the event came ahead of method 1");
  expect(!arranged_ && !opened_, "the event was looked for again");
  place_ = Place::kLook;
  looked_ = true;
  triesLeft_ = kTries;
}

void LoopWatch::tryFailed(std::string_view rest) {
  expect(place_ == Place::kLook && triesLeft_ > 0, "there was a try too many for the event");
  triesLeft_ -= triesLeft_ > 0 ? 1 : 0;
  expect(numberIn(rest) == triesLeft_, "the tries for the event do not count down");
}

void LoopWatch::eventOpened(std::string_view /*rest*/) {
  expect(place_ == Place::kLook, "the event was opened outside the look for it");
  opened_ = true;
  place_ = Place::kPass;
  verdict_.hit(triesLeft_ == kTries ? Probe::kEventOpenedAtOnce : Probe::kEventOpenedLate);
}

void LoopWatch::eventNotThere(std::string_view /*rest*/) {
  expect(place_ == Place::kLook && triesLeft_ == 0, "the look for the event ended too early");
  lookExhausted_ = true;
  verdict_.hit(Probe::kEventNeverPublished);
}

void LoopWatch::taskArranged(std::string_view /*rest*/) {
  expect(place_ == Place::kLook && !opened_, "a task was arranged without a look for the event");
  if (!lookExhausted_) {
    expect(hasPendingStop(), "the look for the event ended early without a stop");
    stopTaken_ = true;
    verdict_.hit(done_[2] ? Probe::kStopInLookWithAllDone : Probe::kStopTakenByLook);
  }
  arranged_ = true;
  place_ = Place::kPass;
}

void LoopWatch::waitBegins(std::string_view rest) {
  if (place_ == Place::kAfterWait) {
    passBegins();
  }
  expect(place_ == Place::kPass, "a wait began outside a pass");
  expect(!allGoalsStand(), "the service waits although all goals stand");
  expect(running_ == 0, "a wait began in the middle of a transaction");
  for (const unsigned method : {1U, 2U}) {
    expect(done_[method] || ran_[method], "an open transaction was not tried ahead of the wait");
  }
  expect(!done_[1] || arranged_ || opened_, "the event was not looked for ahead of the wait");
  checkSeconds(numberIn(rest));
  waitBegan_ = at_;
  sleptInWait_ = 0;
  place_ = Place::kWait;
}

// The configuration is read once, and what the script writes may come ahead of that.
void LoopWatch::checkSeconds(unsigned seconds) {
  const auto isAsked = [&](std::int32_t ms) { return ms / 1000 == static_cast<int>(seconds); };
  if (isAsked(waitMs_)) {
    return;
  }
  for (const host::Step& step : life_.scenario.script) {
    const std::int32_t ms = expectedWaitMs(step.action.text);
    if (waitBegan_ == 0 && step.action.kind == host::Action::Kind::kWriteFile && isAsked(ms)) {
      waitMs_ = ms;
      verdict_.hit(Probe::kConfigEdited);
      return;
    }
  }
  verdict_.breaks("a wait of " + std::to_string(seconds) + " s in place of " +
                  std::to_string(waitMs_ / 1000) + " s");
}

std::int64_t LoopWatch::marginMs() const {
  return life_.isHeldUp ? kMostHeldUpMs : waitMs_ == 0 ? kMostInASpinMs : 1;
}

// A stop that was signalled must end the wait: there is nothing else that takes it but the look for
// the event, and nothing that loses it but its coming ahead of the stop event.
void LoopWatch::loseTheStopUnlessItMayBe(host::Nanoseconds at) {
  const std::int64_t marginMs = this->marginMs();
  if (!hasPendingStop() || at - stop_->at <= marginMs * kMs) {
    return;
  }
  if (!stop_->beforeEvent) {
    verdict_.breaks("a stop was lost that was not to be lost");
    stopTaken_ = true;
  }
}

void LoopWatch::expectThatTheStopCame(host::Nanoseconds at) {
  if (accepted_ && at - *accepted_ > (marginMs() + kMostOfOthersMs) * kMs) {
    verdict_.breaks("a stop was taken and never handed on");
    accepted_.reset();
  }
}

void LoopWatch::expectNoLongerWait(host::Nanoseconds at) {
  const host::Nanoseconds most = static_cast<std::uint32_t>(waitMs_) * kMs + sleptInWait_;
  expect(at - waitBegan_ <= most + (marginMs() + kMostOfOthersMs) * kMs,
         "a wait lasts longer than it is to last");
}

void LoopWatch::waitIsOver(std::string_view rest) {
  constexpr unsigned kTimedOut = 258;
  expect(place_ == Place::kWait, "a wait ended that had not begun");
  place_ = Place::kAfterWait;
  const unsigned result = numberIn(rest);
  if (result == 0) {
    return;
  }
  loseTheStopUnlessItMayBe(at_);
  expectThatTheStopCame(at_);
  expectNoLongerWait(at_);
  expect(result == 1 || result == kTimedOut, "a wait failed");
  expect(result != 1 || opened_, "the wait took an event that was not opened");
  if (result == kTimedOut) {
    expect(at_ - waitBegan_ >= waitMs_ * kMs, "a wait timed out too early");
    if (waitMs_ == 0) {
      verdict_.hit(Probe::kSpin);
    }
  }
}

void LoopWatch::stopSeen(std::string_view /*rest*/) {
  expect(place_ == Place::kAfterWait, "a stop was seen outside a wait");
  expect(hasPendingStop(), "a stop was seen that did not come, or that had been taken before");
  if (hasPendingStop()) {
    verdict_.hit(stop_->inClient ? Probe::kStopSeenByLaterWait : Probe::kStopWhileWaiting);
  }
  stopTaken_ = true;
  byStop_ = true;
}

void LoopWatch::tpmEventSeen(std::string_view /*rest*/) {
  expect(place_ == Place::kAfterWait && opened_, "the event was seen outside a wait for it");
  if (!done_[1] || !done_[2]) {
    verdict_.hit(Probe::kEventWithMethodOpen);
  }
}

void LoopWatch::launched(std::string_view /*rest*/) {
  expect(place_ == Place::kAfterWait && opened_, "a program was started without an event");
  if (arranged_) {
    verdict_.hit(Probe::kSecondLaunch);
  } else if (launchHasFailed_) {
    verdict_.hit(Probe::kLaunchAfterFailure);
  }
  arranged_ = true;
}

void LoopWatch::launchFailed(std::string_view /*rest*/) {
  expect(place_ == Place::kAfterWait && opened_, "an exception came without an event");
  launchHasFailed_ = true;
  verdict_.hit(Probe::kLaunchFailed);
}

void LoopWatch::programStarted() {
  ++launches_;
}

// What is measured from now on is measured in time in which somebody could run. From version 6.2 of
// the platform on that goes for the wait's timeout too.
void LoopWatch::slept(host::Nanoseconds span) {
  const host::Scenario& scenario = life_.scenario;
  at_ += span;
  if (stop_) {
    stop_->at += span;
  }
  if (accepted_) {
    *accepted_ += span;
  }
  if (place_ != Place::kWait) {
    return;
  }
  if (std::pair(scenario.majorVersion, scenario.minorVersion) >= std::pair(6U, 2U)) {
    waitBegan_ += span;
  } else {
    sleptInWait_ += span;
  }
}

void LoopWatch::closes(std::string_view /*rest*/) {
  expect(place_ == Place::kPass || place_ == Place::kAfterWait,
         "the loop ended in the middle of something");
  expect(byStop_ || allGoalsStand(), "the loop ended with a goal open and without a stop");
  place_ = Place::kClosed;
}

// A second stop waits until the handler of the first comes back.
void LoopWatch::stopAccepted(host::Nanoseconds at) {
  if (!stop_) {
    accepted_ = at;
  }
}

void LoopWatch::stopComes(std::string_view /*rest*/) {
  // A second one may come along with the first, before STOP_PENDING is told; it signals anew.
  stopTaken_ = false;
  accepted_.reset();
  stop_ = Stop{at_, !stopEventThere_, running_ != 0};
  if (!stopEventThere_) {
    verdict_.hit(Probe::kStopBeforeStopEvent);
  } else if (allGoalsStand()) {
    verdict_.hit(Probe::kStopAfterTheGoals);
  }
}

void LoopWatch::cutShort(host::Nanoseconds at) {
  const std::int64_t marginMs = this->marginMs();
  expectThatTheStopCame(at);
  if (allGoalsStand() && place_ != Place::kClosed) {
    expect(at - at_ <= 3'000 * kMs + marginMs * kMs,
           "the service goes on although all goals stand");
  } else if (place_ == Place::kWait) {
    expectNoLongerWait(at);
  } else if (running_ == 0) {
    expect(at - at_ <= (kMostOfAStepMs + marginMs) * kMs, "the service does not go on");
  }
  if (place_ == Place::kWait) {
    loseTheStopUnlessItMayBe(at);
  }
}

}  // namespace simulate
