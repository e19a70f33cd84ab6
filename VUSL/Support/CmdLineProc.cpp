#include "VUSL/Support/CmdLineProc.h"

#include <algorithm>
#include <locale>
#include <string>
#include <vector>

#include "VUSL/Support/CmdLineExc.h"
#include "VUSL/Support/CmdLinePrompt.h"
#include "VUSL/Support/InvalidInputError.h"

namespace vusl {

namespace {

// The string resources that say what is wrong.
constexpr int32_t kNotAllowedHere = 225;
constexpr int32_t kValueMissing = 226;
constexpr int32_t kRequiredMissing = 227;
constexpr int32_t kGroupConflict = 239;
constexpr int32_t kUnknownParameter = 325;

constexpr wchar_t kUsageRequest[] = L"?";
constexpr char kGroupNameSeparator[] = ", ";

const std::ctype<wchar_t>& characters() {
  // Looked up once: the look-up takes longer than a short argument.
  static const std::ctype<wchar_t>& facet =
      std::use_facet<std::ctype<wchar_t>>(std::locale::classic());
  return facet;
}

string_t lowered(string_t text) {
  characters().tolower(text.data(), text.data() + text.size());
  return text;
}

// The same as `lowered(text) == loweredText`, without a text in between.
bool isEqualLowered(const string_t& text, const string_t& loweredText) {
  const std::ctype<wchar_t>& facet = characters();
  const auto isSame = [&](wchar_t one, wchar_t lower) { return facet.tolower(one) == lower; };
  return std::equal(text.begin(), text.end(), loweredText.begin(), loweredText.end(), isSame);
}

// An empty alias is none, so an empty name matches nothing.
bool isNamed(const CmdLineParameter& parameter, const string_t& loweredName) {
  return !loweredName.empty() && (isEqualLowered(parameter.name, loweredName) ||
                                  isEqualLowered(parameter.alias, loweredName));
}

bool isPrompting(const CmdLineParameter& parameter) {
  return parameter.kind == CmdLineParameterKind::PromptConfirmed ||
         parameter.kind == CmdLineParameterKind::PromptPlain;
}

}  // namespace

// How far one parse has got.
struct CmdLineProc::ParseState {
  int argc;
  const wchar_t* const* argv;
  int i = 1;
  // Each record once, however often it is given: a line of many arguments stays cheap.
  std::vector<const CmdLineParameter*> seen;
  // The names, in lower case, whose records are to be asked for.
  std::vector<string_t> prompts;
};

CmdLineProc::CmdLineProc(const string_t& prefixCharacters, std::ostream& output,
                         std::istream& input)
    : prefix(prefixCharacters), out(&output), in(&input) {}

CmdLineGroup& CmdLineProc::addGroup(const string_t& name) {
  return groups.emplace_back(CmdLineGroup{this, {}, name});
}

CmdLineParameter& CmdLineProc::addParameter(CmdLineGroup& group, const string_t& name) {
  group.members.emplace_back(name);
  return parameters.emplace_back(name);
}

void CmdLineProc::parseCommandLine(int argc, const wchar_t* const* argv) {
  ParseState state{argc, argv, 1, {}, {}};
  while (state.i < state.argc) {
    parseArgument(state);
  }
  requireRequired();
  refuseConflicts();
  runDeferredPrompts(state);
}

void CmdLineProc::parseArgument(ParseState& state) {
  const string_t argument = lowered(state.argv[state.i]);
  if (!beginsWithPrefix(argument)) {
    throw InvalidInputError(kNotAllowedHere) << Narrow(argument) << firstPrefix();
  }
  const string_t name = argument.substr(1);
  if (name == kUsageRequest) {
    throw CmdLineExc() << Narrow(usageSynopsis());
  }

  bool matched = false;
  for (CmdLineParameter& parameter : parameters) {
    if (!isNamed(parameter, name)) {
      continue;
    }
    checkCompanions(state, name, parameter);
    // A second record of the same name gets the position behind the first one's name. That is
    // deliberate: only the first match is where the name stands, and what counts is that both are
    // seen.
    parameter.index = state.i;
    if (!matched) {
      ++state.i;
    }
    matched = true;
    applyMatch(state, name, parameter);
  }
  if (!matched) {
    throw InvalidInputError(kUnknownParameter) << Narrow(name) << firstPrefix();
  }
}

void CmdLineProc::checkCompanions(const ParseState& state, const string_t& name,
                                  const CmdLineParameter& parameter) const {
  // Only the lists of parameters seen earlier count, not the one of this parameter. That is
  // deliberate: a list says what may come after its parameter, and checking both ways would refuse
  // orders that are allowed.
  const string_t candidate = lowered(parameter.name);
  const auto isCandidate = [&](const string_t& companion) {
    return isEqualLowered(companion, candidate);
  };
  for (const CmdLineParameter* earlier : state.seen) {
    const std::list<string_t>& allowed = earlier->companions;
    if (allowed.empty() || isNamed(*earlier, candidate)) {
      continue;
    }
    if (std::none_of(allowed.begin(), allowed.end(), isCandidate)) {
      throw InvalidInputError(kNotAllowedHere) << Narrow(name) << firstPrefix();
    }
  }
}

void CmdLineProc::applyMatch(ParseState& state, const string_t& name, CmdLineParameter& parameter) {
  if (isPrompting(parameter)) {
    const string_t own = lowered(parameter.name);
    const auto isRepeated = [&](const CmdLineParameter* earlier) {
      return isEqualLowered(earlier->name, own) && isPrompting(*earlier);
    };
    if (std::any_of(state.seen.begin(), state.seen.end(), isRepeated)) {
      return;
    }
    state.prompts.push_back(name);
  } else {
    takeValue(state, parameter);
  }
  if (std::find(state.seen.begin(), state.seen.end(), &parameter) == state.seen.end()) {
    state.seen.push_back(&parameter);
  }
}

void CmdLineProc::takeValue(ParseState& state, CmdLineParameter& parameter) const {
  if (parameter.kind == CmdLineParameterKind::NoValue) {
    return;
  }
  if (state.i < state.argc && !beginsWithPrefix(state.argv[state.i])) {
    parameter.value = state.argv[state.i];
    ++state.i;
    return;
  }
  if (parameter.kind == CmdLineParameterKind::ValueRequired) {
    throw InvalidInputError(kValueMissing) << Narrow(parameter.name) << firstPrefix();
  }
}

void CmdLineProc::requireRequired() const {
  for (const CmdLineParameter& parameter : parameters) {
    if (parameter.index < 0 && parameter.required) {
      throw InvalidInputError(kRequiredMissing) << Narrow(parameter.name) << firstPrefix();
    }
  }
}

void CmdLineProc::refuseConflicts() const {
  for (const CmdLineGroup& group : groups) {
    if (!isGroupConflicting(group)) {
      continue;
    }
    std::string names;
    const char* separator = "";
    for (const CmdLineParameter& member : group.members) {
      names += separator + Narrow(member.name);
      separator = kGroupNameSeparator;
    }
    throw InvalidInputError(kGroupConflict) << names;
  }
}

bool CmdLineProc::isGroupConflicting(const CmdLineGroup& group) const {
  int given = 0;
  for (const CmdLineParameter& member : group.members) {
    const auto isMember = [&](const CmdLineParameter& parameter) {
      return (!parameter.name.empty() && parameter.name == member.name) ||
             (!parameter.alias.empty() && parameter.alias == member.name);
    };
    const auto found = std::find_if(parameters.begin(), parameters.end(), isMember);
    if (found != parameters.end() && found->index >= 0) {
      ++given;
    }
  }
  return given > 1;
}

void CmdLineProc::runDeferredPrompts(const ParseState& state) {
  for (const string_t& name : state.prompts) {
    for (CmdLineParameter& parameter : parameters) {
      if (isNamed(parameter, name)) {
        askForValue(parameter);
      }
    }
  }
}

bool CmdLineProc::beginsWithPrefix(const string_t& argument) const {
  return !argument.empty() && prefix.find(argument.front()) != string_t::npos;
}

std::string CmdLineProc::firstPrefix() const {
  return Narrow(prefix.substr(0, 1));
}

string_t CmdLineProc::usageSynopsis() const {
  string_t usage;
  for (const CmdLineParameter& parameter : parameters) {
    const string_t name = prefix.substr(0, 1) + parameter.name + L" (value)";
    usage += parameter.required ? name : L"[" + name + L"](" + parameter.value + L")";
    usage += L" ";
  }
  return usage;
}

}  // namespace vusl
