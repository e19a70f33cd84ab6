// The system's message table, as its English edition has it.

#include <algorithm>
#include <string>

#include "platform/host/Call.h"
#include "platform/host/Machine.h"
#include "platform/host/Memory.h"

namespace {

struct Message {
  DWORD id;
  const wchar_t* text;
};

constexpr Message kMessages[] = {
    {0, L"The operation completed successfully."},
    {2, L"The system cannot find the file specified."},
    {3, L"The system cannot find the path specified."},
    {5, L"Access is denied."},
    {6, L"The handle is invalid."},
    {18, L"There are no more files."},
    {32, L"The process cannot access the file because it is being used by another process."},
    {80, L"The file exists."},
    {87, L"The parameter is incorrect."},
    {112, L"There is not enough space on the disk."},
    {122, L"The data area passed to a system call is too small."},
    {123, L"The filename, directory name, or volume label syntax is incorrect."},
    {126, L"The specified module could not be found."},
    {127, L"The specified procedure could not be found."},
    {131, L"An attempt was made to move the file pointer before the beginning of the file."},
    {183, L"Cannot create a file when that file already exists."},
    {193, L"%1 is not a valid Win32 application."},
    {234, L"More data is available."},
    {258, L"The wait operation timed out."},
    {288, L"Attempt to release mutex not owned by caller."},
    {1056, L"An instance of the service is already running."},
    {1060, L"The specified service does not exist as an installed service."},
    {1061, L"The service cannot accept control messages at this time."},
    {1062, L"The service has not been started."},
    {1063, L"The service process could not connect to the service controller."},
    {1113, L"No mapping for the Unicode character exists in the target multi-byte code page."},
    {1150, L"The specified program requires a newer version of Windows."},
    {1300, L"Not all privileges or groups referenced are assigned to the caller."},
    {1313, L"A specified privilege does not exist."},
    {1314, L"A required privilege is not held by the client."},
    {1337, L"The security ID structure is invalid."},
    {1814, L"The specified resource name cannot be found in the image file."},
};
constexpr wchar_t kMessageEnd[] = L"\r\n";

constexpr DWORD kErrorLanguageNotFound = 1815;
constexpr DWORD kNeutralLanguage = 0;
constexpr DWORD kUserDefaultLanguage = 0x400;
constexpr DWORD kSystemDefaultLanguage = 0x800;
constexpr DWORD kEnglish = 0x409;

// A result that only wraps an error has that error's message.
constexpr DWORD kWrappedErrors = 0x80070000;

// The text with its line end; empty for a code that the system does not know.
std::wstring messageFor(DWORD id) {
  const auto& own = host::machine().errorTexts;
  if (const auto told = own.find(id); told != own.end()) {
    return told->second;
  }
  if ((id & 0xFFFF0000U) == kWrappedErrors) {
    id &= 0xFFFFU;
  }
  const auto* found = std::find_if(std::begin(kMessages), std::end(kMessages),
                                   [&](const Message& message) { return message.id == id; });
  return found == std::end(kMessages) ? std::wstring() : found->text + std::wstring(kMessageEnd);
}

bool isInstalled(DWORD language) {
  return language == kNeutralLanguage || language == kUserDefaultLanguage ||
         language == kSystemDefaultLanguage || language == kEnglish;
}

}  // namespace

DWORD FormatMessageW(DWORD flags, LPCVOID source, DWORD id, DWORD language, LPWSTR buffer,
                     DWORD size, void* arguments) {
  host::Call call("FormatMessageW", flags, source, id, language, size, arguments);
  const bool allocates = (flags & FORMAT_MESSAGE_ALLOCATE_BUFFER) != 0;
  // With this flag the argument is in truth the address of a pointer.
  auto* const allocated = reinterpret_cast<LPWSTR*>(buffer);
  if (allocates && buffer != nullptr) {
    *allocated = nullptr;
  }
  if (call.faulted()) {
    return call.returns(DWORD{0});
  }
  if (buffer == nullptr || (flags & FORMAT_MESSAGE_FROM_SYSTEM) == 0) {
    return call.fails(ERROR_INVALID_PARAMETER, DWORD{0});
  }
  if (!isInstalled(language)) {
    return call.fails(kErrorLanguageNotFound, DWORD{0});
  }
  const std::wstring text = messageFor(id);
  if (text.empty()) {
    return call.fails(ERROR_MR_MID_NOT_FOUND, DWORD{0});
  }
  if (allocates) {
    const std::size_t characters = std::max<std::size_t>(text.size() + 1, size);
    *allocated = static_cast<LPWSTR>(host::allocate(characters * sizeof(WCHAR), "FormatMessageW"));
    if (*allocated == nullptr) {
      return call.fails(ERROR_NOT_ENOUGH_MEMORY, DWORD{0});
    }
    buffer = *allocated;
  } else if (size <= text.size()) {
    return call.fails(ERROR_INSUFFICIENT_BUFFER, DWORD{0});
  }
  text.copy(buffer, text.size());
  buffer[text.size()] = L'\0';
  return call.returns(static_cast<DWORD>(text.size()));
}
