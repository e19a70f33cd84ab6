// The system's messages.

#include <algorithm>
#include <optional>
#include <string>

#include "platform/host/Call.h"
#include "platform/host/Machine.h"
#include "platform/host/Memory.h"
#include "platform/host/MessageTable.h"

namespace {

constexpr wchar_t kMessageEnd[] = L"\r\n";

constexpr DWORD kErrorLanguageNotFound = 1815;

// The flags of which the model knows what they mean. Messages from elsewhere and arguments for
// inserts are refused.
constexpr DWORD kMaxWidthMask = 0xFF;
constexpr DWORD kKnownFlags = FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS |
                              FORMAT_MESSAGE_FROM_SYSTEM | kMaxWidthMask;

constexpr DWORD kNeutralLanguage = 0;
constexpr DWORD kUserDefaultLanguage = 0x400;
constexpr DWORD kSystemDefaultLanguage = 0x800;
constexpr LANGID kEnglish = 0x409;

// A result that only wraps an error has that error's message.
constexpr DWORD kWrappedErrors = 0x80070000;

// The text with its line end; empty for a code that the system does not know.
std::wstring messageFor(DWORD id, LANGID language) {
  const auto& own = host::machine().errorTexts;
  if (const auto told = own.find(id); told != own.end()) {
    return told->second;
  }
  if ((id & 0xFFFF0000U) == kWrappedErrors) {
    id &= 0xFFFFU;
  }
  const wchar_t* const text = host::systemMessage(id, language);
  return text == nullptr ? std::wstring() : text + std::wstring(kMessageEnd);
}

// The language of the texts that an argument asks for; nothing if it is not installed. The system
// itself is an English one, and its user's display language is installed beside.
std::optional<LANGID> languageFor(DWORD asked) {
  const LANGID user = host::displayLanguage(host::machine().userLanguage);
  if (asked == kNeutralLanguage || asked == kUserDefaultLanguage) {
    return user;
  }
  if (asked == kSystemDefaultLanguage || asked == kEnglish) {
    return kEnglish;
  }
  return asked == user ? std::optional(user) : std::nullopt;
}

// Each line end becomes a blank.
std::wstring onOneLine(const std::wstring& text) {
  std::wstring line;
  for (const wchar_t character : text) {
    if (character == L'\n') {
      line += L' ';
    } else if (character != L'\r') {
      line += character;
    }
  }
  return line;
}

// Whether the text has a place for an argument, such as "%1".
bool hasInsert(const std::wstring& text) {
  const std::size_t percent = text.find(L'%');
  return percent != std::wstring::npos && percent + 1 < text.size() && text[percent + 1] >= L'1' &&
         text[percent + 1] <= L'9';
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
  if (buffer == nullptr || (flags & FORMAT_MESSAGE_FROM_SYSTEM) == 0 ||
      (flags & ~kKnownFlags) != 0) {
    return call.fails(ERROR_INVALID_PARAMETER, DWORD{0});
  }
  const auto installed = languageFor(language);
  if (!installed) {
    return call.fails(kErrorLanguageNotFound, DWORD{0});
  }
  std::wstring text = messageFor(id, *installed);
  if (text.empty()) {
    return call.fails(ERROR_MR_MID_NOT_FOUND, DWORD{0});
  }
  if ((flags & FORMAT_MESSAGE_IGNORE_INSERTS) == 0 && hasInsert(text)) {
    return call.fails(ERROR_INVALID_PARAMETER, DWORD{0});
  }
  if ((flags & kMaxWidthMask) == kMaxWidthMask) {
    text = onOneLine(text);
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
