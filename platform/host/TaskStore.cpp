#include "platform/host/TaskStore.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "platform/host/FileObject.h"
#include "platform/host/Machine.h"
#include "platform/host/windows/Com.h"

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr wchar_t kStore[] = L"C:\\Windows\\System32\\Tasks";

std::wstring_view withoutBackslash(std::wstring_view name) {
  while (name.starts_with(L'\\')) {
    name.remove_prefix(1);
  }
  return name;
}

std::optional<fs::path> existing(const std::wstring& path) {
  DWORD error = 0;
  auto place = machine().drive.locate(path, &error);
  return error == ERROR_SUCCESS ? place : std::nullopt;
}

// The error that keeps the file from being written. What it held before may be lost by then; a file
// that was not there is not left behind in pieces.
DWORD writeFile(const std::wstring& path, const std::string& bytes) {
  Drive& drive = machine().drive;
  try {
    drive.createFolder(path.substr(0, path.rfind(L'\\')));
  } catch (const DriveError&) {
    return ERROR_PATH_NOT_FOUND;
  }
  const auto place = drive.locate(path);
  if (!place) {
    return ERROR_PATH_NOT_FOUND;
  }
  std::error_code ignored;
  const bool isNew = !fs::exists(*place, ignored);
  FILE* const file = std::fopen(place->c_str(), "wb");
  if (file == nullptr) {
    return errorForNative(errno);
  }
  const bool isWritten =
      std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size() && std::fflush(file) == 0;
  const DWORD error = isWritten ? ERROR_SUCCESS : errorForNative(errno);
  std::fclose(file);
  if (error != ERROR_SUCCESS && isNew) {
    fs::remove(*place, ignored);
  }
  Drive::stamp(*place, machine().utcMs());
  return error;
}

}  // namespace

std::wstring taskFile(std::wstring_view name) {
  return std::wstring(kStore) + L'\\' + std::wstring(withoutBackslash(name));
}

bool taskFolderExists(std::wstring_view name) {
  if (withoutBackslash(name).empty()) {
    return true;
  }
  const auto place = existing(taskFile(name));
  std::error_code ignored;
  return place && fs::is_directory(*place, ignored);
}

bool taskExists(std::wstring_view name) {
  const auto place = existing(taskFile(name));
  std::error_code ignored;
  return place && fs::is_regular_file(*place, ignored);
}

std::unique_ptr<StoredTask> readTask(std::wstring_view name) {
  const auto bytes = machine().drive.read(taskFile(name));
  if (!bytes) {
    return nullptr;
  }
  return std::make_unique<StoredTask>(
      StoredTask{std::wstring(withoutBackslash(name)), readTaskDocument(*bytes)});
}

std::vector<StoredTask> readAllTasks() {
  const auto store = existing(kStore);
  if (!store) {
    return {};
  }
  std::vector<std::wstring> names;
  std::error_code ignored;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(*store, ignored)) {
    if (entry.is_regular_file(ignored)) {
      std::wstring name = toWide(entry.path().lexically_relative(*store).string());
      std::replace(name.begin(), name.end(), L'/', L'\\');
      names.push_back(name);
    }
  }
  std::sort(names.begin(), names.end());
  std::vector<StoredTask> tasks;
  for (const std::wstring& name : names) {
    tasks.push_back(std::move(*readTask(name)));
  }
  return tasks;
}

HRESULT writeTask(std::wstring_view name, const TaskNode& document) {
  const std::wstring path = taskFile(name);
  const std::wstring_view ownName = withoutBackslash(name);
  if (ownName.empty() || ownName.find_first_of(L"<>|\"*?:/") != std::wstring_view::npos) {
    return HRESULT_FROM_WIN32(ERROR_INVALID_NAME);
  }
  if (path.size() >= MAX_PATH) {
    return HRESULT_FROM_WIN32(ERROR_PATH_NOT_FOUND);
  }
  const DWORD error = writeFile(path, storedTaskDocument(document));
  return error == ERROR_SUCCESS ? S_OK : HRESULT_FROM_WIN32(error);
}

HRESULT removeTask(std::wstring_view name) {
  if (!taskExists(name)) {
    return HRESULT_FROM_WIN32(ERROR_FILE_NOT_FOUND);
  }
  machine().drive.remove(taskFile(name));
  return S_OK;
}

}  // namespace host
