// The standard handles and the console, as far as a service's program looks for one.

#include "platform/host/Call.h"
#include "platform/host/Machine.h"

namespace {

using host::Machine;

// Below the values that other handles have.
const HANDLE kStandardInput = reinterpret_cast<HANDLE>(std::uintptr_t{0x10});
const HANDLE kStandardOutput = reinterpret_cast<HANDLE>(std::uintptr_t{0x14});
const HANDLE kStandardError = reinterpret_cast<HANDLE>(std::uintptr_t{0x18});
constexpr DWORD kErrorHandle = 0xFFFFFFF4;

constexpr DWORD kLineInput = 0x2;
constexpr DWORD kInputFlags = 0x3FF;
constexpr DWORD kOutputFlags = 0x1F;

// A process without that handle has null in its place, which is no failure.
HANDLE handleTo(Machine::Standard standard, HANDLE handle) {
  return standard == Machine::Standard::kNone ? nullptr : handle;
}

// The mode of the console behind the handle; null if there is none, as behind a file or a pipe.
DWORD* modeOf(HANDLE handle) {
  Machine& machine = host::machine();
  constexpr auto kConsole = Machine::Standard::kConsole;
  if (handle == kStandardInput && machine.input == kConsole) {
    return &machine.inputMode;
  }
  if ((handle == kStandardOutput && machine.output == kConsole) ||
      (handle == kStandardError && machine.errors == kConsole)) {
    return &machine.outputMode;
  }
  return nullptr;
}

// Echo is part of reading by the line.
bool isMode(HANDLE handle, DWORD mode) {
  if (handle != kStandardInput) {
    return (mode & ~kOutputFlags) == 0;
  }
  const bool echoes = (mode & ENABLE_ECHO_INPUT) != 0;
  return (mode & ~kInputFlags) == 0 && (!echoes || (mode & kLineInput) != 0);
}

}  // namespace

HANDLE GetStdHandle(DWORD which) {
  host::Call call("GetStdHandle", which);
  if (call.faulted()) {
    return call.returns(INVALID_HANDLE_VALUE);
  }
  const host::Scheduler::Guard guard;
  const Machine& machine = host::machine();
  switch (which) {
    case STD_INPUT_HANDLE:
      return call.returns(handleTo(machine.input, kStandardInput));
    case STD_OUTPUT_HANDLE:
      return call.returns(handleTo(machine.output, kStandardOutput));
    case kErrorHandle:
      return call.returns(handleTo(machine.errors, kStandardError));
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
  const DWORD* current = modeOf(console);
  if (current == nullptr) {
    return call.fails(ERROR_INVALID_HANDLE, FALSE);
  }
  *mode = *current;
  return call.returns(TRUE);
}

BOOL SetConsoleMode(HANDLE console, DWORD mode) {
  host::Call call("SetConsoleMode", console, mode);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  const host::Scheduler::Guard guard;
  DWORD* current = modeOf(console);
  if (current == nullptr) {
    return call.fails(ERROR_INVALID_HANDLE, FALSE);
  }
  if (!isMode(console, mode)) {
    return call.fails(ERROR_INVALID_PARAMETER, FALSE);
  }
  *current = mode;
  return call.returns(TRUE);
}
