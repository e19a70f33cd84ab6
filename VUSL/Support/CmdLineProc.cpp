#include "VUSL/Support/CmdLineProc.h"

#include <algorithm>
#include <locale>
#include <string>

#include "VUSL/Support/CmdLineExc.h"
#include "VUSL/Support/Exception.h"
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

string_t lowered(string_t text) {
  const std::locale& locale = std::locale::classic();
  for (wchar_t& character : text) {
    character = std::tolower(character, locale);
  }
  return text;
}

// An empty alias is none, so an empty name matches nothing.
bool isNamed(const CmdLineParameter& parameter, const string_t& loweredName) {
  return !loweredName.empty() &&
         (lowered(parameter.name) == loweredName || lowered(parameter.alias) == loweredName);
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
  std::list<CmdLineParameter> seen;
  std::list<DeferredPrompt> prompts;
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
  runDeferredPrompts(state.prompts);
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
  for (const CmdLineParameter& earlier : state.seen) {
    if (earlier.companions.empty() || isNamed(earlier, candidate)) {
      continue;
    }
    const auto isCandidate = [&](const string_t& companion) {
      return lowered(companion) == candidate;
    };
    if (std::none_of(earlier.companions.begin(), earlier.companions.end(), isCandidate)) {
      throw InvalidInputError(kNotAllowedHere) << Narrow(name) << firstPrefix();
    }
  }
}

void CmdLineProc::applyMatch(ParseState& state, const string_t& name, CmdLineParameter& parameter) {
  if (isPrompting(parameter)) {
    const auto isRepeated = [&](const CmdLineParameter& earlier) {
      return lowered(earlier.name) == lowered(parameter.name) && isPrompting(earlier);
    };
    if (std::any_of(state.seen.begin(), state.seen.end(), isRepeated)) {
      return;
    }
    state.prompts.push_back({name, state.i});
  } else {
    takeValue(state, parameter);
  }
  state.seen.push_back(parameter);
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
    for (const CmdLineParameter& member : group.members) {
      names += (names.empty() ? "" : kGroupNameSeparator) + Narrow(member.name);
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

void CmdLineProc::runDeferredPrompts(const std::list<DeferredPrompt>& prompts) {
  for (const DeferredPrompt& prompt : prompts) {
    for (CmdLineParameter& parameter : parameters) {
      if (isNamed(parameter, prompt.argument)) {
        askForValue(parameter);
      }
    }
  }
}

void CmdLineProc::askForValue(CmdLineParameter& /*parameter*/) {
  // The console is not asked yet. A refusal, because an empty value would pass for an answer.
  throw Exception("CmdLineProc::askForValue") << "Not supported.";
}

bool CmdLineProc::beginsWithPrefix(const string_t& argument) const {
  return !argument.empty() && prefix.find(argument.front()) != string_t::npos;
}

char CmdLineProc::firstPrefix() const {
  return *Narrow(prefix.substr(0, 1)).c_str();
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
