// The debug output and who listens to it.

#include "platform/host/Call.h"
#include "platform/host/Machine.h"

namespace {

// Of the listener's buffer, without the zero at the end.
constexpr std::size_t kMostBytes = 4091;

// The text as the listener finds it in its buffer, which holds bytes: whole characters, as many as
// there is room for.
std::wstring_view received(std::wstring_view text) {
  std::size_t bytes = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    bytes += host::toUtf8(text.substr(i, 1)).size();
    if (bytes > kMostBytes) {
      return text.substr(0, i);
    }
  }
  return text;
}

}  // namespace

void OutputDebugStringW(LPCWSTR text) {
  host::Call call("OutputDebugStringW", text);
  if (call.faulted()) {
    return;
  }
  const host::Scheduler::Guard guard;
  host::Machine& machine = host::machine();
  if (!machine.debugListener) {
    host::setLastError(ERROR_FILE_NOT_FOUND);
    return;
  }
  machine.debugOutput.emplace_back(text == nullptr ? L"" : received(text));
  if (machine.onDebugOutput) {
    machine.onDebugOutput(machine.debugOutput.back());
  }
}
