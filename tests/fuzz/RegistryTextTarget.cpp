// A value of the registry as text: whatever bytes stand there, of whatever type and odd length.

#include <cstring>
#include <string>

#include "VUSL/Support/Exception.h"
#include "client/HKeyContainer.h"
#include "platform/host/Machine.h"
#include "tests/fuzz/Fuzz.h"
#include "tests/fuzz/QuickValue.h"

namespace fuzz {
namespace {

constexpr wchar_t kFuzzedKey[] = L"HKLM\\Software\\Fuzzed";
constexpr DWORD kTypes = 12;

// The narrow text in the bytes, up to a zero character or the last one that is whole. False if it
// has a character without a narrow form, which ends the text too.
bool expectedText(const std::string& bytes, std::string& text) {
  for (std::size_t at = 0; at + sizeof(wchar_t) <= bytes.size(); at += sizeof(wchar_t)) {
    wchar_t character = 0;
    std::memcpy(&character, bytes.data() + at, sizeof character);
    if (character == 0) {
      return true;
    }
    if (character < 0 || character > 0x7F) {
      return false;
    }
    text += static_cast<char>(character);
  }
  return true;
}

// Most bytes make no character that has a narrow form: so they stand for characters of their own
// here, the last of which may lack some bytes.
std::string asCharacters(std::string_view bytes, unsigned lacking) {
  std::wstring text;
  for (const char byte : bytes) {
    text += static_cast<wchar_t>(static_cast<unsigned char>(byte));
  }
  const std::size_t size = text.size() * sizeof(wchar_t);
  std::string stored(size - std::min<std::size_t>(size, lacking), '\0');
  std::memcpy(stored.data(), text.data(), stored.size());
  return stored;
}

}  // namespace

void runRegistryText(std::string_view bytes) {
  static HKEY key = nullptr;
  if (isMachineFresh()) {
    host::machine().registry.createKey(kFuzzedKey);
    require(RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Fuzzed", 0, KEY_READ, &key) == 0,
            "the key can be opened");
  }
  Input input(bytes);
  const unsigned options = input.byte();
  const DWORD type = input.byte() % kTypes;
  const bool isRaw = (options & 1U) != 0;
  // One input in so many goes through the model's store; a run without it is many times as fast.
  constexpr unsigned kStoredOneIn = 16;
  const bool isStored = isOneIn(kStoredOneIn, bytes);
  const std::string stored =
      isRaw ? std::string(input.rest()) : asCharacters(input.rest(), options >> 1U & 3U);
  const QuickValue quick(stored);
  if (isStored) {
    host::machine().registry.setValue(kFuzzedKey, L"Value", type, stored);
  }

  std::string expected;
  const bool isNarrow = expectedText(stored, expected);
  std::string text = "left over";
  bool isRefused = false;
  try {
    require(HKeyContainer::GetValueString(isStored ? key : QuickValue::key(), "Value", text) == 0,
            "a value that is there is read");
  } catch (const Exception& exception) {
    isRefused = true;
    require(std::strcmp(exception.what(),
                        "Unicode installation path detected, terminating process.") == 0,
            "a text without a narrow form is refused in the required words");
  }
  require(isRefused == !isNarrow, "a text is refused if it has no narrow form, and only then");
  require(text == expected, "the text is what stands ahead of its end");
}

}  // namespace fuzz
