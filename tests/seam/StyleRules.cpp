#include "tests/seam/StyleRules.h"

#include <algorithm>
#include <map>
#include <regex>
#include <set>
#include <string>

#include "tests/seam/CodeBlocks.h"

namespace seam {

namespace {

constexpr std::size_t kMostFunctionLines = 70;
constexpr std::size_t kShortestText = 8;

std::string finding(const SourceFile& file, std::size_t line, const std::string& text) {
  return file.name + ":" + std::to_string(line) + ": " + text;
}

std::string whole(const SourceFile& file) {
  std::string text;
  for (const std::string& line : file.code) {
    text += line + "\n";
  }
  return text;
}

std::size_t lineAt(const std::string& text, std::ptrdiff_t at) {
  return 1 + static_cast<std::size_t>(std::count(text.begin(), text.begin() + at, '\n'));
}

// The names without their last letter of the functions for wide text that the files declare.
std::set<std::string> wideFunctions(const SourceTree& declared) {
  static const std::regex pattern(R"re(\b([A-Z]\w*[a-z])W\()re");
  std::set<std::string> names;
  for (const auto& [name, file] : declared) {
    const std::string text = whole(file);
    for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end;
         ++match) {
      names.insert((*match)[1].str());
    }
  }
  return names;
}

// Whether the paragraph of the line, going up from it, has a comment.
bool isCommented(const SourceFile& file, std::size_t line) {
  for (std::size_t index = line; index-- > 0 && !file.lines[index].empty();) {
    const std::size_t start = file.lines[index].find_first_not_of(' ');
    if (start != std::string::npos && file.lines[index].compare(start, 2, "//") == 0) {
      return true;
    }
  }
  return false;
}

bool speaksForItself(const Declaration& declaration) {
  static const std::regex known(
      R"re(^~|^virtual ~|\boverride\b|= (default|delete)$|^friend\b|^template ?<>)re");
  return std::regex_search(declaration.text, known) ||
         (declaration.kind == Declaration::Kind::kFunction && declaration.hasBody &&
          declaration.firstLine == declaration.lastLine);
}

// A text literal with those that stand behind it and are one text with it.
struct Literal {
  std::string text;
  std::size_t line = 0;
};

std::vector<Literal> literalsOf(const SourceFile& file) {
  static const std::regex pattern(R"re((?:u8|[LuU])?"((?:[^"\\]|\\.)*)")re");
  const std::string text = whole(file);
  std::vector<Literal> literals;
  std::ptrdiff_t endOfLast = -1;
  for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match) {
    const std::ptrdiff_t start = match->position();
    const bool goesOn =
        endOfLast >= 0 && std::all_of(text.begin() + endOfLast, text.begin() + start,
                                      [](char c) { return c == ' ' || c == '\n'; });
    if (goesOn) {
      literals.back().text += (*match)[1].str();
    } else {
      literals.push_back({(*match)[1].str(), lineAt(text, start)});
    }
    endOfLast = start + match->length();
  }
  return literals;
}

bool isInclude(const SourceFile& file, std::size_t line) {
  return std::any_of(file.includes.begin(), file.includes.end(),
                     [&](const Include& include) { return include.line == line; });
}

// A line that has a checker pass over something. The end of such a stretch is none, and neither is
// the beginning of the list of checks, which takes all of them out.
bool isException(const SourceFile& file, std::size_t index) {
  static const std::regex inSource(R"re(// (NOLINT(?!END)|cppcheck-suppress))re");
  static const std::regex inList(R"re(^ *- '-[^*])re");
  return std::regex_search(file.lines[index], file.isSource() ? inSource : inList);
}

bool hasReason(const SourceFile& file, std::size_t index) {
  static const std::regex reason(R"re(NOLINT\w*\([^)]*\): \w)re");
  static const std::regex comment(R"re(^ *(//|#) (?!NOLINT|cppcheck-)\w)re");
  if (std::regex_search(file.lines[index], reason)) {
    return true;
  }
  std::size_t above = index;
  while (above > 0 && isException(file, above - 1) && file.isSource()) {
    --above;
  }
  return above > 0 && std::regex_search(file.lines[above - 1], comment);
}

}  // namespace

Findings exceptionsWithoutReason(const SourceTree& files) {
  Findings findings;
  for (const auto& [name, file] : files) {
    for (std::size_t index = 0; index < file.lines.size(); ++index) {
      const bool isRead = file.isSource() || name == ".clang-tidy";
      if (isRead && isException(file, index) && !hasReason(file, index)) {
        findings.push_back(finding(file, index + 1, "passed over without a reason beside it"));
      }
    }
  }
  return findings;
}

Findings longFunctions(const SourceTree& files) {
  Findings findings;
  for (const auto& [name, file] : files) {
    for (const Declaration& declaration : declarationsOf(file)) {
      const std::size_t lines = declaration.lastLine - declaration.firstLine + 1;
      if (declaration.kind == Declaration::Kind::kFunction && declaration.hasBody &&
          lines > kMostFunctionLines) {
        findings.push_back(finding(file, declaration.firstLine,
                                   "the function has " + std::to_string(lines) + " lines, " +
                                       std::to_string(kMostFunctionLines) + " are allowed"));
      }
    }
  }
  return findings;
}

Findings narrowPlatformCalls(const SourceTree& callers, const SourceTree& declared) {
  static const std::regex call(R"re((^|[^\w.>:~]|(^|\W)::)([A-Z]\w*[a-z])(A?)\()re");
  const std::set<std::string> wide = wideFunctions(declared);
  Findings findings;
  for (const auto& [name, file] : callers) {
    for (std::size_t index = 0; index < file.code.size(); ++index) {
      const std::string& line = file.code[index];
      for (std::sregex_iterator match(line.begin(), line.end(), call), end; match != end; ++match) {
        if ((*match)[4].length() > 0 || wide.contains((*match)[3].str())) {
          findings.push_back(
              finding(file, index + 1, (*match)[3].str() + " is not called by its wide name"));
        }
      }
    }
  }
  return findings;
}

Findings undocumented(const SourceTree& product) {
  Findings findings;
  for (const auto& [name, file] : product) {
    if (!name.ends_with(".h")) {
      continue;
    }
    for (const Declaration& declaration : declarationsOf(file)) {
      const bool isToBeTold =
          declaration.kind != Declaration::Kind::kOther || declaration.text.starts_with("enum ");
      if (isToBeTold && declaration.isPublic && !speaksForItself(declaration) &&
          !isCommented(file, declaration.firstLine)) {
        findings.push_back(
            finding(file, declaration.firstLine, "no comment on: " + declaration.text));
      }
    }
  }
  return findings;
}

Findings textsTwice(const SourceTree& product) {
  std::map<std::string, std::vector<std::string>> places;
  for (const auto& [name, file] : product) {
    if (!file.isSource()) {
      continue;
    }
    for (const Literal& literal : literalsOf(file)) {
      if (literal.text.size() >= kShortestText && !isInclude(file, literal.line)) {
        places[literal.text].push_back(name + ":" + std::to_string(literal.line));
      }
    }
  }
  Findings findings;
  for (const auto& [text, at] : places) {
    for (std::size_t i = 1; i < at.size(); ++i) {
      findings.push_back(at[i] + ": \"" + text + "\" stands at " + at[0] + " already");
    }
  }
  return findings;
}

}  // namespace seam
