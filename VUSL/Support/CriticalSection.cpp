#include "VUSL/Support/CriticalSection.h"

#include "VUSL/Support/Exception.h"

namespace vusl {

namespace {

constexpr DWORD kSpinCount = 0x4000;

}  // namespace

CriticalSection::CriticalSection() {
  if (InitializeCriticalSectionAndSpinCount(&section, kSpinCount) == FALSE) {
    const DWORD error = GetLastError();
    throw Exception("CriticalSection")
        << "InitializeCriticalSectionAndSpinCount failed with error: " << error;
  }
}

CriticalSection::~CriticalSection() {
  DeleteCriticalSection(&section);
}

WaitResult CriticalSection::Lock(uint32_t /*timeoutMs*/) {
  EnterCriticalSection(&section);
  return WaitResult::kDone;
}

WaitResult CriticalSection::Unlock() {
  LeaveCriticalSection(&section);
  return WaitResult::kDone;
}

}  // namespace vusl
