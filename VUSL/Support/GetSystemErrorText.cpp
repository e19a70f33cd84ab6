#include "VUSL/Support/GetSystemErrorText.h"

namespace {

constexpr DWORD kNeutralDefaultLanguage = 0x400;

}  // namespace

vusl::string_t GetSystemErrorText(DWORD code) {
  wchar_t* buffer = nullptr;
  const DWORD length = FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
      nullptr, code, kNeutralDefaultLanguage, reinterpret_cast<LPWSTR>(&buffer), 0, nullptr);
  vusl::string_t text;
  if (length != 0) text.assign(buffer, length);
  LocalFree(buffer);
  return text.substr(0, text.rfind(L'\r'));
}
