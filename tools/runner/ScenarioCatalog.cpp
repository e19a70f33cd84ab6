#include "tools/runner/ScenarioCatalog.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string_view>
#include <system_error>
#include <utility>

#include "ClientEntries.h"
#include "standins/client/ClientScript.h"
#include "tools/EditDistance.h"

namespace runner {
namespace {

constexpr std::size_t kMostNearNames = 5;
constexpr host::Nanoseconds kShort = 5 * 60'000 * host::kNanosecondsPerMillisecond;
constexpr std::uintmax_t kLargestFile = std::uintmax_t{16} << 20U;

// "<line>: <reason>" for the first answer of the client library that the library would refuse;
// empty if there is none.
std::string clientScriptFault(const host::Scenario& scenario) {
#define ENTRY_NAME(entry) #entry,
  static const std::vector<const char*> known{CLIENT_ENTRIES(ENTRY_NAME)};
#undef ENTRY_NAME
  std::istringstream script(scenario.clientScript);
  std::string line;
  for (const int number : scenario.clientScriptLines) {
    std::getline(script, line);
    if (const char* reason = client_standin::scriptFault(line, known)) {
      return std::to_string(number) + ": " + reason;
    }
  }
  return {};
}

}  // namespace

std::variant<LoadedScenario, std::string> loadScenario(const std::filesystem::path& file) {
  std::error_code error;
  if (std::filesystem::is_directory(file, error)) {
    return file.string() + ": " + std::strerror(EISDIR);
  }
  // The life reads the file a second time, which a pipe or a device does not stand.
  if (std::filesystem::exists(file, error) && !std::filesystem::is_regular_file(file, error)) {
    return file.string() + ": it is no regular file";
  }
  if (const auto size = std::filesystem::file_size(file, error); !error && size > kLargestFile) {
    return file.string() + ": it has more than 16 MiB, which no scenario has";
  }
  errno = 0;
  std::ifstream stream(file, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
  if (!stream.good() && !stream.eof()) {
    return file.string() + ": " + std::strerror(errno == 0 ? EIO : errno);
  }
  auto parsed = host::parseScenario(file.stem().string(), text);
  if (const auto* wrong = std::get_if<host::ScenarioError>(&parsed)) {
    return file.string() + ":" + std::to_string(wrong->line) + ": " + wrong->reason;
  }
  LoadedScenario loaded{file, std::get<host::Scenario>(std::move(parsed))};
  std::string malformed = clientScriptFault(loaded.scenario);
  if (!malformed.empty()) {
    return file.string() + ":" + malformed;
  }
  return loaded;
}

bool isShort(const host::Scenario& scenario) {
  return scenario.limit <= kShort && !scenario.endlessLoopExpected;
}

bool isListenedToThroughout(const host::Scenario& scenario) {
  return scenario.debugListener &&
         std::ranges::none_of(scenario.script, [](const host::Step& step) {
           return step.action.kind == host::Action::Kind::kDetachListener;
         });
}

ScenarioCatalog::ScenarioCatalog(const std::filesystem::path& folder) : folder_(folder) {
  std::error_code error;
  for (const auto& entry : std::filesystem::directory_iterator(folder, error)) {
    if (entry.path().extension() == kScenarioEnding) {
      names_.push_back(entry.path().stem().string());
    }
  }
  std::ranges::sort(names_, {}, [](const std::string& name) {
    return std::make_pair(name != kDefaultScenario, name);
  });
}

std::optional<std::filesystem::path> ScenarioCatalog::find(const std::string& name) const {
  if (std::ranges::find(names_, name) == names_.end()) {
    return std::nullopt;
  }
  return folder_ / (name + kScenarioEnding);
}

std::vector<std::string> ScenarioCatalog::near(const std::string& name) const {
  std::vector<std::pair<std::size_t, std::string>> found;
  const std::size_t farthest = std::max<std::size_t>(2, name.size() / 3);
  for (const std::string& known : names_) {
    const std::size_t apart = editDistance(name, known);
    const bool contains = name.size() > 2 && known.find(name) != std::string::npos;
    if (apart <= farthest || contains) {
      found.emplace_back(apart, known);
    }
  }
  std::ranges::sort(found);
  std::vector<std::string> names;
  for (auto& [apart, known] : found) {
    if (names.size() < kMostNearNames) {
      names.push_back(std::move(known));
    }
  }
  return names;
}

std::string ScenarioCatalog::refusalOf(const std::string& name) const {
  std::string text = "there is no scenario " + name;
  const std::vector<std::string> meant = near(name);
  for (const std::string& one : meant) {
    text += (&one == &meant.front() ? "; did you mean " : " or ") + one;
  }
  return meant.empty() ? text : text + "?";
}

std::variant<std::vector<LoadedScenario>, std::string> ScenarioCatalog::load(
    const std::vector<std::string>& names) const {
  std::vector<LoadedScenario> scenarios;
  for (const std::string& name : names.empty() ? names_ : names) {
    const auto file = find(name);
    if (!file) {
      return refusalOf(name);
    }
    auto loaded = loadScenario(*file);
    if (auto* wrong = std::get_if<std::string>(&loaded)) {
      return std::move(*wrong);
    }
    scenarios.push_back(std::get<LoadedScenario>(std::move(loaded)));
  }
  return scenarios;
}

}  // namespace runner
