#include <windows.h>

#include <cerrno>
#include <cstdlib>

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

struct Work {
  void (*body)(void*);
  void* argument;
};

DWORD WINAPI runWork(void* parameter) noexcept {
  const auto& work = *static_cast<const Work*>(parameter);
  work.body(work.argument);
  return 0;
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

void runOnOwnThread(void (*body)(void*), void* argument) {
  Work work{body, argument};
  const HANDLE thread = CreateThread(nullptr, 0, runWork, &work, 0, nullptr);
  if (thread == nullptr) std::abort();
  WaitForSingleObject(thread, INFINITE);
  CloseHandle(thread);
}

void reportAnswer(const char*, std::int32_t) {}

}  // namespace client_standin
