#include "VUSL/Support/SysException.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/ResourceLoader.h"
#include "VUSL/Support/Text.h"

namespace {

constexpr DWORD kNeutralDefaultLanguage = 1024;
constexpr uint32_t kUnknownErrorResource = 101;

// Room for the resource in 31 characters, "0x", and the digits with their terminator.
constexpr size_t kUnknownErrorSize = 42;
constexpr size_t kDigitsSize = 9;

// Gives the system's buffer back in any case, also if there is none.
class SystemBuffer {
 public:
  SystemBuffer() = default;
  ~SystemBuffer() { LocalFree(text); }
  SystemBuffer(const SystemBuffer&) = delete;
  SystemBuffer& operator=(const SystemBuffer&) = delete;

  wchar_t* text = nullptr;
};

void requireSuccess(errno_t error) {
  if (error == 0) return;
  LogItem("What") << "error: " << error;
  // Deliberate: the "%s" is never filled in. Those who search logs for this failure know the text
  // as it stands, with the number after it.
  throw Exception("Function returned error: %s") << error;
}

std::string narrowSystemText(const wchar_t* text) {
  size_t size = 0;
  requireSuccess(wcstombs_s(&size, nullptr, 0, text, _TRUNCATE));
  std::vector<char> narrow(size);
  requireSuccess(wcstombs_s(&size, narrow.data(), narrow.size(), text, _TRUNCATE));
  return narrow.data();
}

std::string unknownErrorText(ResourceLoader& loader, DWORD error) {
  std::array<wchar_t, ResourceLoader::kDefaultSize> resource{};
  loader.loadString(kUnknownErrorResource, resource.data(), ResourceLoader::kDefaultSize);

  std::array<char, kUnknownErrorSize> text{};
  strcpy_s(text.data(), text.size(), vusl::Narrow(resource.data()).c_str());
  strcat_s(text.data(), text.size(), "0x");
  // The digits go right behind, into what is left of the same buffer.
  const size_t length = std::strlen(text.data());
  _itoa_s(static_cast<int>(error), text.data() + length,
          std::min(kDigitsSize, text.size() - length), 16);
  return text.data();
}

}  // namespace

SysException::SysException() : lastError(GetLastError()) {}

SysException::SysException(const std::string& location)
    : ExceptionStream(location), lastError(GetLastError()) {}

const std::string& SysException::errorText() {
  ResourceLoader loader;
  // Deliberate: the text is in libraries without a base name, whatever name has been set.
  ResourceLoader::libraryBaseName = vusl::string_t();
  if (ResourceLoader::resourceLibraries.empty()) ResourceLoader::initialiseLibraries();

  SystemBuffer buffer;
  const DWORD length = FormatMessageW(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM,
      nullptr, lastError, kNeutralDefaultLanguage, reinterpret_cast<LPWSTR>(&buffer.text), 0,
      nullptr);

  errorTextCache =
      message + (length != 0 ? narrowSystemText(buffer.text) : unknownErrorText(loader, lastError));
  return errorTextCache;
}

const char* SysException::errorTextCStr() {
  return errorText().c_str();
}
