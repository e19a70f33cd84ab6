#include "tools/runner/DriveCheck.h"

#include <algorithm>
#include <sstream>
#include <system_error>

#include "platform/host/TaskDocument.h"
#include "platform/host/Text.h"

namespace runner {
namespace {

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    if (line.ends_with('\r')) {
      line.pop_back();
    }
    lines.push_back(line);
  }
  return lines;
}

std::string lineAt(const std::vector<std::string>& lines, std::size_t at) {
  return at < lines.size() ? lines[at] : "(nothing more)";
}

}  // namespace

DriveCheck::DriveCheck(const host::Scenario& scenario, const std::filesystem::path& drive)
    : scenario_(scenario) {
  drive_.keepIn(drive);
  for (const std::wstring& path : scenario_.unchangedFiles) {
    before_[path] = look(path);
  }
}

std::optional<DriveCheck::Seen> DriveCheck::look(const std::wstring& path) {
  auto bytes = drive_.read(path);
  if (!bytes) {
    return std::nullopt;
  }
  std::error_code ignored;
  return Seen{*std::move(bytes), std::filesystem::last_write_time(*drive_.locate(path), ignored)};
}

std::vector<Difference> DriveCheck::differences() {
  std::vector<Difference> found;
  for (const auto& [path, before] : before_) {
    if (!before) {
      found.push_back({host::toUtf8(path) + " was not there, so it could not stay", {}});
    } else if (look(path) != before) {
      found.push_back({host::toUtf8(path) + " was expected to stay as it was", {}});
    }
  }
  for (const std::wstring& path : scenario_.absentFiles) {
    if (drive_.exists(path)) {
      found.push_back({host::toUtf8(path) + " was expected not to be there", {}});
    }
  }
  for (const host::ScenarioFile& file : scenario_.leftFiles) {
    if (auto difference = contentDifference(file)) {
      found.push_back(*std::move(difference));
    }
  }
  return found;
}

std::optional<Difference> DriveCheck::contentDifference(const host::ScenarioFile& file) {
  const std::string path = host::toUtf8(file.path);
  const auto bytes = drive_.read(file.path);
  if (!bytes) {
    return Difference{path + " was expected to be there", {}};
  }
  const std::vector<std::string> expected = linesOf(file.bytes);
  const std::vector<std::string> left = linesOf(host::decodedText(*bytes));
  const auto [wanted, had] =
      std::mismatch(expected.begin(), expected.end(), left.begin(), left.end());
  if (wanted == expected.end() && had == left.end()) {
    return std::nullopt;
  }
  const auto at = static_cast<std::size_t>(wanted - expected.begin());
  return Difference{"line " + std::to_string(at + 1) + " of " + path + " differs",
                    {"  expected: " + lineAt(expected, at), "  left:     " + lineAt(left, at)}};
}

}  // namespace runner
