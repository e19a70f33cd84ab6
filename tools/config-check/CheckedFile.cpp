#include "tools/config-check/CheckedFile.h"

#include <sstream>

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/MissingFileError.h"
#include "VUSL/Support/Text.h"
#include "VUSL/SupportCore/File.h"
#include "platform/win32.h"

namespace config_check {
namespace {

bool isFolder(const std::string& path) {
  WIN32_FIND_DATAW data{};
  const HANDLE search = FindFirstFileW(vusl::Widen(path).c_str(), &data);
  if (search == INVALID_HANDLE_VALUE) {
    return false;
  }
  FindClose(search);
  return (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// The product's words name the path that it was given; a person knows the file by another name.
std::string withName(std::string text, const std::string& path, const std::string& name) {
  const std::size_t at = text.find(path);
  return at == std::string::npos ? text : text.replace(at, path.size(), name);
}

}  // namespace

CheckedFile readCheckedFile(const std::string& name, const std::string& path) {
  CheckedFile file;
  file.name = name;
  try {
    file.settings = ConfigMgmt(path, true);
    file.outcome = isFolder(path) ? CheckedFile::Outcome::kFolder : CheckedFile::Outcome::kRead;
  } catch (const MissingFileError&) {
    file.outcome = CheckedFile::Outcome::kMissing;
    return file;
  } catch (const Exception& e) {
    file.outcome = CheckedFile::Outcome::kCorrupted;
    file.complaint = withName(e.what(), path, name);
  }
  try {
    std::stringstream content;
    vusl::File(vusl::Widen(path)).readAll(content);
    file.content = content.str();
  } catch (const Exception& e) {
    file.unreadable = withName(e.what(), path, name);
  }
  return file;
}

}  // namespace config_check
