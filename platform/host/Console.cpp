// The console, as far as a service's program looks for one.

#include "platform/host/Call.h"
#include "platform/host/Machine.h"

namespace {

// Below the values that other handles have.
const HANDLE kStandardInput = reinterpret_cast<HANDLE>(std::uintptr_t{0x10});
const HANDLE kStandardOutput = reinterpret_cast<HANDLE>(std::uintptr_t{0x14});
const HANDLE kStandardError = reinterpret_cast<HANDLE>(std::uintptr_t{0x18});
constexpr DWORD kErrorHandle = 0xFFFFFFF4;

// Output goes to a file or a pipe at most.
bool isConsole(HANDLE handle) {
  return handle == kStandardInput && host::machine().inputIsConsole;
}

}  // namespace

HANDLE GetStdHandle(DWORD which) {
  host::Call call("GetStdHandle", which);
  if (call.faulted()) {
    return call.returns(INVALID_HANDLE_VALUE);
  }
  switch (which) {
    case STD_INPUT_HANDLE:
      return call.returns(kStandardInput);
    case STD_OUTPUT_HANDLE:
      return call.returns(kStandardOutput);
    case kErrorHandle:
      return call.returns(kStandardError);
    default:
      return call.fails(ERROR_INVALID_HANDLE, INVALID_HANDLE_VALUE);
  }
}

BOOL GetConsoleMode(HANDLE console, LPDWORD mode) {
  host::Call call("GetConsoleMode", console);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  const host::Scheduler::Guard guard;
  if (!isConsole(console)) {
    return call.fails(ERROR_INVALID_HANDLE, FALSE);
  }
  *mode = host::machine().consoleMode;
  return call.returns(TRUE);
}

BOOL SetConsoleMode(HANDLE console, DWORD mode) {
  host::Call call("SetConsoleMode", console, mode);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  const host::Scheduler::Guard guard;
  if (!isConsole(console)) {
    return call.fails(ERROR_INVALID_HANDLE, FALSE);
  }
  host::machine().consoleMode = mode;
  return call.returns(TRUE);
}
