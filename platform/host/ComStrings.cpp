// Strings that carry their length, and variants.

#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/host/ComObject.h"
#include "platform/host/Ledger.h"

namespace host {
namespace {

constexpr char kKind[] = "bstr";
// Room ahead of the text, whose last four bytes are the text's length in bytes.
constexpr std::size_t kHead = 16;

std::uintptr_t valueOf(const OLECHAR* text) {
  return reinterpret_cast<std::uintptr_t>(text);
}

UINT lengthOf(const OLECHAR* text) {
  UINT bytes = 0;
  std::memcpy(&bytes, reinterpret_cast<const char*>(text) - sizeof(bytes), sizeof(bytes));
  return bytes / static_cast<UINT>(sizeof(OLECHAR));
}

// `text` may be null: the string is then left as zeros.
BSTR allocate(const OLECHAR* text, std::size_t length, const char* maker) {
  const std::size_t bytes = length * sizeof(OLECHAR);
  auto* const block = static_cast<char*>(std::calloc(1, kHead + bytes + sizeof(OLECHAR)));
  if (block == nullptr) {
    return nullptr;
  }
  const auto prefix = static_cast<UINT>(bytes);
  std::memcpy(block + kHead - sizeof(prefix), &prefix, sizeof(prefix));
  if (text != nullptr) {
    std::memcpy(block + kHead, text, bytes);
  }
  auto* const made = static_cast<BSTR>(static_cast<void*>(block + kHead));
  Ledger::instance().acquire(kKind, valueOf(made), maker);
  return made;
}

// A string that is freed a second time is noted and otherwise left alone.
void deallocate(BSTR text, const char* call) {
  if (text != nullptr && Ledger::instance().release(kKind, valueOf(text), call)) {
    std::free(reinterpret_cast<char*>(text) - kHead);
  }
}

}  // namespace

BSTR makeString(const std::wstring& text, const char* maker) {
  return allocate(text.data(), text.size(), maker);
}

bool readString(BSTR text, const char* call, std::wstring& result) {
  result.clear();
  if (text == nullptr) {
    return true;
  }
  if (!Ledger::instance().uses(kKind, valueOf(text), call)) {
    return false;
  }
  result.assign(text, lengthOf(text));
  return true;
}

}  // namespace host

using host::Call;
using host::StatusCall;

BSTR SysAllocString(const OLECHAR* text) {
  StatusCall call("SysAllocString", text);
  if (call.faulted() || text == nullptr) {
    return call.returns<BSTR>(nullptr);
  }
  const host::Scheduler::Guard guard;
  call.returns("allocated");
  return host::allocate(text, std::wcslen(text), "SysAllocString");
}

BSTR SysAllocStringLen(const OLECHAR* text, UINT length) {
  StatusCall call("SysAllocStringLen", length);
  if (call.faulted()) {
    return call.returns<BSTR>(nullptr);
  }
  const host::Scheduler::Guard guard;
  call.returns("allocated");
  return host::allocate(text, length, "SysAllocStringLen");
}

void SysFreeString(BSTR text) {
  const Call call("SysFreeString");
  const host::Scheduler::Guard guard;
  host::deallocate(text, "SysFreeString");
}

UINT SysStringLen(BSTR text) {
  Call call("SysStringLen");
  const host::Scheduler::Guard guard;
  std::wstring read;
  return call.returns(host::readString(text, "SysStringLen", read) ? static_cast<UINT>(read.size())
                                                                   : UINT{0});
}

void VariantInit(VARIANTARG* variant) {
  const Call call("VariantInit");
  *variant = VARIANT{};
}

HRESULT VariantClear(VARIANTARG* variant) {
  StatusCall call("VariantClear", variant->vt);
  if (call.faulted()) {
    return call.returns(static_cast<HRESULT>(call.fault()));
  }
  {
    const host::Scheduler::Guard guard;
    if (variant->vt == VT_BSTR) {
      host::deallocate(variant->bstrVal, "VariantClear");
    }
  }
  if ((variant->vt == VT_UNKNOWN || variant->vt == VT_DISPATCH) && variant->punkVal != nullptr) {
    variant->punkVal->Release();
  }
  *variant = VARIANT{};
  return call.returns(S_OK);
}
