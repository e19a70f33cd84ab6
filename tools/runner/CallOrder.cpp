#include "tools/runner/CallOrder.h"

#include <algorithm>
#include <map>

namespace runner {
namespace {

using CallsByThread = std::map<std::string, std::vector<std::string>>;

constexpr std::string_view kBetweenArguments = ", ";

CallsByThread callsOf(const RunResult& result) {
  CallsByThread calls;
  for (const Record& record : result.records) {
    if (record.kind == host::ReportKind::kCall) {
      const std::size_t blank = std::min(record.text.find(' '), record.text.size() - 1);
      calls[record.text.substr(0, blank)].push_back(record.text.substr(blank + 1));
    }
  }
  return calls;
}

// Takes the next argument off the front.
std::string_view nextArgument(std::string_view& rest) {
  const std::size_t end = std::min(rest.find(kBetweenArguments), rest.size());
  const std::string_view argument = rest.substr(0, end);
  rest.remove_prefix(std::min(end + kBetweenArguments.size(), rest.size()));
  return argument;
}

std::string placed(const std::string& lead, const std::vector<std::string>& lines, std::size_t at) {
  return "  " + lead + (at < lines.size() ? lines[at] : "nothing more");
}

}  // namespace

bool isCallOf(std::string_view made, std::string_view line) {
  const std::size_t madeName = std::min(made.find(' '), made.size());
  const std::size_t lineName = std::min(line.find(' '), line.size());
  if (made.substr(0, madeName) != line.substr(0, lineName)) {
    return false;
  }
  if (lineName == line.size()) {
    return true;
  }
  std::string_view given = made.substr(std::min(madeName + 1, made.size()));
  std::string_view wanted = line.substr(lineName + 1);
  while (!given.empty() && !wanted.empty()) {
    const std::string_view argument = nextArgument(given);
    const std::string_view pattern = nextArgument(wanted);
    if (pattern != "*" && pattern != argument) {
      return false;
    }
  }
  return given.empty() && wanted.empty();
}

Difference callsDifference(const host::Scenario& scenario, const RunResult& result, Calls calls) {
  if (scenario.calls.empty()) {
    return {};
  }
  CallsByThread made = callsOf(result);
  for (const auto& [thread, lines] : scenario.calls) {
    made[thread];
  }
  for (const auto& [thread, done] : made) {
    const auto found = scenario.calls.find(thread);
    const std::vector<std::string> wanted =
        found == scenario.calls.end() ? std::vector<std::string>() : found->second;
    const auto [doneEnd, wantedEnd] =
        std::mismatch(done.begin(), done.end(), wanted.begin(), wanted.end(), isCallOf);
    const bool isWhole = wantedEnd == wanted.end() || calls == Calls::kBeginning;
    if (doneEnd == done.end() && isWhole) {
      continue;
    }
    const auto at = static_cast<std::size_t>(doneEnd - done.begin());
    Difference difference;
    difference.summary = "call " + std::to_string(at + 1) + " of [calls " + thread + "] differs";
    if (at > 0) {
      difference.details.push_back(placed("both:     ", done, at - 1));
    }
    difference.details.push_back(placed("expected: ", wanted, at));
    difference.details.push_back(placed("made:     ", done, at));
    return difference;
  }
  return {};
}

}  // namespace runner
