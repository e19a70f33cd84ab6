#include "tools/config-check/KnownSettings.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <list>

#include "VUSL/Support/LogSetup.h"
#include "VUSL/Support/Settings.h"
#include "tools/EditDistance.h"
#include "tools/config-check/ShownText.h"

namespace config_check {
namespace {

// The service counts the wait in milliseconds, in 32 bits.
constexpr std::int32_t kLongestWaitSeconds = 4294967;
constexpr std::uint32_t kMsPerSecond = 1000;
constexpr std::size_t kLongestNearKey = 64;

constexpr char kLetterCaseCounts[] = "? Letter case counts";
constexpr char kNotUsed[] = "read and not used";
constexpr char kNoNumber[] =
    "the value is no number that the service can take (decimal, from -2147483648 to 2147483647)";

bool equalIgnoringCase(std::string_view left, std::string_view right) {
  const auto lower = [](char c) { return std::tolower(static_cast<unsigned char>(c)); };
  return std::ranges::equal(left, right, {}, lower, lower);
}

bool isSpace(char c) {
  return std::isspace(static_cast<unsigned char>(c)) != 0;
}

// What the conversion leaves unread of a text from which it took a number.
std::string_view behindNumber(std::string_view text) {
  const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
  auto end = std::ranges::find_if_not(text, isSpace);
  if (end != text.end() && (*end == '+' || *end == '-')) {
    ++end;
  }
  end = std::find_if_not(end, text.end(), isDigit);
  end = std::find_if_not(end, text.end(), isSpace);
  return text.substr(static_cast<std::size_t>(end - text.begin()));
}

void warnOfUnreadText(IConfig& settings, const char* key, Verdict& verdict) {
  std::string text;
  if (!settings.getString(key, &text, nullptr, nullptr)) {
    return;
  }
  const std::string_view unread = behindNumber(text);
  if (!unread.empty()) {
    verdict.warnings.push_back("only the number at the beginning is read, not \"" +
                               shownText(unread) + "\"");
  }
}

bool isPresent(IConfig& settings, const char* key) {
  std::string text;
  return settings.getString(key, &text, nullptr, nullptr);
}

Verdict judgeWait(IConfig& settings) {
  const std::int32_t usual = settings::kDefaultTCBRepeaterTime;
  const std::string inSeconds = std::to_string(usual) + " s";
  std::int32_t seconds = 0;
  Verdict verdict;
  if (!settings.getInt(settings::kTCBRepeaterTime, &seconds, nullptr, &usual)) {
    verdict = {inSeconds, true, {std::string(kNoNumber) + ", so the service waits " + inSeconds}};
    return verdict;
  }
  verdict.isDefault = !isPresent(settings, settings::kTCBRepeaterTime);
  verdict.value = std::to_string(seconds) + " s";
  if (seconds < 0) {
    verdict = {inSeconds, true, {"a negative wait is refused, so the service waits " + inSeconds}};
  } else if (seconds == 0) {
    verdict.warnings.emplace_back("0 is taken: the service tries again at once, without a wait");
  } else if (seconds > kLongestWaitSeconds) {
    // The product goes on with what is left of the number in 32 bits.
    verdict.value = std::to_string(static_cast<std::uint32_t>(seconds) * kMsPerSecond) + " ms";
    verdict.warnings.push_back("more than " + std::to_string(kLongestWaitSeconds) +
                               " s do not fit, so the service waits " + verdict.value);
  }
  warnOfUnreadText(settings, settings::kTCBRepeaterTime, verdict);
  return verdict;
}

std::string levelWords() {
  std::string words;
  for (const std::string& word : LogSetup::logLevelNames()) {
    words += (words.empty() ? "" : ", ") + word;
  }
  return words;
}

Verdict judgeLevel(IConfig& settings) {
  const std::list<std::string> allowed = LogSetup::logLevelNames();
  const std::string usual = settings::kDefaultLogLevel;
  std::string word;
  if (settings.getString(settings::kLogLevel, &word, &allowed, &usual)) {
    return {word, !isPresent(settings, settings::kLogLevel), {}};
  }
  settings.getString(settings::kLogLevel, &word, nullptr, nullptr);
  const auto meant = std::ranges::find_if(
      allowed, [&word](const std::string& level) { return equalIgnoringCase(level, word); });
  return {"(silent)",
          false,
          {"the value is no level and makes THE LOG SILENT; the levels are " + levelWords() +
           (meant == allowed.end() ? "" : kDidYouMean + *meant + kLetterCaseCounts)}};
}

Verdict judgeUnused(IConfig& settings, const char* key, std::int32_t usual) {
  std::int32_t number = 0;
  Verdict verdict;
  if (!settings.getInt(key, &number, nullptr, &usual)) {
    return {std::to_string(usual),
            true,
            {std::string(kNoNumber) + "; that has no effect, as the service does not use it"}};
  }
  verdict.value = std::to_string(number);
  verdict.isDefault = !isPresent(settings, key);
  warnOfUnreadText(settings, key, verdict);
  return verdict;
}

Verdict judgeSize(IConfig& settings) {
  return judgeUnused(settings, settings::kMaxFileSize, settings::kDefaultMaxFileSize);
}

Verdict judgeArchives(IConfig& settings) {
  return judgeUnused(settings, settings::kMaxArchiveNumber, settings::kDefaultMaxArchiveNumber);
}

}  // namespace

const std::array<KnownSetting, 4>& knownSettings() {
  static const std::array<KnownSetting, 4> settings = {{
      {settings::kTCBRepeaterTime, Reader::kService, "", judgeWait},
      {settings::kLogLevel, Reader::kLogSetup, "", judgeLevel},
      {settings::kMaxFileSize, Reader::kLogSetup, kNotUsed, judgeSize},
      {settings::kMaxArchiveNumber, Reader::kLogSetup, kNotUsed, judgeArchives},
  }};
  return settings;
}

const KnownSetting* findKnownSetting(std::string_view key) {
  const auto& known = knownSettings();
  const auto found = std::ranges::find_if(
      known, [key](const KnownSetting& setting) { return setting.key == key; });
  return found == known.end() ? nullptr : &*found;
}

std::string nearestKnownKey(std::string_view key) {
  if (key.size() > kLongestNearKey) {
    return {};
  }
  const char* nearest = nullptr;
  std::size_t smallest = std::max<std::size_t>(2, key.size() / 3) + 1;
  for (const KnownSetting& setting : knownSettings()) {
    if (equalIgnoringCase(setting.key, key)) {
      return std::string(setting.key) + kLetterCaseCounts;
    }
    const std::size_t distance = editDistance(key, setting.key);
    if (distance < smallest) {
      smallest = distance;
      nearest = setting.key;
    }
  }
  return nearest == nullptr ? std::string() : std::string(nearest) + "?";
}

}  // namespace config_check
