#include "VUSL/Support/Event.h"

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/LogTag.h"
#include "VUSL/Support/SharedTexts.h"

namespace vusl {

Event::Event() : handle_(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
  if (handle_ == nullptr) {
    const DWORD error = GetLastError();
    throw Exception("Event::Event") << "Create event failed " << error;
  }
}

Event::~Event() {
  try {
    signal();
  } catch (const Exception& e) {
    LogItem("~Event").error() << kUnexpectedError << e.what();
  }
  CloseHandle(handle_);
}

WaitResult Event::Lock(uint32_t timeoutMs) {
  const WaitResult result = waitForHandle(handle_, timeoutMs);
  if (result == WaitResult::kError) {
    LogItem().error() << LogAddress(this) << kWaitFailed;
  }
  return result;
}

WaitResult Event::Unlock() {
  return WaitResult::kDone;
}

void Event::signal() {
  if (SetEvent(handle_) == FALSE) {
    const DWORD error = GetLastError();
    throw Exception("Event::signal")
        << "SetEvent failed, err: " << error << " for:" << static_cast<const void*>(this);
  }
}

}  // namespace vusl
