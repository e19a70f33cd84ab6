#include "VUSL/Support/GetSystemErrorText.h"

namespace {

constexpr DWORD kNeutralDefaultLanguage = 0x400;

// Owns the text that the system made; frees it as well where memory for a copy runs out.
class SystemText {
 public:
  SystemText() = default;
  ~SystemText() { LocalFree(text); }
  SystemText(const SystemText&) = delete;
  SystemText& operator=(const SystemText&) = delete;

  wchar_t* text = nullptr;
};

}  // namespace

vusl::string_t GetSystemErrorText(DWORD code) {
  SystemText made;
  const DWORD length = FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
      nullptr, code, kNeutralDefaultLanguage, reinterpret_cast<LPWSTR>(&made.text), 0, nullptr);
  vusl::string_t text;
  if (length != 0) text.assign(made.text, length);
  return text.substr(0, text.rfind(L'\r'));
}
