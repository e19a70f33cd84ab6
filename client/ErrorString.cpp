#include "client/ErrorString.h"

#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/Text.h"

namespace {

constexpr DWORD kSystemTextAllocated =
    FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;

}  // namespace

std::string GetErrorString(DWORD code) {
  wchar_t* buffer = nullptr;
  // With the flag for an allocated buffer the platform takes the pointer's address in its place.
  const DWORD length = FormatMessageW(kSystemTextAllocated, nullptr, code, 0,
                                      reinterpret_cast<LPWSTR>(&buffer), 0, nullptr);
  if (length == 0) return "Error " + std::to_string(code) + "(no message found)";

  const std::string text = vusl::Narrow(buffer);
  LogItem("GetErrorString").error() << text;
  HeapFree(GetProcessHeap(), 0, buffer);
  return text;
}
