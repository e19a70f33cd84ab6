#include "VUSL/Support/DebugLogOutlet.h"

#include "platform/win32.h"

void DebugLogOutlet::Dump(const vusl::string_t& message) {
  OutputDebugStringW((message + L"\r\n").c_str());
}
