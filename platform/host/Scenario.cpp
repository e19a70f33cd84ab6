// The frame of a scenario's text: lines, sections, repetitions, and what must not be missing.

#include "platform/host/Scenario.h"

#include <algorithm>
#include <array>
#include <map>
#include <set>

#include "platform/host/ScenarioSections.h"
#include "platform/host/Text.h"

namespace host {
namespace {

using scenario::inQuotes;
using scenario::Key;
using scenario::Reason;
using scenario::Section;

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view kRepeatEnd = "end repeat";
// A day of hourly waits has some thousand lines; a slip in a number is not to eat the memory.
constexpr std::size_t kMostExpectedLines = 1'000'000;

// A key that must not be missing: the first section must be there, any other may be absent.
struct Needed {
  std::string_view section;
  const char* key;
};

std::string_view withoutBlanksAtEnd(std::string_view text) {
  return text.substr(0, text.find_last_not_of(" \t\r") + 1);
}

class Parser {
 public:
  std::variant<Scenario, ScenarioError> parse(std::string_view name, std::string_view text);

 private:
  // A begun "repeat <n>:".
  struct Repetition {
    unsigned times;
    std::size_t firstLine;  // among the expected ones
    int line;
  };

  Reason readLine(std::string_view line);
  std::optional<std::string_view> headIn(std::string_view line) const;
  Reason openSection(std::string_view head);
  Reason readVerbatim(std::string_view line);
  Reason readKeyLine(std::string_view line);
  const Key* findKey(std::string_view text, std::string_view& name) const;
  Reason readRepeatable(std::string_view line, std::vector<std::string>& lines);
  Reason closeRepetition(std::vector<std::string>& lines);
  std::optional<ScenarioError> findGap() const;
  std::optional<ScenarioError> findMissingKey() const;

  Scenario scenario_;
  int line_ = 0;
  const Section* section_ = nullptr;
  std::string head_;
  std::string thread_;  // of [calls]: what stands behind the section's name
  std::vector<std::pair<std::string, int>> heads_;  // as they are written, with their lines
  std::map<std::string, int> seenHeads_;            // the same, folded
  std::set<std::string> seenKeys_;                  // "<head>/<key>"
  int blankLines_ = 0;  // held back: at a section's end they do not count
  std::vector<Repetition> repetitions_;
};

std::variant<Scenario, ScenarioError> Parser::parse(std::string_view name, std::string_view text) {
  scenario_.name = name;
  if (text.starts_with(kByteOrderMark)) {
    text.remove_prefix(kByteOrderMark.size());
  }
  while (!text.empty()) {
    ++line_;
    const std::size_t end = std::min(text.find('\n'), text.size());
    if (Reason reason = readLine(text.substr(0, end))) {
      return ScenarioError{line_, *reason};
    }
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  if (std::optional<ScenarioError> gap = findGap()) {
    return *gap;
  }
  return std::move(scenario_);
}

Reason Parser::readLine(std::string_view line) {
  if (line.find('\0') != std::string_view::npos) {
    return "the line holds a zero byte";
  }
  if (toUtf8(toWide(line)) != line) {
    return "the line is not UTF-8";
  }
  if (line.ends_with('\r')) {
    line.remove_suffix(1);
  }
  if (line.starts_with('#')) {
    return std::nullopt;
  }
  if (const auto head = headIn(line)) {
    return openSection(*head);
  }
  if (section_ != nullptr && section_->isVerbatim) {
    return readVerbatim(line);
  }
  if (trimmed(line).empty()) {
    return std::nullopt;
  }
  if (section_ == nullptr) {
    return inQuotes(trimmed(line)) + " stands outside a section";
  }
  if (section_->name == scenario::kExpectedSection) {
    return readRepeatable(withoutBlanksAtEnd(line), *scenario_.expected);
  }
  if (section_->name == scenario::kCallsSection) {
    return readRepeatable(trimmed(line), scenario_.calls[thread_]);
  }
  if (!section_->keys.empty()) {
    return readKeyLine(trimmed(line));
  }
  return section_->readLine(trimmed(line), scenario_, line_);
}

// What stands behind the opening bracket, if the line is the head of a section. Among expected
// lines only a line that is nothing but one pair of brackets is: level tags and addresses stand in
// brackets too.
std::optional<std::string_view> Parser::headIn(std::string_view line) const {
  const std::string_view text = withoutBlanksAtEnd(line);
  if (!text.starts_with('[')) {
    return std::nullopt;
  }
  const bool isWhole = text.find(']') == text.size() - 1;
  if (section_ != nullptr && section_->name == scenario::kExpectedSection && !isWhole) {
    return std::nullopt;
  }
  return text.substr(1);
}

Reason Parser::openSection(std::string_view head) {
  if (!head.ends_with(']')) {
    return inQuotes("[" + std::string(head)) +
           " is no section: its name stands in brackets, alone on the line";
  }
  head.remove_suffix(1);
  blankLines_ = 0;
  const std::size_t nameEnd = std::min(head.find(' '), head.size());
  const std::string_view name = head.substr(0, nameEnd);
  const std::string_view argument = trimmed(head.substr(nameEnd));
  const auto known = scenario::sections();
  const auto found = std::find_if(known.begin(), known.end(),
                                  [&](const Section& row) { return row.name == name; });
  if (found == known.end()) {
    std::vector<std::string_view> names;
    for (const Section& row : known) {
      names.push_back(row.name);
    }
    return "there is no section " + inQuotes(name) + scenario::hintFor(name, names);
  }
  if (found->argument.empty() != argument.empty()) {
    return "in the brackets of " + inQuotes(name) + " there must be " +
           (found->argument.empty() ? "nothing else" : std::string(found->argument) + " too");
  }
  if (!seenHeads_.emplace(toUtf8(foldCase(toWide(head))), line_).second) {
    return "the section [" + std::string(head) + "] stands twice";
  }
  if (!repetitions_.empty()) {
    return "the \"repeat\" of line " + std::to_string(repetitions_.back().line) +
           " has not ended yet";
  }
  section_ = &*found;
  head_ = head;
  thread_ = argument;
  heads_.emplace_back(head_, line_);
  return section_->open == nullptr ? std::nullopt : section_->open(argument, scenario_);
}

Reason Parser::readVerbatim(std::string_view line) {
  if (trimmed(line).empty()) {
    ++blankLines_;
    return std::nullopt;
  }
  for (; blankLines_ > 0; --blankLines_) {
    if (Reason reason = section_->readLine("", scenario_, line_)) {
      return reason;
    }
  }
  if (line.starts_with("\\[") || line.starts_with("\\#")) {
    line.remove_prefix(1);
  }
  return section_->readLine(line, scenario_, line_);
}

const Key* Parser::findKey(std::string_view text, std::string_view& name) const {
  for (const Key& key : section_->keys) {
    if (!key.isNamed && key.name == text) {
      return &key;
    }
    if (key.isNamed && (text == key.name || text.starts_with(std::string(key.name) + " "))) {
      name = trimmed(text.substr(key.name.size()));
      return &key;
    }
  }
  return nullptr;
}

Reason Parser::readKeyLine(std::string_view line) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) {
    return inQuotes(line) + " is not of the form \"key = value\"";
  }
  const std::string_view text = trimmed(line.substr(0, equals));
  const std::string_view value = trimmed(line.substr(equals + 1));
  std::string_view name;
  const Key* key = findKey(text, name);
  if (key == nullptr) {
    std::vector<std::string_view> known;
    for (const Key& row : section_->keys) {
      known.push_back(row.name);
    }
    return "[" + std::string(section_->name) + "] has no key " + inQuotes(text) +
           scenario::hintFor(text, known);
  }
  const std::string seen = head_ + "/" + toUtf8(foldCase(toWide(text)));
  if (!seenKeys_.insert(seen).second && !key->repeats) {
    return inQuotes(text) + " stands twice";
  }
  return key->read(value, name, scenario_);
}

// A line of those that may be repeated; `lines` are those of the section so far.
Reason Parser::readRepeatable(std::string_view line, std::vector<std::string>& lines) {
  constexpr std::string_view kRepeat = "repeat ";
  if (line == kRepeatEnd) {
    return closeRepetition(lines);
  }
  if (!line.starts_with(kRepeat) || !line.ends_with(':')) {
    Reason reason = section_->readLine(line, scenario_, line_);
    if (!reason) {
      lines.emplace_back(line);
    }
    return reason;
  }
  Repetition repetition{0, lines.size(), line_};
  line.remove_prefix(kRepeat.size());
  line.remove_suffix(1);
  if (Reason reason = scenario::readCount(line, repetition.times)) {
    return reason;
  }
  repetitions_.push_back(repetition);
  return std::nullopt;
}

Reason Parser::closeRepetition(std::vector<std::string>& lines) {
  if (repetitions_.empty()) {
    return "there is no \"repeat\" that could end here";
  }
  const Repetition repetition = repetitions_.back();
  repetitions_.pop_back();
  const std::vector<std::string> body(
      lines.begin() + static_cast<std::ptrdiff_t>(repetition.firstLine), lines.end());
  if (body.empty()) {
    return "there is nothing to repeat";
  }
  if (repetition.times > kMostExpectedLines / body.size() ||
      lines.size() + body.size() * repetition.times > kMostExpectedLines) {
    return "that makes more than " + std::to_string(kMostExpectedLines) + " lines";
  }
  for (unsigned i = 1; i < repetition.times; ++i) {
    lines.insert(lines.end(), body.begin(), body.end());
  }
  return std::nullopt;
}

// What only shows when all has been read.
std::optional<ScenarioError> Parser::findGap() const {
  if (!repetitions_.empty()) {
    return ScenarioError{repetitions_.back().line,
                         "this \"repeat\" has no " + inQuotes(kRepeatEnd)};
  }
  if (std::optional<ScenarioError> gap = findMissingKey()) {
    return gap;
  }
  using End = ExpectedEnd::Kind;
  const bool isSudden = scenario_.end.kind == End::kFault || scenario_.end.kind == End::kTerminate;
  if (isSudden && !scenario_.imbalances.empty()) {
    return ScenarioError{seenHeads_.at("imbalances"),
                         "a run that ends in a fault or a terminate has no account to compare"};
  }
  for (const Step& step : scenario_.script) {
    if (step.moment.kind == Moment::Kind::kAt && step.moment.at >= scenario_.limit) {
      return ScenarioError{step.line, "the run is over by then: its limit comes first"};
    }
    if (const Reason reason = scenario::checkTrace(step.action, scenario_)) {
      return ScenarioError{step.line, *reason};
    }
  }
  return std::nullopt;
}

std::optional<ScenarioError> Parser::findMissingKey() const {
  constexpr std::array kNeeded = {Needed{"scenario", "about"}, Needed{"scenario", "end"},
                                  Needed{"stack", "directory"}, Needed{"trace", "provider"}};
  const std::string always = "scenario";
  const auto mustSay = [](int line, const std::string& head, const char* key) {
    return ScenarioError{line, "[" + head + "] must say " + inQuotes(key)};
  };
  for (const Needed& needed : kNeeded) {
    if (needed.section == always && !seenHeads_.contains(always)) {
      return mustSay(1, always, needed.key);
    }
    for (const auto& [head, line] : heads_) {
      const bool isMeant = head.substr(0, head.find(' ')) == needed.section;
      if (isMeant && !seenKeys_.contains(head + "/" + needed.key)) {
        return mustSay(line, head, needed.key);
      }
    }
  }
  return std::nullopt;
}

}  // namespace

std::variant<Scenario, ScenarioError> parseScenario(std::string_view name, std::string_view text) {
  return Parser().parse(name, text);
}

}  // namespace host
