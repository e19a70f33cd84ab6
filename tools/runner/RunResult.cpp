#include "tools/runner/RunResult.h"

#include <charconv>
#include <cstddef>

namespace runner {
namespace {

constexpr std::string_view kExitWord = "exit ";

struct NamedEnd {
  End end;
  std::string_view name;
};

// The words of an end in a kEnd record, and those that people read: they are the same.
constexpr NamedEnd kToldEnds[] = {
    {End::kRunning, "running"},
    {End::kDeadlock, "deadlock"},
    {End::kEnded, "ended"},
    {End::kEndless, "endless"},
};
constexpr NamedEnd kAbnormalEnds[] = {
    {End::kFault, "fault"},
    {End::kTerminate, "terminate"},
    {End::kSanitizer, "sanitizer report"},
    {End::kKilled, "killed"},
    {End::kInterrupted, "interrupted"},
    {End::kLost, "lost"},
};

template <class Number>
bool readNumber(std::string_view text, Number& number) {
  const char* end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, number);
  return error == std::errc{} && stopped == end;
}

std::string exitText(std::int32_t code) {
  return "exit code " + std::to_string(code);
}

// A code is 32 bits; both ways to write it down are understood.
bool readExitCode(std::string_view text, std::int32_t& code) {
  std::int64_t number = 0;
  if (!readNumber(text, number) || number < INT32_MIN || number > std::int64_t{UINT32_MAX}) {
    return false;
  }
  code = static_cast<std::int32_t>(static_cast<std::uint32_t>(number));
  return true;
}

void takeEnd(RunResult& result, const std::string& text) {
  if (text.starts_with(kExitWord) &&
      readExitCode(std::string_view(text).substr(kExitWord.size()), result.exitCode)) {
    result.end = End::kExit;
    return;
  }
  for (const NamedEnd& told : kToldEnds) {
    if (told.name == text) {
      result.end = told.end;
      return;
    }
  }
  result.end = End::kLost;
  result.detail = "it told an end that nobody knows: \"" + text + "\"";
}

}  // namespace

std::optional<Status> parseStatus(std::string_view text) {
  Status status;
  DWORD* const fields[] = {&status.state, &status.checkPoint, &status.exitCode,
                           &status.controlsAccepted, &status.waitHintMs};
  for (DWORD* field : fields) {
    const std::size_t blank = text.find(' ');
    const bool isLast = field == &status.waitHintMs;
    if ((blank == std::string_view::npos) != isLast || !readNumber(text.substr(0, blank), *field)) {
      return std::nullopt;
    }
    text.remove_prefix(isLast ? text.size() : blank + 1);
  }
  return status;
}

void addRecord(RunResult& result, const Record& record) {
  result.records.push_back(record);
  result.machineTime = record.at;
  switch (record.kind) {
    case host::ReportKind::kStatus:
      result.lastStatus = parseStatus(record.text);
      break;
    case host::ReportKind::kLedger:
      result.ledger.push_back(record.text);
      break;
    case host::ReportKind::kHash:
      result.hash = record.text;
      break;
    case host::ReportKind::kMemory:
      readNumber(record.text, result.memoryKiB);
      break;
    case host::ReportKind::kEnd:
      takeEnd(result, record.text);
      break;
    case host::ReportKind::kDebugLine:
    case host::ReportKind::kNote:
    case host::ReportKind::kConsole:
    case host::ReportKind::kThreads:
    case host::ReportKind::kDecisions:
    case host::ReportKind::kCalls:
    case host::ReportKind::kCall:
      break;
  }
}

std::string endText(const RunResult& result) {
  if (result.end == End::kExit) {
    return exitText(result.exitCode);
  }
  const std::string detail = result.detail.empty() ? "" : " (" + result.detail + ")";
  for (const NamedEnd& told : kToldEnds) {
    if (told.end == result.end) {
      return std::string(told.name) + detail;
    }
  }
  for (const NamedEnd& abnormal : kAbnormalEnds) {
    if (abnormal.end == result.end) {
      return std::string(abnormal.name) + detail;
    }
  }
  return detail;
}

std::string endText(const host::ExpectedEnd& expected) {
  using Kind = host::ExpectedEnd::Kind;
  switch (expected.kind) {
    case Kind::kExit:
      return exitText(expected.exitCode);
    case Kind::kFault:
      return "fault";
    case Kind::kTerminate:
      return "terminate";
    case Kind::kRunning:
      return "running";
    case Kind::kDeadlock:
      return "deadlock";
    case Kind::kEnded:
      return "ended";
  }
  return "";
}

}  // namespace runner
