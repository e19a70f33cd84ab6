// The program's path as a stored task has it, which anybody may have edited.

#include <string>

#include "task/TaskLifecycle.h"
#include "tests/fuzz/Fuzz.h"

namespace fuzz {
namespace {

// Character by character: what stands ahead of the last separator, without one quote at its head.
std::wstring expectedDirectory(const std::wstring& path) {
  std::wstring sinceLastSeparator;
  std::wstring directory;
  bool hasSeparator = false;
  for (const wchar_t character : path) {
    if (character == L'/' || character == L'\\') {
      directory += sinceLastSeparator;
      sinceLastSeparator.clear();
      hasSeparator = true;
    }
    sinceLastSeparator += character;
  }
  if (!hasSeparator) {
    directory = path;
  }
  const bool isQuoted = !directory.empty() && directory[0] == L'"';
  return isQuoted ? directory.substr(1) : directory;
}

}  // namespace

void runStoredPath(std::string_view bytes) {
  std::wstring path;
  for (const char byte : bytes) {
    path += static_cast<wchar_t>(static_cast<unsigned char>(byte));
  }
  require(StoredActionDirectory(path) == expectedDirectory(path),
          "the directory of a stored path is what stands ahead of its last separator");
}

}  // namespace fuzz
