#include "platform/host/ScenarioText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <numeric>

#include "platform/host/Text.h"
#include "platform/host/windows/Services.h"

namespace host::scenario {
namespace {

struct Unit {
  std::string_view name;
  Nanoseconds length;
};
constexpr Nanoseconds kSecond = 1000 * kNanosecondsPerMillisecond;
constexpr std::array kUnits = {
    Unit{"ms", kNanosecondsPerMillisecond},
    Unit{"s", kSecond},
    Unit{"min", 60 * kSecond},
    Unit{"h", 3600 * kSecond},
    Unit{"day", 24 * 3600 * kSecond},
    Unit{"days", 24 * 3600 * kSecond},
};
// The clock counts nanoseconds in 64 bits; this leaves room above the longest limit.
constexpr Nanoseconds kLongest = 200LL * 365 * 24 * 3600 * kSecond;
constexpr int kFurthestZoneMinutes = 14 * 60;

struct State {
  std::string_view name;
  DWORD value;
};
constexpr std::array kStates = {
    State{"STOPPED", SERVICE_STOPPED},
    State{"START_PENDING", SERVICE_START_PENDING},
    State{"STOP_PENDING", SERVICE_STOP_PENDING},
    State{"RUNNING", SERVICE_RUNNING},
};

template <class Rows>
std::vector<std::string_view> namesOf(const Rows& rows) {
  std::vector<std::string_view> names;
  for (const auto& row : rows) {
    names.push_back(row.name);
  }
  return names;
}

std::size_t editDistance(std::string_view left, std::string_view right) {
  std::vector<std::size_t> row(right.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= left.size(); ++i) {
    std::size_t diagonal = row[0];
    row[0] = i;
    for (std::size_t j = 1; j <= right.size(); ++j) {
      const std::size_t changed = diagonal + (left[i - 1] == right[j - 1] ? 0 : 1);
      diagonal = row[j];
      row[j] = std::min({row[j] + 1, row[j - 1] + 1, changed});
    }
  }
  return row[right.size()];
}

// Exactly so many digits at the head of `text`, which loses them.
bool takeDigits(std::string_view& text, std::size_t count, WORD& number) {
  if (text.size() < count) {
    return false;
  }
  const auto [stopped, error] = std::from_chars(text.data(), text.data() + count, number);
  if (error != std::errc{} || stopped != text.data() + count) {
    return false;
  }
  text.remove_prefix(count);
  return true;
}

bool take(std::string_view& text, char separator) {
  if (text.empty() || text.front() != separator) {
    return false;
  }
  text.remove_prefix(1);
  return true;
}

WORD daysOf(WORD year, WORD month) {
  constexpr std::array<WORD, 12> kDays = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
  const bool leap = year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
  return static_cast<WORD>(kDays[month - 1U] + (month == 2 && leap ? 1 : 0));
}

bool isValid(const SYSTEMTIME& time) {
  return time.wYear >= 1601 && time.wMonth >= 1 && time.wMonth <= 12 && time.wDay >= 1 &&
         time.wDay <= daysOf(time.wYear, time.wMonth) && time.wHour < 24 && time.wMinute < 60 &&
         time.wSecond < 60;
}

// "1 min 30 s" without a sign; a bare 0 needs no unit.
Reason addUp(std::string_view text, Nanoseconds& sum) {
  const std::vector<std::string_view> words = wordsOf(text);
  const Reason notATime = inQuotes(text) + " is no time (as in \"300 ms\" or \"1 min 30 s\")";
  if (words.empty() || words.size() % 2 != 0) {
    return notATime;
  }
  for (std::size_t i = 0; i < words.size(); i += 2) {
    std::uint32_t number = 0;
    if (readNumber(words[i], UINT32_MAX, number)) {
      return notATime;
    }
    const auto unit = std::find_if(kUnits.begin(), kUnits.end(),
                                   [&](const Unit& row) { return row.name == words[i + 1]; });
    if (unit == kUnits.end()) {
      return inQuotes(words[i + 1]) + " is no unit of time (ms, s, min, h, days)";
    }
    if (number > (kLongest - sum) / unit->length) {
      return inQuotes(text) + " is too long a time";
    }
    sum += number * unit->length;
  }
  return std::nullopt;
}

}  // namespace

std::string inQuotes(std::string_view text) {
  return "\"" + std::string(text) + "\"";
}

std::vector<std::string_view> wordsOf(std::string_view text) {
  constexpr std::string_view kBlanks = " \t";
  std::vector<std::string_view> words;
  for (std::size_t at = text.find_first_not_of(kBlanks); at != std::string_view::npos;) {
    const std::size_t end = std::min(text.find_first_of(kBlanks, at), text.size());
    words.push_back(text.substr(at, end - at));
    at = text.find_first_not_of(kBlanks, end);
  }
  return words;
}

std::string hintFor(std::string_view word, std::span<const std::string_view> known) {
  // A third of the letters may be wrong; anything further off is a guess.
  std::size_t closest = word.size() / 3 + 1;
  std::string hint;
  for (const std::string_view candidate : known) {
    const std::size_t distance = editDistance(word, candidate);
    if (distance < closest || (distance == closest && hint.empty())) {
      closest = distance;
      hint = " (did you mean " + inQuotes(candidate) + "?)";
    }
  }
  return hint;
}

Reason readNumber(std::string_view text, std::uint32_t greatest, std::uint32_t& result) {
  const bool isHex = text.starts_with("0x");
  const std::string_view digits = isHex ? text.substr(2) : text;
  std::uint32_t number = 0;
  const char* end = digits.data() + digits.size();
  const auto [stopped, error] = std::from_chars(digits.data(), end, number, isHex ? 16 : 10);
  if (error == std::errc::invalid_argument || stopped != end) {
    return inQuotes(text) + " is no number";
  }
  if (error != std::errc{} || number > greatest) {
    return inQuotes(text) + " is greater than " + std::to_string(greatest);
  }
  result = number;
  return std::nullopt;
}

Reason readCode(std::string_view text, std::uint32_t& result) {
  if (!text.starts_with('-')) {
    return readNumber(text, UINT32_MAX, result);
  }
  std::uint32_t magnitude = 0;
  if (readNumber(text.substr(1), 0x80000000U, magnitude)) {
    return inQuotes(text) + " is no 32-bit code";
  }
  result = 0U - magnitude;
  return std::nullopt;
}

Reason readCount(std::string_view text, unsigned& result) {
  std::uint32_t number = 0;
  if (Reason reason = readNumber(text, UINT32_MAX, number)) {
    return reason;
  }
  if (number == 0) {
    return "counting begins with 1";
  }
  result = number;
  return std::nullopt;
}

Reason readYesNo(std::string_view text, bool& result) {
  if (text != "yes" && text != "no") {
    return inQuotes(text) + " is neither yes nor no";
  }
  result = text == "yes";
  return std::nullopt;
}

Reason readDuration(std::string_view text, Nanoseconds& result) {
  Nanoseconds sum = 0;
  if (Reason reason = addUp(text, sum)) {
    return reason;
  }
  result = sum;
  return std::nullopt;
}

Reason readZone(std::string_view text, int& minutes) {
  Nanoseconds sum = 0;
  const bool isSigned = text.starts_with('+') || text.starts_with('-');
  if (!isSigned || addUp(text.substr(1), sum)) {
    return inQuotes(text) + " is no zone (as in \"+60 min\" or \"-5 h\")";
  }
  constexpr Nanoseconds kMinute = 60 * kSecond;
  if (sum % kMinute != 0 || sum / kMinute > kFurthestZoneMinutes) {
    return "a zone is a number of whole minutes, at most 14 h";
  }
  minutes = static_cast<int>(sum / kMinute) * (text.front() == '-' ? -1 : 1);
  return std::nullopt;
}

Reason readClock(std::string_view text, SYSTEMTIME& result) {
  SYSTEMTIME time{};
  std::string_view rest = text;
  bool ok = takeDigits(rest, 4, time.wYear) && take(rest, '-') &&
            takeDigits(rest, 2, time.wMonth) && take(rest, '-') && takeDigits(rest, 2, time.wDay) &&
            take(rest, ' ') && takeDigits(rest, 2, time.wHour) && take(rest, ':') &&
            takeDigits(rest, 2, time.wMinute) && take(rest, ':') &&
            takeDigits(rest, 2, time.wSecond);
  if (ok && !rest.empty()) {
    ok = take(rest, '.') && takeDigits(rest, 3, time.wMilliseconds) && rest.empty();
  }
  if (!ok) {
    return inQuotes(text) + " is no date and time (as in \"2026-01-02 03:04:05.006\")";
  }
  if (!isValid(time)) {
    return "there is no such date and time as " + inQuotes(text);
  }
  result = time;
  return std::nullopt;
}

Reason readVersion(std::string_view text, Scenario& scenario) {
  std::array<std::uint32_t, 3> numbers{};
  std::string_view rest = text;
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    const std::size_t end = i + 1 < numbers.size() ? rest.find('.') : rest.size();
    if (end == std::string_view::npos || rest.starts_with("0x") ||
        readNumber(rest.substr(0, end), UINT32_MAX, numbers[i])) {
      return inQuotes(text) + " is no version (as in \"10.0.19045\")";
    }
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  scenario.majorVersion = numbers[0];
  scenario.minorVersion = numbers[1];
  scenario.buildNumber = numbers[2];
  return std::nullopt;
}

Reason readPath(std::string_view text, std::wstring& result) {
  const bool hasDrive = text.size() >= 3 && text[1] == ':' && text[2] == '\\' &&
                        ((text[0] >= 'A' && text[0] <= 'Z') || (text[0] >= 'a' && text[0] <= 'z'));
  if (!hasDrive) {
    return inQuotes(text) + " is no absolute path (as in \"C:\\x\")";
  }
  if (text.find_first_of("<>\"/|?*:", 3) != std::string_view::npos) {
    return inQuotes(text) + " has a character that a path cannot have";
  }
  const std::wstring path = toWide(text);
  if (path.size() >= MAX_PATH) {
    return "a path has at most " + std::to_string(MAX_PATH - 1) + " characters";
  }
  result = path;
  return std::nullopt;
}

Reason readFilePath(std::string_view text, std::wstring& result) {
  if (text.ends_with('\\')) {
    return inQuotes(text) + " names no file";
  }
  return readPath(text, result);
}

Reason readName(std::string_view text, std::wstring& result) {
  if (text.empty()) {
    return "there must be a name";
  }
  result = toWide(text);
  return std::nullopt;
}

Reason readArguments(std::string_view text, std::vector<std::wstring>& result) {
  std::vector<std::wstring> arguments;
  std::size_t at = 0;
  while ((at = text.find_first_not_of(" \t", at)) != std::string_view::npos) {
    const bool isQuoted = text[at] == '"';
    const std::size_t begin = at + (isQuoted ? 1 : 0);
    std::size_t end = text.find_first_of(isQuoted ? "\"" : " \t", begin);
    if (end == std::string_view::npos) {
      if (isQuoted) {
        return "a double quote is not closed";
      }
      end = text.size();
    }
    arguments.push_back(toWide(text.substr(begin, end - begin)));
    at = end + (isQuoted ? 1 : 0);
  }
  result = arguments;
  return std::nullopt;
}

Reason readState(std::string_view text, DWORD& state) {
  for (const State& row : kStates) {
    if (row.name == text) {
      state = row.value;
      return std::nullopt;
    }
  }
  return inQuotes(text) + " is no state of the service" + hintFor(text, namesOf(kStates));
}

}  // namespace host::scenario
