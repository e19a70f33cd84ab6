#include "platform/host/Drive.h"

#include <dirent.h>
#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <system_error>
#include <vector>

#include "platform/host/FileObject.h"
#include "platform/host/Machine.h"
#include "platform/host/Text.h"

namespace host {
namespace {

namespace fs = std::filesystem;

constexpr std::wstring_view kSeparators = L"\\/";
constexpr std::wstring_view kForbidden = L"<>|\"*?:";
// Between the platform's epoch, 1601, and the native one, 1970.
constexpr std::int64_t kEpochDistanceMs = 11'644'473'600'000;

// The folders that every machine has.
constexpr std::wstring_view kStandardFolders[] = {
    L"C:\\Windows\\System32\\config\\systemprofile\\AppData\\Local",
    L"C:\\Windows\\System32\\config\\systemprofile\\AppData\\LocalLow",
    L"C:\\Program Files\\Orvix\\TPMEnrollmentService",
};

bool isSeparator(wchar_t character) {
  return kSeparators.find(character) != std::wstring_view::npos;
}

// The components between separators, with "." and ".." taken out.
void append(std::wstring_view path, std::vector<std::wstring>& components) {
  while (!path.empty()) {
    const std::size_t end = std::min(path.find_first_of(kSeparators), path.size());
    std::wstring_view component = path.substr(0, end);
    path.remove_prefix(std::min(end + 1, path.size()));
    if (component == L"..") {
      if (!components.empty()) {
        components.pop_back();
      }
      continue;
    }
    component = component.substr(0, component.find_last_not_of(L". ") + 1);
    if (!component.empty()) {
      components.emplace_back(component);
    }
  }
}

bool hasDrive(std::wstring_view path) {
  return path.size() >= 2 && path[1] == L':';
}

bool isAllowed(std::wstring_view name) {
  for (const wchar_t character : name) {
    if (character < L' ' || kForbidden.find(character) != std::wstring_view::npos) {
      return false;
    }
  }
  return true;
}

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char character) { return character >= 0; });
}

// The entry of a folder under this name, whatever its case; the name as given if there is none.
fs::path entryOf(const fs::path& folder, std::wstring_view name, bool& exists) {
  const fs::path exact = folder / toUtf8(name);
  std::error_code ignored;
  exists = fs::exists(exact, ignored);
  if (exists) {
    return exact;
  }
  // Folders of a thousand entries are read once for each name that is not there.
  const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(folder.c_str()), closedir);
  if (entries == nullptr) {
    return exact;
  }
  const std::string wanted = toUtf8(name);
  const bool isPlain = isAscii(wanted);
  while (const dirent* entry = readdir(entries.get())) {
    const std::string_view there = entry->d_name;
    const bool isSame = isPlain && isAscii(there) ? strcasecmp(entry->d_name, wanted.c_str()) == 0
                                                  : equalIgnoringCase(toWide(there), name);
    if (isSame) {
      exists = true;
      return folder / there;
    }
  }
  return exact;
}

[[noreturn]] void fail(std::wstring_view path, const std::string& what) {
  throw DriveError(toUtf8(path) + ": " + what);
}

fs::path makeTemporaryFolder() {
  std::string name = (fs::temp_directory_path() / "machine-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) {
    fail(L"", "no temporary folder");
  }
  return name;
}

// The machine outlives the process's static objects, so its drive is removed on the way out; a
// forked process leaves the drive to the one that made it.
void removeAtExit() {
  static pid_t maker = 0;
  static const bool registered = [] {
    maker = getpid();
    return std::atexit([] {
             if (getpid() == maker) {
               machine().drive = Drive();
             }
           }) == 0;
  }();
  static_cast<void>(registered);
}

// The place of a file to be made; its folder is made first.
fs::path placeFor(Drive& drive, std::wstring_view path) {
  const std::wstring absolute = Drive::normalized(path, machine().currentDirectory);
  drive.createFolder(absolute.substr(0, absolute.rfind(L'\\') + 1));
  const auto place = drive.locate(absolute);
  if (!place) {
    fail(path, "no such place");
  }
  return *place;
}

}  // namespace

Drive::~Drive() {
  discard();
}

Drive::Drive(Drive&& other) noexcept : root_(std::move(other.root_)), temporary_(other.temporary_) {
  other.root_.clear();
}

Drive& Drive::operator=(Drive&& other) noexcept {
  if (this != &other) {
    discard();
    root_ = std::move(other.root_);
    temporary_ = other.temporary_;
    other.root_.clear();
  }
  return *this;
}

void Drive::discard() {
  if (temporary_ && !root_.empty()) {
    std::error_code ignored;
    fs::remove_all(root_, ignored);
  }
  root_.clear();
}

void Drive::keepIn(const fs::path& folder) {
  discard();
  temporary_ = false;
  root_ = folder;
  std::error_code error;
  fs::create_directories(root_, error);
  if (error) {
    fail(toWide(folder.string()), error.message());
  }
  for (const std::wstring_view standard : kStandardFolders) {
    createFolder(standard);
  }
}

const fs::path& Drive::root() {
  if (root_.empty()) {
    root_ = makeTemporaryFolder();
    temporary_ = true;
    removeAtExit();
    for (const std::wstring_view folder : kStandardFolders) {
      createFolder(folder);
    }
  }
  return root_;
}

std::wstring Drive::normalized(std::wstring_view path, std::wstring_view currentDirectory) {
  constexpr std::wstring_view kLongPathPrefix = L"\\\\?\\";
  if (path.substr(0, kLongPathPrefix.size()) == kLongPathPrefix) {
    path.remove_prefix(kLongPathPrefix.size());
  }
  std::wstring drive(currentDirectory.substr(0, 2));
  std::vector<std::wstring> components;
  bool relative = path.empty() || !isSeparator(path.front());
  if (hasDrive(path)) {
    relative =
        (path.size() == 2 || !isSeparator(path[2])) && equalIgnoringCase(path.substr(0, 2), drive);
    drive = path.substr(0, 2);
    path.remove_prefix(2);
  }
  if (relative && hasDrive(currentDirectory)) {
    append(currentDirectory.substr(2), components);
  }
  append(path, components);
  std::wstring result = drive;
  for (const std::wstring& component : components) {
    result += L'\\' + component;
  }
  return components.empty() ? result + L'\\' : result;
}

std::optional<fs::path> Drive::locate(std::wstring_view path, DWORD* error) {
  DWORD unwanted = 0;
  DWORD& answer = error != nullptr ? *error : unwanted;
  const std::wstring absolute = normalized(path, machine().currentDirectory);
  answer = ERROR_PATH_NOT_FOUND;
  if (path.empty() || absolute.size() >= MAX_PATH) {
    return std::nullopt;
  }
  bool exists = false;
  fs::path found = entryOf(root(), absolute.substr(0, 1), exists);
  if (!exists) {
    return std::nullopt;
  }
  std::vector<std::wstring> components;
  append(std::wstring_view(absolute).substr(2), components);
  std::error_code ignored;
  for (const std::wstring& component : components) {
    if (!exists || !fs::is_directory(found, ignored)) {
      return std::nullopt;
    }
    if (!isAllowed(component)) {
      answer = ERROR_INVALID_NAME;
      return std::nullopt;
    }
    found = entryOf(found, component, exists);
  }
  answer = exists ? ERROR_SUCCESS : ERROR_FILE_NOT_FOUND;
  return found;
}

void Drive::createFolder(std::wstring_view path) {
  const std::wstring absolute = normalized(path, machine().currentDirectory);
  std::vector<std::wstring> components;
  append(std::wstring_view(absolute).substr(2), components);
  components.insert(components.begin(), absolute.substr(0, 1));
  fs::path folder = root();
  for (const std::wstring& component : components) {
    bool exists = false;
    folder = entryOf(folder, component, exists);
    std::error_code error;
    if (!exists && !fs::create_directory(folder, error)) {
      fail(path, error.message());
    }
  }
}

void Drive::write(std::wstring_view path, std::string_view bytes) {
  const fs::path place = placeFor(*this, path);
  std::error_code ignored;
  const bool isNew = !fs::exists(place, ignored);
  std::ofstream file(place, std::ios::binary | std::ios::trunc);
  file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
  file.close();
  if (!file) {
    fail(path, "cannot be written");
  }
  if (isNew) {
    stamp(place, machine().utcMs());
  } else {
    stampWrite(place, machine().utcMs());
  }
}

void Drive::copyIn(const fs::path& source, std::wstring_view path) {
  const fs::path place = placeFor(*this, path);
  std::error_code error;
  fs::copy_file(source, place, fs::copy_options::overwrite_existing, error);
  if (error) {
    fail(path, error.message());
  }
  stamp(place, machine().utcMs());
}

void Drive::linkIn(const fs::path& source, std::wstring_view path) {
  const fs::path place = placeFor(*this, path);
  std::error_code error;
  fs::remove(place, error);
  fs::create_symlink(fs::absolute(source), place, error);
  if (error) {
    fail(path, error.message());
  }
}

std::optional<std::string> Drive::read(std::wstring_view path) {
  DWORD error = 0;
  const auto place = locate(path, &error);
  std::error_code ignored;
  if (error != ERROR_SUCCESS || !fs::is_regular_file(*place, ignored)) {
    return std::nullopt;
  }
  const int descriptor = openQuietly(*place, O_RDONLY | O_CLOEXEC);
  if (descriptor < 0) {
    return std::nullopt;
  }
  std::string bytes;
  std::array<char, 65536> block{};
  for (ssize_t got = 0; (got = ::read(descriptor, block.data(), block.size())) > 0;) {
    bytes.append(block.data(), static_cast<std::size_t>(got));
  }
  close(descriptor);
  return bytes;
}

bool Drive::exists(std::wstring_view path) {
  DWORD error = 0;
  return locate(path, &error).has_value() && error == ERROR_SUCCESS;
}

void Drive::remove(std::wstring_view path) {
  if (const auto place = locate(path)) {
    std::error_code ignored;
    fs::remove_all(*place, ignored);
  }
}

void Drive::setTimes(std::wstring_view path, std::int64_t utcMs) {
  if (!exists(path)) {
    fail(path, "no such file");
  }
  stamp(*locate(path), utcMs);
}

void Drive::stamp(const fs::path& file, std::int64_t utcMs) {
  const std::int64_t nativeMs = utcMs - kEpochDistanceMs;
  const std::timespec time{nativeMs / 1000, nativeMs % 1000 * 1'000'000};
  const std::timespec times[] = {time, time};
  utimensat(AT_FDCWD, file.c_str(), times, 0);
}

}  // namespace host
