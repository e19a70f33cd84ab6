#include "platform/host/Handles.h"

#include "platform/host/Ledger.h"
#include "platform/host/Text.h"

namespace host {
namespace {

// Handle values are multiples of four, and the low ones are never handed out.
constexpr std::uintptr_t kFirstHandle = 0x40;
constexpr std::uintptr_t kHandleStep = 4;

std::uintptr_t valueOf(HANDLE handle) {
  return reinterpret_cast<std::uintptr_t>(handle);
}

}  // namespace

HandleTable& HandleTable::instance() {
  static auto* table = new HandleTable;
  return *table;
}

HANDLE HandleTable::add(std::shared_ptr<KernelObject> object, const char* maker) {
  const std::uintptr_t value = kFirstHandle + kHandleStep * entries_.size();
  const char* kind = object->kind();
  entries_.push_back({std::move(object), kind});
  Ledger::instance().acquire(kind, value, maker);
  return reinterpret_cast<HANDLE>(value);
}

const HandleTable::Entry* HandleTable::entry(HANDLE handle) const {
  const std::uintptr_t value = valueOf(handle);
  if (value < kFirstHandle || value % kHandleStep != 0) {
    return nullptr;
  }
  const std::uintptr_t index = (value - kFirstHandle) / kHandleStep;
  return index < entries_.size() ? &entries_[index] : nullptr;
}

std::shared_ptr<KernelObject> HandleTable::find(HANDLE handle, const char* call) const {
  const Entry* found = entry(handle);
  if (found == nullptr) {
    return nullptr;
  }
  if (found->object == nullptr) {
    Ledger::instance().violation(std::string(call) + ": " + found->kind + " " +
                                 hexText(valueOf(handle)) + " was closed before");
  }
  return found->object;
}

bool HandleTable::close(HANDLE handle, const char* call) {
  const Entry* found = entry(handle);
  if (found == nullptr) {
    Ledger::instance().violation(std::string(call) + ": " +
                                 (handle == nullptr ? "null" : hexText(valueOf(handle))) +
                                 " is no handle");
    return false;
  }
  const bool byCloseHandle = std::string_view(call) == "CloseHandle";
  if (found->object != nullptr && found->object->closedByCloseHandle() != byCloseHandle) {
    Ledger::instance().violation(std::string(call) + " does not end a " + found->kind);
    return false;
  }
  if (!Ledger::instance().release(found->kind, valueOf(handle), call)) {
    return false;
  }
  const std::uintptr_t index = (valueOf(handle) - kFirstHandle) / kHandleStep;
  entries_[index].object = nullptr;
  return true;
}

}  // namespace host
