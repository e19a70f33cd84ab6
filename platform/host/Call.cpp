#include "platform/host/Call.h"

#include <algorithm>

#include "platform/host/CallWatch.h"

namespace host {
namespace {

CallWatch theWatch = nullptr;

// What a platform call costs on the machine's clock, so that a loop that never waits still moves
// it.
constexpr Nanoseconds kCallCost = 1'000;
constexpr std::uint64_t kHashPrime = 0x100000001b3U;

thread_local DWORD currentLastError = 0;

void addToHash(std::uint64_t& hash, std::string_view text) {
  for (const char character : text) {
    hash = (hash ^ static_cast<unsigned char>(character)) * kHashPrime;
  }
}

void addToHash(std::uint64_t& hash, std::uint64_t number) {
  hash = (hash ^ number) * kHashPrime;
}

// As a person looks it up: error codes in decimal, the results of interfaces in hexadecimal.
std::string errorText(DWORD error) {
  return FAILED(static_cast<HRESULT>(error)) ? hexText(error) : std::to_string(error);
}

}  // namespace

void watchCalls(CallWatch watch) {
  theWatch = watch;
}

void setLastError(DWORD error) {
  currentLastError = error;
}

DWORD lastError() {
  return currentLastError;
}

std::string journalText(const wchar_t* text) {
  return text == nullptr ? "null" : toUtf8(text);
}

std::string journalText(const char* text) {
  return text == nullptr ? "null" : text;
}

std::string journalText(std::wstring_view text) {
  return toUtf8(text);
}

Journal& Journal::instance() {
  static auto* journal = new Journal;
  return *journal;
}

std::vector<JournalEntry> Journal::calls(std::string_view name) const {
  std::vector<JournalEntry> found;
  for (const JournalEntry& entry : entries_) {
    if (name == entry.name) {
      found.push_back(entry);
    }
  }
  return found;
}

std::vector<std::string> Journal::names() const {
  std::vector<std::string> all;
  for (const JournalEntry& entry : entries_) {
    all.emplace_back(entry.name);
  }
  return all;
}

std::vector<std::string> Journal::namesOf(std::initializer_list<std::string_view> wanted) const {
  std::vector<std::string> found;
  for (const JournalEntry& entry : entries_) {
    if (std::find(wanted.begin(), wanted.end(), std::string_view(entry.name)) != wanted.end()) {
      found.emplace_back(entry.name);
    }
  }
  return found;
}

std::size_t Journal::count(std::string_view name) const {
  const auto found = counts_.find(name);
  return found == counts_.end() ? 0 : found->second;
}

void Journal::clear() {
  entries_.clear();
  counts_.clear();
}

std::size_t Journal::begin(const JournalEntry& entry) {
  if (onBegin) {
    onBegin(entry);
  }
  const auto found = counts_.find(std::string_view(entry.name));
  if (found != counts_.end()) {
    return ++found->second;
  }
  counts_.emplace(entry.name, 1);
  return 1;
}

void Journal::add(JournalEntry entry) {
  addToHash(hash_, entry.name);
  addToHash(hash_, entry.args);
  addToHash(hash_, entry.result);
  addToHash(hash_, entry.thread);
  addToHash(hash_, static_cast<std::uint64_t>(entry.time));
  if (keep_) {
    entries_.push_back(std::move(entry));
  }
}

Faults& Faults::instance() {
  static auto* faults = new Faults;
  return *faults;
}

void Faults::failOnce(const std::string& call, DWORD error, unsigned nth, Deed deed) {
  rules_[call].push_back({error, nth, false, deed});
}

void Faults::failFrom(const std::string& call, DWORD error, unsigned nth, Deed deed) {
  rules_[call].push_back({error, nth, true, deed});
}

void Faults::clear() {
  rules_.clear();
  onStrike = nullptr;
}

void Faults::tell(std::string_view call, const Rule& rule) const {
  if (!onStrike) {
    return;
  }
  const std::string nth = std::to_string(rule.nth);
  onStrike(std::string(call) +
           (rule.lasting ? " fails from " + nth + " on" : " " + nth + " fails") + " with " +
           errorText(rule.error) + (rule.deed == Deed::kDone ? " after its work" : ""));
}

const Faults::Rule* Faults::next(std::string_view call) {
  if (theWatch != nullptr) {
    theWatch(call);
  }
  const auto found = rules_.find(call);
  if (found == rules_.end()) {
    return nullptr;
  }
  const Rule* struck = nullptr;
  for (Rule& rule : found->second) {
    if (rule.callsToGo == 0) {
      struck = rule.lasting ? &rule : struck;
      continue;
    }
    if (--rule.callsToGo == 0) {
      struck = &rule;
      tell(call, rule);
    }
  }
  return struck;
}

CallHooks& CallHooks::instance() {
  static auto* hooks = new CallHooks;
  return *hooks;
}

void CallHooks::before(const std::string& call, std::size_t nth, std::function<void()> action) {
  hooks_[call].push_back({nth, std::move(action)});
}

void CallHooks::reached(const char* call, std::size_t nth) {
  const auto found = hooks_.find(std::string_view(call));
  if (found == hooks_.end()) {
    return;
  }
  for (const Hook& hook : found->second) {
    if (hook.nth == nth) {
      hook.action();
    }
  }
}

void Call::enter() {
  Scheduler& scheduler = Scheduler::instance();
  scheduler.yield(entry_.name);
  scheduler.spend(kCallCost);
  entry_.thread = Scheduler::current().id;
  std::size_t nth = 0;
  {
    const Scheduler::Guard guard;
    nth = Journal::instance().begin(entry_);
    if (const Faults::Rule* rule = Faults::instance().next(entry_.name)) {
      fault_ = rule->error;
      deed_ = rule->deed;
      entry_.faulted = true;
      if (deed_ == Deed::kUndone) {
        setLastError(fault_);
      }
    }
  }
  CallHooks::instance().reached(entry_.name, nth);
}

void Call::finish() {
  finished_ = true;
  entry_.lastError = lastError();
  const Scheduler::Guard guard;
  entry_.time = Scheduler::instance().now();
  Journal::instance().add(std::move(entry_));
}

Call::~Call() {
  if (!finished_) {
    finish();
  }
}

}  // namespace host
