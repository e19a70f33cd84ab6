#include "platform/host/Machine.h"

#include <chrono>
#include <utility>
#include <vector>

#include "platform/host/Call.h"
#include "platform/host/DriveLimits.h"
#include "platform/host/Ledger.h"
#include "platform/host/Resets.h"

namespace host {
namespace {

using std::chrono::days;
using std::chrono::milliseconds;
using std::chrono::sys_days;

// The platform counts its time from here.
constexpr sys_days kEpoch = std::chrono::year{1601} / std::chrono::January / std::chrono::day{1};

constexpr std::int64_t kMsPerMinute = 60'000;

std::vector<std::function<void()>>& resets() {
  static auto* const all = new std::vector<std::function<void()>>;
  return *all;
}

std::int64_t nowMs() {
  return Scheduler::instance().now() / kNanosecondsPerMillisecond;
}

}  // namespace

std::int64_t toMilliseconds(const SYSTEMTIME& time) {
  const sys_days day =
      std::chrono::year{time.wYear} / static_cast<int>(time.wMonth) / static_cast<int>(time.wDay);
  const milliseconds sinceEpoch = day - kEpoch;
  return sinceEpoch.count() +
         ((time.wHour * std::int64_t{60} + time.wMinute) * 60 + time.wSecond) * 1000 +
         time.wMilliseconds;
}

SYSTEMTIME toSystemTime(std::int64_t ms) {
  const days wholeDays = std::chrono::floor<days>(milliseconds(ms));
  const std::chrono::year_month_day date{kEpoch + wholeDays};
  const std::chrono::hh_mm_ss time{milliseconds(ms) - wholeDays};
  SYSTEMTIME result{};
  result.wYear = static_cast<WORD>(static_cast<int>(date.year()));
  result.wMonth = static_cast<WORD>(static_cast<unsigned>(date.month()));
  result.wDay = static_cast<WORD>(static_cast<unsigned>(date.day()));
  result.wDayOfWeek = static_cast<WORD>(std::chrono::weekday{kEpoch + wholeDays}.c_encoding());
  result.wHour = static_cast<WORD>(time.hours().count());
  result.wMinute = static_cast<WORD>(time.minutes().count());
  result.wSecond = static_cast<WORD>(time.seconds().count());
  result.wMilliseconds = static_cast<WORD>(time.subseconds().count());
  return result;
}

void Machine::setLocalTime(const SYSTEMTIME& time) {
  const Scheduler::Guard guard;
  startLocalMs_ = toMilliseconds(time) - nowMs();
}

void Machine::setLocalTime(int year, int month, int day, int hour, int minute, int second,
                           int millisecond) {
  SYSTEMTIME time{};
  time.wYear = static_cast<WORD>(year);
  time.wMonth = static_cast<WORD>(month);
  time.wDay = static_cast<WORD>(day);
  time.wHour = static_cast<WORD>(hour);
  time.wMinute = static_cast<WORD>(minute);
  time.wSecond = static_cast<WORD>(second);
  time.wMilliseconds = static_cast<WORD>(millisecond);
  setLocalTime(time);
}

void Machine::stepClock(std::int64_t ms) {
  const Scheduler::Guard guard;
  startLocalMs_ += ms;
}

SYSTEMTIME Machine::localTime() const {
  return toSystemTime(startLocalMs_ + nowMs());
}

std::int64_t Machine::utcMs() const {
  return startLocalMs_ + nowMs() - minutesAheadOfUtc * kMsPerMinute;
}

void Machine::publishEvent(const std::wstring& name) {
  const Scheduler::Guard guard;
  objects.publish(name);
  Scheduler::instance().changed();
}

void Machine::withdrawEvent(const std::wstring& name) {
  const Scheduler::Guard guard;
  objects.withdraw(name);
}

bool Machine::signalEvent(const std::wstring& name) {
  const Scheduler::Guard guard;
  const NamedObjects::Place place = objects.resolve(name);
  const auto event = std::dynamic_pointer_cast<EventObject>(objects.find(place.key));
  if (event == nullptr) {
    return false;
  }
  event->isSet = true;
  Scheduler::instance().changed();
  return true;
}

void Machine::takeNamespace(const std::wstring& alias) {
  const Scheduler::Guard guard;
  objects.takeNamespace(alias);
}

void Machine::note(const std::string& what) const {
  if (onNote) {
    onNote(what);
  }
}

Machine& machine() {
  static auto* theMachine = new Machine;
  return *theMachine;
}

void atReset(std::function<void()> forget) {
  resets().push_back(std::move(forget));
}

void resetMachine(Scheduler::Mode mode, std::uint64_t seed) {
  if (Scheduler::isKnown()) {
    for (const auto& forget : resets()) {
      forget();
    }
    Scheduler::instance().restart(mode, seed);
  } else {
    Scheduler::instance().start(mode, seed);
  }
  machine() = Machine();
  driveLimits() = DriveLimits();
  Journal::instance() = Journal();
  Faults::instance().clear();
  CallHooks::instance().clear();
  Ledger::instance().begin();
  setLastError(ERROR_SUCCESS);
}

}  // namespace host
