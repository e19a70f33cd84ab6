#include "platform/host/Ledger.h"

#include "platform/host/Text.h"

namespace host {

Ledger& Ledger::instance() {
  static auto* ledger = new Ledger;
  return *ledger;
}

void Ledger::acquire(const std::string& kind, std::uintptr_t value, const char* maker) {
  open_[{kind, value}] = {next_++, maker};
}

bool Ledger::isOpen(const std::string& kind, std::uintptr_t value) const {
  return open_.contains({kind, value});
}

bool Ledger::uses(const std::string& kind, std::uintptr_t value, const char* call) {
  if (isOpen(kind, value)) {
    return true;
  }
  violation(std::string(call) + ": " + kind + " " + hexText(value) +
            (released_.contains({kind, value}) ? " was released before" : " is unknown"));
  return false;
}

bool Ledger::release(const std::string& kind, std::uintptr_t value, const char* call) {
  if (!uses(kind, value, call)) {
    return false;
  }
  open_.erase({kind, value});
  released_.insert({kind, value});
  return true;
}

void Ledger::violation(const std::string& text) {
  violations_.push_back(text);
}

std::vector<Ledger::Entry> Ledger::stillOpen() const {
  std::map<std::uint64_t, Entry> inOrder;
  for (const auto& [key, holding] : open_) {
    if (holding.number >= first_) {
      inOrder[holding.number] = {key.first, holding.maker, key.second};
    }
  }
  std::vector<Entry> open;
  for (auto& [number, entry] : inOrder) {
    open.push_back(std::move(entry));
  }
  return open;
}

std::size_t Ledger::open(const std::string& kind) const {
  std::size_t count = 0;
  for (const auto& [key, holding] : open_) {
    count += key.first == kind && holding.number >= first_ ? 1U : 0U;
  }
  return count;
}

void Ledger::begin() {
  first_ = next_;
  violations_.clear();
}

}  // namespace host
