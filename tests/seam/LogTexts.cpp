#include "tests/seam/LogTexts.h"

#include <array>
#include <map>
#include <optional>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <vector>

namespace seam {

namespace {

constexpr char kValue[] = "…";

using Constants = std::map<std::string, std::string>;

// A function that logs for others: the text is its argument, and this follows.
struct Forwarder {
  const char* name;
  const char* rest;
};
constexpr std::array kForwarders = {
    Forwarder{"LogResult", kValue},
    Forwarder{"StepFailed", kValue},
    Forwarder{"LogStatus", " failed with status = … for a …"},
};
// The files in which items pass through without a text of their own.
const std::set<std::string> kMachinery = {"VUSL/Support/LogItem.cpp", "VUSL/Support/LogItem.h",
                                          "VUSL/Support/LogTag.h", "task/ComCalls.cpp"};

std::string trimmed(const std::string& text) {
  const std::size_t first = text.find_first_not_of(" \t\n");
  return first == std::string::npos
             ? ""
             : text.substr(first, text.find_last_not_of(" \t\n") + 1 - first);
}

std::string codeOf(const SourceFile& file) {
  std::string code;
  for (const std::string& line : file.code) {
    code += line + '\n';
  }
  return code;
}

// Just behind the literal that begins at `at`.
std::size_t endOfLiteral(const std::string& code, std::size_t at) {
  const char quote = code[at];
  for (++at; at < code.size() && code[at] != quote; ++at) {
    at += code[at] == '\\' ? 1U : 0U;
  }
  return at + 1;
}

// The text of literals that stand side by side; nothing if there is anything else.
std::optional<std::string> literalText(const std::string& operand) {
  std::string text;
  std::size_t at = 0;
  while (at < operand.size()) {
    if (std::string(" \t\nL").find(operand[at]) != std::string::npos) {
      ++at;
      continue;
    }
    if (operand[at] != '"') {
      return std::nullopt;
    }
    const std::size_t end = endOfLiteral(operand, at);
    for (++at; at + 1 < end; ++at) {
      at += operand[at] == '\\' ? 1U : 0U;
      text += operand[at];
    }
    at = end;
  }
  return operand.empty() ? std::nullopt : std::optional(text);
}

// The named texts of a file, by their bare name.
Constants constantsOf(const SourceFile& file) {
  static const std::regex pattern(
      R"re(constexpr (?:char|wchar_t) (k\w+)\[\]\s*=\s*((?:L?"(?:[^"\\]|\\.)*"\s*)+);)re");
  const std::string code = codeOf(file);
  Constants constants;
  for (std::sregex_iterator it(code.begin(), code.end(), pattern), end; it != end; ++it) {
    constants[(*it)[1]] = literalText((*it)[2]).value_or(kValue);
  }
  return constants;
}

std::string namedText(std::string name, const Constants& constants) {
  name = name.substr(name.rfind(':') + 1);
  const auto found = constants.find(name);
  return found == constants.end() ? kValue : found->second;
}

std::string operandText(const std::string& operand, const Constants& constants) {
  if (operand.starts_with("LogBase::")) {
    return "";
  }
  if (operand.starts_with("LogAddress(")) {
    return "[0x…] ";
  }
  std::smatch tag;
  if (std::regex_match(operand, tag, std::regex(R"re(LogTag\(this, (\w+)\))re"))) {
    return "[0x…] [" + namedText(tag[1], constants) + "] ";
  }
  return literalText(operand).value_or(namedText(operand, constants));
}

// The pieces between the insertions of a statement that stand in no parenthesis, up to its end.
std::vector<std::string> piecesFrom(const std::string& code, std::size_t at) {
  std::vector<std::string> pieces(1);
  for (int depth = 0; at < code.size() && depth >= 0; ++at) {
    if (code[at] == '"' || code[at] == '\'') {
      const std::size_t end = endOfLiteral(code, at);
      pieces.back() += code.substr(at, end - at);
      at = end - 1;
      continue;
    }
    if (depth == 0 && code[at] == ';') {
      break;
    }
    if (depth == 0 && code.compare(at, 2, "<<") == 0) {
      pieces.emplace_back();
      ++at;
      continue;
    }
    depth += code[at] == '(' ? 1 : 0;
    depth -= code[at] == ')' ? 1 : 0;
    if (depth >= 0) {
      pieces.back() += code[at];
    }
  }
  for (std::string& piece : pieces) {
    piece = trimmed(piece);
  }
  return pieces;
}

std::string levelIn(const std::string& item) {
  for (const auto& [call, level] :
       {std::pair{".info()", "INFO"}, {".error()", "ERROR"}, {".fatal()", "FATAL"}}) {
    if (item.find(call) != std::string::npos) {
      return level;
    }
  }
  return "DEBUG";
}

// The statement that makes the item at `at`.
LogText itemText(const std::string& code, std::size_t at, const Constants& constants) {
  const std::vector<std::string> pieces = piecesFrom(code, at);
  const std::string& item = pieces.front();
  LogText found{levelIn(item), ""};
  const std::size_t open = item.find('(');
  const std::string location = item.substr(open + 1, item.find(')') - open - 1);
  if (!location.empty()) {
    found.text = operandText(location, constants) + " ";
  }
  for (std::size_t index = 1; index < pieces.size(); ++index) {
    found.text += operandText(pieces[index], constants);
  }
  return found;
}

void addForwarded(const std::string& code, std::set<LogText>& found) {
  for (const Forwarder& forwarder : kForwarders) {
    const std::regex call("\\b" + std::string(forwarder.name) +
                          R"re(\(\s*(LogItem\(\)[^,]*,)?\s*("(?:[^"\\]|\\.)*"))re");
    for (std::sregex_iterator it(code.begin(), code.end(), call), end; it != end; ++it) {
      found.insert({levelIn((*it)[1]), *literalText((*it)[2]) + forwarder.rest});
    }
  }
}

bool isForwarded(const std::string& code, std::size_t at) {
  const std::string before = trimmed(code.substr(at > 40 ? at - 40 : 0, std::min<size_t>(at, 40)));
  return before.ends_with("LogStatus(");
}

}  // namespace

std::set<LogText> loggedTexts(const SourceTree& product) {
  Constants everywhere;
  for (const auto& [name, file] : product) {
    everywhere.merge(constantsOf(file));
  }
  static const std::regex item(R"re(\bLogItem(?: \w+)?\()re");
  std::set<LogText> found;
  for (const auto& [name, file] : product) {
    if (kMachinery.contains(name)) {
      continue;
    }
    Constants constants = constantsOf(file);
    constants.insert(everywhere.begin(), everywhere.end());
    const std::string code = codeOf(file);
    addForwarded(code, found);
    for (std::sregex_iterator it(code.begin(), code.end(), item), end; it != end; ++it) {
      const auto at = static_cast<std::size_t>(it->position());
      if (!isForwarded(code, at)) {
        found.insert(itemText(code, at, constants));
      }
    }
  }
  return found;
}

std::set<LogText> tabledTexts(const std::string& page) {
  static const std::regex row(R"re(\| (DEBUG|INFO|ERROR|FATAL) \| `([^`]*)` \|(.*)\|)re");
  std::set<LogText> found;
  std::istringstream lines(page);
  for (std::string line; std::getline(lines, line);) {
    std::smatch match;
    if (!std::regex_match(line, match, row)) {
      continue;
    }
    if (trimmed(match[3]).empty()) {
      throw std::runtime_error("without a meaning: " + line);
    }
    if (!found.insert({match[1], match[2]}).second) {
      throw std::runtime_error("stands twice: " + line);
    }
  }
  return found;
}

}  // namespace seam
