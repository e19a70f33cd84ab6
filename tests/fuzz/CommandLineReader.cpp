#include "tests/fuzz/CommandLineReader.h"

#include <algorithm>
#include <cwctype>
#include <sstream>

namespace fuzz {
namespace {

using Kind = CmdLineParameterKind;

std::wstring lower(std::wstring text) {
  for (wchar_t& character : text) {
    if (character >= L'A' && character <= L'Z') {
      character = static_cast<wchar_t>(character + 32);
    }
  }
  return text;
}

std::string narrow(const std::wstring& text) {
  std::string result;
  for (const wchar_t character : text) {
    result += character >= 0 && character < 0x80 ? static_cast<char>(character) : '?';
  }
  return result;
}

bool bears(const CmdLineParameter& record, const std::wstring& name) {
  return lower(record.name) == name || (!record.alias.empty() && lower(record.alias) == name);
}

bool asks(const CmdLineParameter& record) {
  return record.kind == Kind::PromptConfirmed || record.kind == Kind::PromptPlain;
}

struct Wrong {
  std::int32_t resource;
  std::string parameters;
};

class Reader {
 public:
  Reader(const CommandLineRules& rules, const std::vector<std::wstring>& arguments)
      : rules_(rules), arguments_(arguments), records_(rules.parameters), typed_(rules.typed) {}

  CommandLineOutcome read() {
    CommandLineOutcome outcome;
    try {
      readAll();
    } catch (const Wrong& wrong) {
      outcome.kind = wrong.resource == 259 ? CommandLineOutcome::Kind::kUsage
                                           : CommandLineOutcome::Kind::kInvalid;
      outcome.resource = wrong.resource;
      outcome.parameters = wrong.parameters;
    }
    for (const CmdLineParameter& record : records_) {
      outcome.records.push_back({record.index, record.value});
    }
    outcome.asked = asked_.str();
    return outcome;
  }

 private:
  std::string firstPrefix() const { return narrow(rules_.prefix.substr(0, 1)) + ";"; }

  bool isPrefixed(const std::wstring& argument) const {
    return !argument.empty() && rules_.prefix.find(argument[0]) != std::wstring::npos;
  }

  void readAll() {
    while (i_ < arguments_.size()) {
      readArgument(lower(arguments_[i_]));
    }
    for (const CmdLineParameter& record : records_) {
      if (record.index < 0 && record.required) {
        throw Wrong{227, narrow(record.name) + ";" + firstPrefix()};
      }
    }
    for (const auto& group : rules_.groups) {
      checkGroup(group);
    }
    for (const std::wstring& name : deferred_) {
      for (CmdLineParameter& record : records_) {
        if (bears(record, name)) {
          ask(record);
        }
      }
    }
  }

  void readArgument(const std::wstring& argument) {
    if (!isPrefixed(argument)) {
      throw Wrong{225, narrow(argument) + ";" + firstPrefix()};
    }
    const std::wstring name = argument.substr(1);
    if (name == L"?") {
      throw Wrong{259, narrow(usage()) + ";"};
    }
    bool isMatched = false;
    for (CmdLineParameter& record : records_) {
      if (!bears(record, name)) {
        continue;
      }
      checkCompanions(record, name);
      record.index = static_cast<std::int32_t>(i_);
      i_ += isMatched ? 0 : 1;
      isMatched = true;
      see(record, name);
    }
    if (!isMatched) {
      throw Wrong{325, narrow(name) + ";" + firstPrefix()};
    }
  }

  void checkCompanions(const CmdLineParameter& record, const std::wstring& name) const {
    for (const CmdLineParameter& earlier : seen_) {
      const std::wstring own = lower(record.name);
      const bool isAllowed =
          earlier.companions.empty() || bears(earlier, own) ||
          std::any_of(earlier.companions.begin(), earlier.companions.end(),
                      [&](const std::wstring& companion) { return lower(companion) == own; });
      if (!isAllowed) {
        throw Wrong{225, narrow(name) + ";" + firstPrefix()};
      }
    }
  }

  void see(CmdLineParameter& record, const std::wstring& name) {
    if (asks(record)) {
      const bool isSeen = std::any_of(seen_.begin(), seen_.end(), [&](const auto& earlier) {
        return asks(earlier) && lower(earlier.name) == lower(record.name);
      });
      if (isSeen) {
        return;
      }
      deferred_.push_back(name);
    } else {
      takeValue(record);
    }
    seen_.push_back(record);
  }

  void takeValue(CmdLineParameter& record) {
    if (record.kind == Kind::NoValue) {
      return;
    }
    if (i_ < arguments_.size() && !isPrefixed(arguments_[i_])) {
      record.value = arguments_[i_];
      ++i_;
    } else if (record.kind == Kind::ValueRequired) {
      throw Wrong{226, narrow(record.name) + ";" + firstPrefix()};
    }
  }

  void checkGroup(const std::vector<std::size_t>& group) const {
    int given = 0;
    std::string names;
    for (const std::size_t member : group) {
      const std::wstring& name = rules_.parameters[member].name;
      names += (names.empty() && member == group.front() ? "" : ", ") + narrow(name);
      for (const CmdLineParameter& record : records_) {
        if ((!record.name.empty() && record.name == name) ||
            (!record.alias.empty() && record.alias == name)) {
          given += record.index >= 0 ? 1 : 0;
          break;
        }
      }
    }
    if (given > 1) {
      throw Wrong{239, names + ";"};
    }
  }

  std::string typedLine() {
    std::string line;
    std::getline(typed_, line);
    asked_ << '\n';
    return line;
  }

  void ask(CmdLineParameter& record) {
    if (!asks(record)) {
      return;
    }
    asked_ << promptOf(record.promptId);
    std::string line = typedLine();
    if (record.kind == Kind::PromptConfirmed) {
      asked_ << "Retype the value to confirm: ";
      while (line != typedLine()) {
        asked_ << "The provided parameter value and its confirmation do not match!\n\n"
               << promptOf(record.promptId);
        line = typedLine();
        asked_ << "Retype the value to confirm: ";
      }
    }
    record.value.assign(line.begin(), line.end());
  }

  std::wstring usage() const {
    std::wstring text;
    for (const CmdLineParameter& record : records_) {
      text += record.required ? L"" : L"[";
      text += rules_.prefix.substr(0, 1) + record.name + L" (value)";
      text += record.required ? L" " : L"](" + record.value + L") ";
    }
    return text;
  }

  const CommandLineRules& rules_;
  const std::vector<std::wstring>& arguments_;
  std::vector<CmdLineParameter> records_;
  std::istringstream typed_;
  std::ostringstream asked_;
  std::vector<CmdLineParameter> seen_;
  std::vector<std::wstring> deferred_;
  std::size_t i_ = 1;
};

}  // namespace

std::string promptOf(std::uint32_t id) {
  return "Prompt " + std::to_string(id) + ": ";
}

CommandLineOutcome readCommandLine(const CommandLineRules& rules,
                                   const std::vector<std::wstring>& arguments) {
  return Reader(rules, arguments).read();
}

}  // namespace fuzz
