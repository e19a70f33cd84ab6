#include "tests/fuzz/QuickLibrary.h"

#include <cwchar>
#include <string>

#include "platform/win32.h"

// The platform's calls as the linker names them: those of the product come here first, and what is
// not about the library goes on to the model.
extern "C" {
HMODULE __real__Z14LoadLibraryExWPKwPvj(LPCWSTR, HANDLE, DWORD);
int __real__Z11LoadStringWP11HINSTANCE__jPwi(HINSTANCE, UINT, LPWSTR, int);
BOOL __real__Z11FreeLibraryP11HINSTANCE__(HMODULE);

HMODULE __wrap__Z14LoadLibraryExWPKwPvj(LPCWSTR, HANDLE, DWORD);
int __wrap__Z11LoadStringWP11HINSTANCE__jPwi(HINSTANCE, UINT, LPWSTR, int);
BOOL __wrap__Z11FreeLibraryP11HINSTANCE__(HMODULE);
}

namespace fuzz {
namespace {

const wchar_t* theLibrary = nullptr;
const std::optional<host::ResourceFile>* theStrings = nullptr;
LANGID theLanguage = 0;
char theModule = 0;

HMODULE quickModule() {
  return reinterpret_cast<HMODULE>(&theModule);
}

int giveString(UINT id, LPWSTR buffer, int size) {
  *buffer = L'\0';
  DWORD error = 0;
  const std::optional<std::wstring> text = (*theStrings)->string(id, theLanguage, &error);
  if (!text) {
    return 0;
  }
  const std::size_t length = text->copy(buffer, static_cast<std::size_t>(size) - 1);
  buffer[length] = L'\0';
  return static_cast<int>(length);
}

}  // namespace

QuickLibrary::QuickLibrary(const wchar_t* path, const std::optional<host::ResourceFile>& content,
                           LANGID language) {
  theLibrary = path;
  theStrings = &content;
  theLanguage = language;
}

QuickLibrary::~QuickLibrary() {
  theLibrary = nullptr;
}

}  // namespace fuzz

HMODULE __wrap__Z14LoadLibraryExWPKwPvj(LPCWSTR name, HANDLE file, DWORD flags) {
  if (fuzz::theLibrary == nullptr || std::wcscmp(name, fuzz::theLibrary) != 0) {
    return __real__Z14LoadLibraryExWPKwPvj(name, file, flags);
  }
  return fuzz::theStrings->has_value() ? fuzz::quickModule() : nullptr;
}

int __wrap__Z11LoadStringWP11HINSTANCE__jPwi(HINSTANCE module, UINT id, LPWSTR buffer, int size) {
  return module == fuzz::quickModule()
             ? fuzz::giveString(id, buffer, size)
             : __real__Z11LoadStringWP11HINSTANCE__jPwi(module, id, buffer, size);
}

BOOL __wrap__Z11FreeLibraryP11HINSTANCE__(HMODULE module) {
  return module == fuzz::quickModule() ? TRUE : __real__Z11FreeLibraryP11HINSTANCE__(module);
}
