#include "tools/threads/RaceReports.h"

#include <optional>

namespace threads {
namespace {

constexpr std::string_view kFrame = "==================\n";
constexpr std::string_view kSays = "ThreadSanitizer: ";
constexpr std::string_view kSummary = "SUMMARY: ThreadSanitizer: ";
// Its last word, which only counts the reports.
constexpr std::string_view kCounts = "ThreadSanitizer: reported ";

std::string lineAt(std::string_view text, std::size_t at) {
  return std::string(text.substr(at, text.find('\n', at) - at));
}

// The report in what stands between two frames, if the sanitizer says anything there.
std::optional<RaceReport> reportIn(std::string_view text) {
  if (const std::size_t at = text.find(kSummary); at != std::string_view::npos) {
    return RaceReport{lineAt(text, at + kSummary.size()), std::string(text)};
  }
  const std::size_t at = text.find(kSays);
  if (at == std::string_view::npos || text.substr(at).starts_with(kCounts)) {
    return std::nullopt;
  }
  return RaceReport{lineAt(text, at + kSays.size()), std::string(text)};
}

}  // namespace

std::vector<RaceReport> raceReports(std::string_view printed) {
  std::vector<RaceReport> reports;
  while (!printed.empty()) {
    const std::size_t end = printed.find(kFrame);
    if (auto report = reportIn(printed.substr(0, end))) {
      reports.push_back(std::move(*report));
    }
    printed.remove_prefix(end == std::string_view::npos ? printed.size() : end + kFrame.size());
  }
  return reports;
}

}  // namespace threads
