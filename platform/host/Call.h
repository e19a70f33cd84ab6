#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "platform/host/Scheduler.h"
#include "platform/host/Text.h"
#include "platform/host/windows/Types.h"

namespace host {

// One platform call of the run.
struct JournalEntry {
  const char* name = "";
  std::string args;      // in order, separated by ", "
  std::string result;    // empty for calls that give none
  DWORD lastError = 0;   // the thread's last error when the call returned
  bool faulted = false;  // failed because it was told to
  DWORD thread = 0;
  Nanoseconds time = 0;
};

// Every platform call with its arguments and result, in order.
class Journal {
 public:
  static Journal& instance();

  std::vector<JournalEntry> calls(std::string_view name) const;
  std::vector<std::string> names() const;
  std::vector<std::string> namesOf(std::initializer_list<std::string_view> wanted) const;
  const std::vector<JournalEntry>& entries() const { return entries_; }
  // How many calls of this name there have been, also those that were not kept.
  std::size_t count(std::string_view name) const;

  void clear();
  // A run that lasts long keeps only counts and the hash; by default all entries are kept.
  void keepEntries(bool keep) { keep_ = keep; }
  // A hash over every step: thread, call, arguments, result and time.
  std::uint64_t hash() const { return hash_; }

  void add(JournalEntry entry);
  // Counts the call that is about to be made.
  std::size_t begin(const JournalEntry& entry);

  // Told of each call ahead of its work, when it is the caller's turn. Called with the guard held.
  std::function<void(const JournalEntry& entry)> onBegin;

 private:
  std::vector<JournalEntry> entries_;
  std::map<std::string, std::size_t, std::less<>> counts_;
  bool keep_ = true;
  std::uint64_t hash_ = 0xcbf29ce484222325U;
};

// What a call that fails has done by then.
enum class Deed {
  kUndone,  // nothing
  kDone,    // all that it is for: the answer alone is another one
};

// Which calls are told to fail.
class Faults {
 public:
  static Faults& instance();

  // The `nth` call of this name from now on (the first is 1) fails with this last error, or
  // returns it where the call returns a status.
  void failOnce(const std::string& call, DWORD error, unsigned nth = 1, Deed deed = Deed::kUndone);
  // The `nth` call of this name and all after it fail.
  void failFrom(const std::string& call, DWORD error, unsigned nth = 1, Deed deed = Deed::kUndone);
  void clear();

  // Told when a rule makes a call fail, and of a rule that lasts only the first time:
  // "CreateEventW 2 fails with 5", "CreateEventW fails from 2 on with 5", and with " after its
  // work" behind that. Called with the guard held.
  std::function<void(const std::string& what)> onStrike;

  struct Rule {
    DWORD error;
    unsigned nth;
    bool lasting;
    Deed deed;
    unsigned callsToGo = nth;
  };
  // Asked by each call: what it is to fail by, if it is to fail.
  const Rule* next(std::string_view call);

 private:
  void tell(std::string_view call, const Rule& rule) const;

  std::map<std::string, std::vector<Rule>, std::less<>> rules_;
};

// Something that is to happen when the run comes to a call, before the call does its work.
class CallHooks {
 public:
  static CallHooks& instance();
  void before(const std::string& call, std::size_t nth, std::function<void()> action);
  void clear() { hooks_.clear(); }
  void reached(const char* call, std::size_t nth);

 private:
  struct Hook {
    std::size_t nth;
    std::function<void()> action;
  };
  std::map<std::string, std::vector<Hook>, std::less<>> hooks_;
};

void setLastError(DWORD error);
DWORD lastError();

std::string journalText(const wchar_t* text);
std::string journalText(const char* text);
std::string journalText(std::wstring_view text);
inline std::string journalText(wchar_t* text) {
  return journalText(static_cast<const wchar_t*>(text));
}
template <class T>
std::string journalText(const T& value) {
  if constexpr (std::is_pointer_v<T>) {
    return value == nullptr ? "null" : hexText(reinterpret_cast<std::uintptr_t>(value));
  } else {
    return std::to_string(value);
  }
}

// Stands at the head of each platform call of the model: lets the turn pass, takes the call into
// the journal, and asks whether the call is to fail.
//
//   HANDLE OpenEventW(DWORD access, BOOL inherit, LPCWSTR name) {
//     host::Call call("OpenEventW", access, inherit, name);
//     if (call.faulted()) {
//       return call.returns<HANDLE>(nullptr);   // the last error is set
//     }
class Call {
 public:
  template <class... Arguments>
  explicit Call(const char* name, const Arguments&... arguments) {
    entry_.name = name;
    std::size_t left = sizeof...(arguments);
    ((entry_.args += journalText(arguments), entry_.args += --left > 0 ? ", " : ""), ...);
    enter();
  }
  // Takes the entry into the journal if `returns` has not.
  ~Call();
  Call(const Call&) = delete;
  Call& operator=(const Call&) = delete;

  // Whether it is to fail with nothing done.
  bool faulted() const { return entry_.faulted && deed_ == Deed::kUndone; }
  // Whether it is to do its work and to fail all the same. Only the calls ask that the platform may
  // fail so, and ReleaseMutex, whose number tests choose.
  bool failsWhenDone() const { return entry_.faulted && deed_ == Deed::kDone; }
  // The error that the call was told to fail with.
  DWORD fault() const { return fault_; }

  template <class T>
  T returns(T value) {
    entry_.result = journalText(value);
    finish();
    return value;
  }

  // Sets the last error and returns the call's failure value.
  template <class T>
  T fails(DWORD error, T value) {
    setLastError(error);
    return returns(value);
  }

 private:
  void enter();
  void finish();

  JournalEntry entry_;
  DWORD fault_ = 0;
  Deed deed_ = Deed::kUndone;
  bool finished_ = false;
};

}  // namespace host
