// Language libraries: strings that a library was made of are found in it, by the product's loader
// and by the model's reader alike, and files that are no library do no harm.

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <string>

#include "VUSL/Support/ResourceLoader.h"
#include "platform/host/Machine.h"
#include "platform/host/ResourceFile.h"
#include "tests/fuzz/Fuzz.h"
#include "tests/fuzz/QuickLibrary.h"
#include "tests/support/ResourceLibrary.h"

namespace fuzz {
namespace {

constexpr wchar_t kLibraryFile[] = L"C:\\fuzz\\a.dll";
constexpr wchar_t kGuard = L'\x7E57';
constexpr LANGID kAnyUser = 0x0409;

// A buffer of `kSize` characters with a guard behind it, kept from run to run: filling a large one
// for each string would be most of what a run takes.
template <int kSize>
std::wstring& bufferOf() {
  static std::wstring buffer(std::size_t{kSize} + 1, kGuard);
  return buffer;
}

// What the loader gives for one string, in a buffer of `kSize` characters.
template <int kSize>
std::wstring loadedString(ResourceLoader& loader, UINT id) {
  std::wstring& buffer = bufferOf<kSize>();
  const int length = loader.loadFromLibraries({kLibraryFile}, id, buffer.data(), kSize);
  require(buffer.back() == kGuard, "nothing is written behind the buffer");
  require(length >= 0 && length < kSize, "a string and its end have room in the buffer");
  const auto end = static_cast<std::size_t>(length);
  if (length > 0) {
    require(buffer[end] == L'\0', "a string has an end");
  }
  std::wstring found = buffer.substr(0, end);
  std::fill_n(buffer.begin(), end + 1, kGuard);
  return found;
}

void checkString(ResourceLoader& loader, const std::optional<host::ResourceFile>& file, UINT id) {
  constexpr int kWholeSize = 0x10001;
  constexpr int kShortSize = 9;
  DWORD error = 0;
  const std::optional<std::wstring> expected =
      file ? file->string(id, kAnyUser, &error) : std::nullopt;
  require(!file || expected || error != 0, "a string that is not there has an error");
  const std::wstring whole = loadedString<kWholeSize>(loader, id);
  require(whole == expected.value_or(L""), "the loader finds what stands in the file");
  require(loadedString<kShortSize>(loader, id) == whole.substr(0, kShortSize - 1),
          "a string that has no room is cut off");
}

host::StringTable stringsFrom(Input& input) {
  host::StringTable strings;
  while (!input.isEmpty() && strings.size() < 64) {
    const UINT id = input.byte() + 256 * (input.byte() % 4);
    std::u16string& text = strings[id];
    for (const char byte : input.piece()) {
      text += static_cast<char16_t>(static_cast<unsigned char>(byte) * 0xDBU);
    }
  }
  return strings;
}

// As characters of the machine: two halves of a pair are one.
std::wstring wideOf(const std::u16string& units) {
  std::wstring wide;
  for (std::size_t i = 0; i < units.size(); ++i) {
    const auto unit = static_cast<std::uint32_t>(units[i]);
    const std::uint32_t next = i + 1 < units.size() ? units[i + 1] : 0U;
    if (unit >= 0xD800 && unit <= 0xDBFF && next >= 0xDC00 && next <= 0xDFFF) {
      wide += static_cast<wchar_t>(0x10000 + ((unit - 0xD800) << 10U) + (next - 0xDC00));
      ++i;
    } else {
      wide += static_cast<wchar_t>(unit);
    }
  }
  return wide;
}

}  // namespace

void runLanguageLibrary(std::string_view bytes) {
  static std::optional<DriveFile> file;
  if (isMachineFresh()) {
    file.emplace(kLibraryFile);
  }
  // One input in so many is a file of the drive; a run without one is many times as fast.
  constexpr unsigned kWrittenOneIn = 16;
  Input input(bytes);
  const bool isMade = input.byte() % 2 != 0;
  const bool isWritten = isOneIn(kWrittenOneIn, bytes);
  const UINT wanted = input.byte() + 256 * (input.byte() % 4);
  const host::StringTable strings = isMade ? stringsFrom(input) : host::StringTable();
  const std::string content = isMade ? host::resourceLibrary(strings) : std::string(input.rest());
  const std::optional<host::ResourceFile> read = host::ResourceFile::parse(content);
  std::optional<QuickLibrary> quick;
  if (isWritten) {
    file->write(content);
  } else {
    quick.emplace(kLibraryFile, read, kAnyUser);
  }

  ResourceLoader loader;
  checkString(loader, read, wanted);
  std::size_t checked = 0;
  for (const auto& [id, text] : strings) {
    require(loadedString<0x1001>(loader, id) == wideOf(text).substr(0, 0x1000),
            "a string that a library was made of is found in it");
    if (++checked == 4) {
      break;
    }
  }
  const HMODULE library = loader.loadLibrary(kLibraryFile);
  require((library != nullptr) == read.has_value(), "a file is loaded if it is a library");
  require(library == nullptr || FreeLibrary(library) != FALSE, "a library can be let go");
}

void runResourceFile(std::string_view bytes) {
  Input input(bytes);
  const UINT id = input.byte();
  const auto language = static_cast<LANGID>(input.byte() * 4 + 1);
  const std::string content(input.rest());
  const auto file = host::ResourceFile::parse(content);
  if (!file) {
    return;
  }
  for (const UINT wanted : {id, id + 16, id + 0x10000}) {
    DWORD error = 0;
    const auto text = file->string(wanted, language, &error);
    require(text || error != 0, "a string that is not there has an error");
    require(!text || (!text->empty() && text->size() <= content.size() / sizeof(char16_t)),
            "a string is a piece of the file");
  }
  DWORD error = 0;
  require(file->string(id, language, &error) == file->string(id + 0x10000, language, &error),
          "an id is 16 bits wide");
}

}  // namespace fuzz
