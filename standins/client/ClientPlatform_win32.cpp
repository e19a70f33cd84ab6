#include <windows.h>

#include <cerrno>

#include "standins/client/ClientPlatform.h"

namespace client_standin {

namespace {

// Shows a path in messages: characters outside ASCII as "?".
std::string shown(const std::wstring& path) {
  std::string text;
  for (const wchar_t character : path) {
    text.push_back(character < 0x80 ? static_cast<char>(character) : '?');
  }
  return text;
}

}  // namespace

std::FILE* openBesideLibrary(const char* fileName, std::string& shownPath) {
  static const char anchor = 0;
  HMODULE library = nullptr;
  wchar_t own[MAX_PATH] = {};
  if (!GetModuleHandleExW(
          GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
          reinterpret_cast<LPCWSTR>(&anchor), &library) ||
      GetModuleFileNameW(library, own, MAX_PATH) == 0) {
    errno = EBADF;
    return nullptr;
  }
  std::wstring path(own);
  path.resize(path.find_last_of(L'\\') + 1);
  path.append(fileName, fileName + std::char_traits<char>::length(fileName));
  shownPath = shown(path);
  return _wfopen(path.c_str(), L"r");
}

void sleepFor(std::uint32_t milliseconds) {
  Sleep(milliseconds);
}

void sleepForever() {
  for (;;) Sleep(INFINITE);
}

void reportAnswer(const char*, std::int32_t) {}

}  // namespace client_standin
