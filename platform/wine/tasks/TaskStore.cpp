// The registered tasks as files of the platform's own drive, where the platform would keep them.

#include "platform/host/TaskStore.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include "platform/host/windows/windows.h"

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr wchar_t kStore[] = L"C:\\Windows\\System32\\Tasks";
constexpr std::size_t kLongestPath = 259;

std::wstring_view withoutBackslash(std::wstring_view name) {
  while (name.starts_with(L'\\')) {
    name.remove_prefix(1);
  }
  return name;
}

}  // namespace

std::wstring taskFile(std::wstring_view name) {
  return std::wstring(kStore) + L'\\' + std::wstring(withoutBackslash(name));
}

bool taskFolderExists(std::wstring_view name) {
  std::error_code ignored;
  return withoutBackslash(name).empty() || fs::is_directory(taskFile(name), ignored);
}

bool taskExists(std::wstring_view name) {
  std::error_code ignored;
  return fs::is_regular_file(taskFile(name), ignored);
}

std::unique_ptr<StoredTask> readTask(std::wstring_view name) {
  std::ifstream in(fs::path(taskFile(name)), std::ios::binary);
  if (!in) {
    return nullptr;
  }
  const std::string bytes{std::istreambuf_iterator<char>(in), {}};
  return std::make_unique<StoredTask>(
      StoredTask{std::wstring(withoutBackslash(name)), readTaskDocument(bytes)});
}

HRESULT writeTask(std::wstring_view name, const TaskNode& document) {
  const fs::path path = taskFile(name);
  const std::wstring_view ownName = withoutBackslash(name);
  if (ownName.empty() || ownName.find_first_of(L"<>|\"*?:/") != std::wstring_view::npos) {
    return HRESULT_FROM_WIN32(ERROR_INVALID_NAME);
  }
  std::error_code error;
  fs::create_directories(path.parent_path(), error);
  if (error || path.native().size() > kLongestPath) {
    return HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND);
  }
  std::ofstream out(path, std::ios::binary);
  out << storedTaskDocument(document) << std::flush;
  return out ? S_OK : HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED);
}

HRESULT removeTask(std::wstring_view name) {
  std::error_code ignored;
  const bool isRemoved = taskExists(name) && fs::remove(taskFile(name), ignored);
  return isRemoved ? S_OK : HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
}

}  // namespace host
