// Last errors, the heap, versions, clocks, code pages and debug output.

#include <algorithm>
#include <cstdlib>
#include <string>
#include <tuple>

#include "platform/host/Call.h"
#include "platform/host/Ledger.h"
#include "platform/host/Machine.h"
#include "platform/host/Memory.h"

namespace host {
namespace {

const HANDLE kProcessHeap = reinterpret_cast<HANDLE>(std::uintptr_t{0x10000});

// Each type's condition has three bits of the mask, in the order of the type bits.
constexpr unsigned kBitsPerCondition = 3;
constexpr ULONGLONG kConditionBits = 7;
constexpr DWORD kHighestVersionType = 0x80;
constexpr BYTE kLess = 4;
constexpr BYTE kLessEqual = 5;

constexpr DWORD kErrorBadArguments = 160;
constexpr DWORD kErrorInvalidFlags = 1004;
constexpr DWORD kRefuseInvalidCharacters = 0x8;

unsigned conditionShift(DWORD type) {
  unsigned bit = 0;
  while ((type >> bit) > 1) {
    ++bit;
  }
  return bit * kBitsPerCondition;
}

BYTE conditionOf(ULONGLONG mask, DWORD type) {
  return static_cast<BYTE>((mask >> conditionShift(type)) & kConditionBits);
}

template <class T>
bool holds(const T& have, const T& wanted, BYTE condition) {
  switch (condition) {
    case VER_EQUAL:
      return have == wanted;
    case VER_GREATER:
      return have > wanted;
    case VER_GREATER_EQUAL:
      return have >= wanted;
    case kLess:
      return have < wanted;
    case kLessEqual:
      return have <= wanted;
    default:
      return false;
  }
}

// Major and minor number are compared together, the major one first, under the condition of the
// first of them that is asked for; the build number stands for itself.
bool versionMatches(const OSVERSIONINFOEXW& wanted, DWORD types, DWORDLONG conditions) {
  const WindowsVersion& have = machine().version;
  if ((types & VER_BUILDNUMBER) != 0 &&
      !holds(have.build, wanted.dwBuildNumber, conditionOf(conditions, VER_BUILDNUMBER))) {
    return false;
  }
  const bool major = (types & VER_MAJORVERSION) != 0;
  const bool minor = (types & VER_MINORVERSION) != 0;
  if (!major && !minor) {
    return true;
  }
  const std::tuple haveNumbers(major ? have.major : 0, minor ? have.minor : 0);
  const std::tuple wantedNumbers(major ? wanted.dwMajorVersion : 0,
                                 minor ? wanted.dwMinorVersion : 0);
  return holds(haveNumbers, wantedNumbers,
               conditionOf(conditions, major ? VER_MAJORVERSION : VER_MINORVERSION));
}

}  // namespace

void* allocate(std::size_t size, const char* maker) {
  void* block = std::calloc(1, std::max<std::size_t>(size, 1));
  if (block != nullptr) {
    const Scheduler::Guard guard;
    Ledger::instance().acquire("allocation", reinterpret_cast<std::uintptr_t>(block), maker);
  }
  return block;
}

bool release(void* block, const char* call) {
  {
    const Scheduler::Guard guard;
    if (!Ledger::instance().release("allocation", reinterpret_cast<std::uintptr_t>(block), call)) {
      return false;
    }
  }
  std::free(block);
  return true;
}

}  // namespace host

using host::Call;

DWORD GetLastError() {
  Call call("GetLastError");
  return call.returns(host::lastError());
}

void SetLastError(DWORD error) {
  Call call("SetLastError", error);
  host::setLastError(error);
}

HANDLE GetProcessHeap() {
  Call call("GetProcessHeap");
  if (call.faulted()) {
    return call.returns<HANDLE>(nullptr);
  }
  return call.returns(host::kProcessHeap);
}

LPVOID HeapAlloc(HANDLE heap, DWORD flags, SIZE_T size) {
  Call call("HeapAlloc", heap, flags, size);
  if (call.faulted()) {
    return call.returns<LPVOID>(nullptr);
  }
  if (heap != host::kProcessHeap) {
    return call.fails<LPVOID>(ERROR_INVALID_HANDLE, nullptr);
  }
  void* block = host::allocate(size, "HeapAlloc");
  if (block == nullptr) {
    return call.fails<LPVOID>(ERROR_NOT_ENOUGH_MEMORY, nullptr);
  }
  if ((flags & HEAP_ZERO_MEMORY) == 0) {
    // Whoever relies on zeros has to ask for them.
    constexpr int kUninitialized = 0xCD;
    std::memset(block, kUninitialized, size);
  }
  return call.returns(block);
}

BOOL HeapFree(HANDLE heap, DWORD flags, LPVOID memory) {
  Call call("HeapFree", heap, flags, memory);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  if (heap != host::kProcessHeap) {
    return call.fails(ERROR_INVALID_HANDLE, FALSE);
  }
  if (memory != nullptr && !host::release(memory, "HeapFree")) {
    return call.fails(ERROR_INVALID_PARAMETER, FALSE);
  }
  return call.returns(TRUE);
}

HLOCAL LocalFree(HLOCAL memory) {
  Call call("LocalFree", memory);
  if (call.faulted()) {
    return call.returns(memory);
  }
  if (memory != nullptr && !host::release(memory, "LocalFree")) {
    return call.fails(ERROR_INVALID_HANDLE, memory);
  }
  return call.returns<HLOCAL>(nullptr);
}

ULONGLONG VerSetConditionMask(ULONGLONG mask, DWORD type, BYTE condition) {
  Call call("VerSetConditionMask", mask, type, condition);
  // Of several types the highest one is meant.
  for (DWORD bit = host::kHighestVersionType; bit != 0; bit >>= 1U) {
    if ((type & bit) != 0) {
      mask |= (condition & host::kConditionBits) << host::conditionShift(bit);
      break;
    }
  }
  return call.returns(mask);
}

BOOL VerifyVersionInfoW(LPOSVERSIONINFOEXW version, DWORD typeMask, DWORDLONG conditionMask) {
  Call call("VerifyVersionInfoW", version == nullptr ? 0 : version->dwOSVersionInfoSize, typeMask,
            conditionMask);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  if (version == nullptr) {
    return call.fails(ERROR_INVALID_PARAMETER, FALSE);
  }
  if (typeMask == 0 || conditionMask == 0) {
    return call.fails(host::kErrorBadArguments, FALSE);
  }
  if (!host::versionMatches(*version, typeMask, conditionMask)) {
    return call.fails(ERROR_OLD_WIN_VERSION, FALSE);
  }
  return call.returns(TRUE);
}

LANGID GetUserDefaultLangID() {
  Call call("GetUserDefaultLangID");
  return call.returns(host::machine().userLanguage);
}

int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR text, int length, LPWSTR buffer,
                        int size) {
  Call call("MultiByteToWideChar", codePage, flags, text == nullptr ? "null" : "text", length,
            size);
  if (call.faulted()) {
    return call.returns(0);
  }
  if (codePage != CP_UTF8 || text == nullptr || length == 0 || size < 0 ||
      (size > 0 && buffer == nullptr)) {
    return call.fails(ERROR_INVALID_PARAMETER, 0);
  }
  if ((flags & ~host::kRefuseInvalidCharacters) != 0) {
    return call.fails(host::kErrorInvalidFlags, 0);
  }
  // A length of -1, as any other below 0, counts up to and with the terminator.
  const std::string_view bytes(
      text, length < 0 ? std::strlen(text) + 1 : static_cast<std::size_t>(length));
  const std::wstring wide = host::toWide(bytes);
  if (flags == host::kRefuseInvalidCharacters && host::toUtf8(wide) != bytes) {
    return call.fails(ERROR_NO_UNICODE_TRANSLATION, 0);
  }
  const int needed = static_cast<int>(wide.size());
  if (size == 0) {
    return call.returns(needed);
  }
  wide.copy(buffer, static_cast<std::size_t>(std::min(size, needed)));
  if (size < needed) {
    return call.fails(ERROR_INSUFFICIENT_BUFFER, 0);
  }
  return call.returns(needed);
}

void GetLocalTime(LPSYSTEMTIME time) {
  Call call("GetLocalTime");
  const host::Scheduler::Guard guard;
  *time = host::machine().localTime();
}
