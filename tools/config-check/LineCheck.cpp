#include "tools/config-check/LineCheck.h"

#include <algorithm>
#include <iomanip>
#include <ostream>
#include <sstream>

#include "VUSL/Support/ConfigMemory.h"
#include "tools/config-check/ShownText.h"

namespace config_check {
namespace {

constexpr std::size_t kShownOfBadLine = 20;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

std::string quoted(std::string_view text) {
  return "\"" + shownText(text) + "\"";
}

// What stands behind the value, its closing quote included.
std::string_view behindValue(const ConfigLine& line) {
  if (line.value.data() == nullptr) {
    return {};
  }
  const auto end = line.value.data() + line.value.size() - line.text.data();
  return line.text.substr(static_cast<std::size_t>(end));
}

bool beginsWithQuote(const ConfigLine& line) {
  return line.value.data() != nullptr && line.value.data()[-1] == '"';
}

}  // namespace

void LineCheck::explain(const std::string& content) {
  const auto lines = std::count(content.begin(), content.end(), '\n') + 1;
  width_ = static_cast<int>(std::to_string(lines).size());
  std::istringstream stream(content);
  for (std::string line; std::getline(stream, line);) {
    ++number_;
    explainLine(line);
  }
}

std::size_t LineCheck::lineOf(const std::string& key) const {
  const auto found = firstLines_.find(key);
  return found == firstLines_.end() ? 0 : found->second;
}

void LineCheck::explainLine(std::string_view text) {
  const ConfigLine line = parseConfigLine(text);
  switch (line.kind) {
    case ConfigLine::Kind::kBlank:
      say("(blank)");
      break;
    case ConfigLine::Kind::kComment:
      say("(comment)");
      break;
    case ConfigLine::Kind::kNoKey:
      say("(no key)");
      warn("nothing stands before \"=\", so the service passes the line over");
      break;
    case ConfigLine::Kind::kNoEquals:
      say(quoted(line.text.substr(0, kShownOfBadLine)));
      refuse("there is no \"=\" in this line, so the service calls the whole file corrupted");
      break;
    case ConfigLine::Kind::kSetting:
      explainSetting(line);
      break;
  }
  if (number_ == 1) {
    lookAtBytes(text);
  }
}

void LineCheck::explainSetting(const ConfigLine& line) {
  say(shownText(line.key) + " = " + quoted(line.value));
  const auto [first, isNew] = firstLines_.emplace(line.key, number_);
  if (!isNew) {
    refuse("the key stands in line " + std::to_string(first->second) +
           " already, so the service calls the whole file corrupted");
  }
  lookAtQuotes(line);
  lookAtKey(line);
}

void LineCheck::lookAtQuotes(const ConfigLine& line) {
  const std::string_view behind = behindValue(line);
  if (behind.empty()) {
    if (beginsWithQuote(line)) {
      warn("there is no closing quote; the value reaches to the line's end");
    }
    return;
  }
  const std::size_t first = behind.find_first_not_of("\t\r ", 1);
  if (first != std::string_view::npos) {
    warn("the value ends at the quote; what follows is not read: " + quoted(behind.substr(first)));
  } else if (!beginsWithQuote(line)) {
    warn("the value ends at the quote, and there is none at its beginning");
  }
}

void LineCheck::lookAtKey(const ConfigLine& line) {
  const KnownSetting* const known = findKnownSetting(line.key);
  if (known == nullptr) {
    const std::string nearest = nearestKnownKey(line.key);
    warn("the service does not read this key" + (nearest.empty() ? "" : kDidYouMean + nearest));
    return;
  }
  if (std::ranges::find(readers_, known->reader) == readers_.end()) {
    warn("the service reads this key from the other file");
    return;
  }
  // A store with this setting alone: what is said holds for the line, whatever the file's fate.
  ConfigMemory alone;
  alone.setSetting(std::string(line.key), std::string(line.value));
  for (const std::string& warning : known->judge(alone).warnings) {
    warn(warning);
  }
}

void LineCheck::lookAtBytes(std::string_view line) {
  if (line.starts_with(kByteOrderMark)) {
    warn("the file begins with a byte order mark, which belongs to this line for the service");
  } else if (line.find('\0') != std::string_view::npos) {
    warn("this looks like no plain text (UTF-16?); save the file as ASCII or UTF-8");
  }
}

void LineCheck::say(const std::string& text) {
  out_ << "  " << std::setw(width_) << number_ << "  " << text << '\n';
}

void LineCheck::warn(const std::string& text) {
  ++warnings_;
  tell("warning: ", text);
}

void LineCheck::refuse(const std::string& text) {
  ++errors_;
  tell("error: ", text);
}

void LineCheck::tell(const char* kind, const std::string& text) {
  out_ << std::string(static_cast<std::size_t>(width_) + 4, ' ') << kind << text << '\n';
}

}  // namespace config_check
