#include "tools/runner/PrintedLines.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "platform/host/Imbalances.h"
#include "platform/host/ServiceManager.h"
#include "tools/runner/RunResult.h"

namespace runner {
namespace {

constexpr std::string_view kMark = "-- ";
// '0' stands for a decimal digit, 'x' for a hexadecimal one, anything else for itself.
constexpr std::string_view kStamp =
    "0000-00-00 00:00:00:000 xxxxxxxxxxxxxxxx TPMEnrollmentService: ";

// Line ends of both kinds; one at the very end begins no further line.
std::vector<std::string> splitLines(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty() || lines.empty()) {
    const std::size_t end = text.find('\n');
    std::string_view line = text.substr(0, end);
    if (line.ends_with('\r')) {
      line.remove_suffix(1);
    }
    lines.emplace_back(line);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  }
  return lines;
}

std::vector<std::string> marked(std::string_view subject, std::string_view text) {
  std::vector<std::string> lines = splitLines(text);
  for (std::string& line : lines) {
    line = std::string(kMark) + std::string(subject) + line;
    line.erase(line.find_last_not_of(' ') + 1);
  }
  return lines;
}

std::string statusText(std::string_view text, bool verbose) {
  const auto status = parseStatus(text);
  if (!status) {
    return "a status that makes no sense: " + std::string(text);
  }
  return stateText(status->state) + ", check-point " + std::to_string(status->checkPoint) +
         ", wait hint " + std::to_string(status->waitHintMs) + " ms, exit code " +
         std::to_string(status->exitCode) +
         (verbose ? ", controls accepted " + std::to_string(status->controlsAccepted) : "");
}

bool isDigit(char character) {
  return character >= '0' && character <= '9';
}

bool isHexDigit(char character) {
  return isDigit(character) || (character >= 'a' && character <= 'f');
}

bool beginsWithStamp(std::string_view line) {
  if (line.size() < kStamp.size()) {
    return false;
  }
  for (std::size_t i = 0; i < kStamp.size(); ++i) {
    const bool fits = kStamp[i] == '0'   ? isDigit(line[i])
                      : kStamp[i] == 'x' ? isHexDigit(line[i])
                                         : line[i] == kStamp[i];
    if (!fits) {
      return false;
    }
  }
  return true;
}

// A lock that fails is told by its bare address, at the end of the line.
void hideLockAddress(std::string& text) {
  for (const std::string_view ahead : {"Lock failed for ", "Unlock failed for: "}) {
    const std::size_t at = text.rfind(ahead);
    if (at == std::string::npos) {
      continue;
    }
    const auto address = text.begin() + static_cast<std::ptrdiff_t>(at + ahead.size());
    if (address != text.end() && std::all_of(address, text.end(), isHexDigit)) {
      text.replace(address, text.end(), "0x");
    }
  }
}

}  // namespace

std::vector<std::string> printedLines(const Record& record, bool verbose) {
  switch (record.kind) {
    case host::ReportKind::kDebugLine:
      return splitLines(record.text);
    case host::ReportKind::kNote:
      return marked("", record.text);
    case host::ReportKind::kThreads:
      return marked("waiting: ", record.text);
    case host::ReportKind::kStatus:
      return marked("service manager: ", statusText(record.text, verbose));
    case host::ReportKind::kConsole:
      return marked("console: ", record.text);
    case host::ReportKind::kLedger:
      if (verbose || !record.text.starts_with(host::kNamedImbalance)) {
        return marked("ledger: ", record.text);
      }
      return {};
    case host::ReportKind::kHash:
      return verbose ? marked("hash of all steps: ", record.text) : std::vector<std::string>{};
    case host::ReportKind::kMemory:
      return verbose ? marked("peak memory in KiB: ", record.text) : std::vector<std::string>{};
    case host::ReportKind::kEnd:
    case host::ReportKind::kDecisions:
    case host::ReportKind::kCalls:
    case host::ReportKind::kCall:
      return {};
  }
  return {};
}

std::string comparableLine(std::string_view line) {
  if (beginsWithStamp(line)) {
    line.remove_prefix(kStamp.size());
  }
  std::string text;
  while (!line.empty()) {
    constexpr std::string_view kAddress = "[0x";
    if (line.starts_with(kAddress)) {
      std::size_t end = kAddress.size();
      while (end < line.size() && isHexDigit(line[end])) {
        ++end;
      }
      if (end < line.size() && line[end] == ']') {
        text += kAddress;
        line.remove_prefix(end);
        continue;
      }
    }
    text += line.front();
    line.remove_prefix(1);
  }
  text.erase(text.find_last_not_of(" \t\r") + 1);
  hideLockAddress(text);
  return text;
}

std::vector<std::string> comparableLines(const std::vector<Record>& records) {
  std::vector<std::string> lines;
  for (const Record& record : records) {
    switch (record.kind) {
      case host::ReportKind::kDebugLine:
      case host::ReportKind::kNote:
      case host::ReportKind::kStatus:
      case host::ReportKind::kConsole:
        for (const std::string& line : printedLines(record, false)) {
          lines.push_back(comparableLine(line));
        }
        std::erase(lines, "");
        break;
      case host::ReportKind::kLedger:
      case host::ReportKind::kThreads:
      case host::ReportKind::kEnd:
      case host::ReportKind::kHash:
      case host::ReportKind::kMemory:
      case host::ReportKind::kDecisions:
      case host::ReportKind::kCalls:
      case host::ReportKind::kCall:
        break;
    }
  }
  return lines;
}

std::string stateText(std::uint32_t state) {
  return host::ServiceManager::stateName(state);
}

std::string secondsText(host::Nanoseconds duration) {
  constexpr host::Nanoseconds kMillisecondsPerSecond = 1000;
  const host::Nanoseconds milliseconds = duration / host::kNanosecondsPerMillisecond;
  std::array<char, 48> text{};
  std::snprintf(text.data(), text.size(), "%lld.%03lld s",
                static_cast<long long>(milliseconds / kMillisecondsPerSecond),
                static_cast<long long>(milliseconds % kMillisecondsPerSecond));
  return text.data();
}

}  // namespace runner
