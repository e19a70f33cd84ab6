#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace host {

// The account of everything that the process takes from the machine and has to give back:
// handles, keys, libraries, allocations, sections. What is released twice or used after its
// release is noted and survives: the call answers with an error.
class Ledger {
 public:
  struct Entry {
    std::string kind;   // "event", "key", "module", ...
    std::string maker;  // the call that took it
    std::uintptr_t value;
  };

  static Ledger& instance();

  // Takes a new entry into the account.
  void acquire(const std::string& kind, std::uintptr_t value, const char* maker);

  // Closes an entry; false, and a violation under the name of `call`, if there is none that is
  // open under this kind and value.
  bool release(const std::string& kind, std::uintptr_t value, const char* call);

  // True if the entry is open; otherwise notes that `call` used it.
  bool uses(const std::string& kind, std::uintptr_t value, const char* call);

  bool isOpen(const std::string& kind, std::uintptr_t value) const;

  // Notes something that must not happen.
  void violation(const std::string& text);

  // What has been taken since the last `begin` and is still open, in the order of taking.
  std::vector<Entry> stillOpen() const;
  std::size_t open(const std::string& kind) const;
  const std::vector<std::string>& violations() const { return violations_; }

  // Starts a new account: what is open now belongs to an earlier one and is not counted.
  void begin();

 private:
  using Key = std::pair<std::string, std::uintptr_t>;
  struct Holding {
    std::uint64_t number;  // in the order of taking
    std::string maker;
  };

  // Only what is open is kept whole: a life may take and give back for years.
  std::map<Key, Holding> open_;
  std::set<Key> released_;
  std::vector<std::string> violations_;
  std::uint64_t next_ = 0;
  std::uint64_t first_ = 0;
};

}  // namespace host
