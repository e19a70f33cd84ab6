#include "VUSL/Support/CmdLineProc.h"

#include <algorithm>
#include <locale>
#include <string>
#include <string_view>
#include <utility>
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

// Asks the facet for other characters than ASCII alone: it takes as long as the rest of the
// comparison.
wchar_t lowered(wchar_t character) {
  constexpr wchar_t kBehindAscii = 0x80;
  if (character >= L'A' && character <= L'Z') {
    return static_cast<wchar_t>(character - L'A' + L'a');
  }
  return character < kBehindAscii ? character : characters().tolower(character);
}

string_t lowered(std::wstring_view text) {
  string_t lower(text);
  for (wchar_t& character : lower) {
    character = lowered(character);
  }
  return lower;
}

// The same as `lowered(one) == lowered(other)`, without the texts in between.
bool isEqualLowered(std::wstring_view one, std::wstring_view other) {
  const auto isSame = [](wchar_t left, wchar_t right) { return lowered(left) == lowered(right); };
  return std::equal(one.begin(), one.end(), other.begin(), other.end(), isSame);
}

// An empty alias is none: a prefix alone must not name every record that has no alias.
bool isNamed(const CmdLineParameter& parameter, std::wstring_view name) {
  return isEqualLowered(parameter.name, name) ||
         (!parameter.alias.empty() && isEqualLowered(parameter.alias, name));
}

bool isPrompting(const CmdLineParameter& parameter) {
  return parameter.kind == CmdLineParameterKind::PromptConfirmed ||
         parameter.kind == CmdLineParameterKind::PromptPlain;
}

}  // namespace

// What one parse knows of a record while there are companions or prompts to think of. Each
// question is answered once, however often the record is given: a long line costs its arguments
// times the records, and no more.
struct CmdLineProc::RecordState {
  // How many of those seen, from the first on, allow the record. What they allow does not change.
  size_t allowedBy = 0;
  // Whether it is among those seen, or left out for good.
  bool noted = false;
};

// How far one parse has got.
struct CmdLineProc::ParseState {
  int argc;
  const wchar_t* const* argv;
  int i = 1;
  std::vector<RecordState> records;  // None, or one for each of `parameters`, in their order.
  // Those with companions and those that prompt: what comes later asks for no others.
  std::vector<const CmdLineParameter*> seen;
  // The names, as they were given, whose records are to be asked for.
  std::vector<std::wstring_view> prompts;
};

CmdLineProc::CmdLineProc(const string_t& prefixCharacters, std::ostream& output,
                         std::istream& input)
    : prefix(prefixCharacters), out(&output), in(&input) {}

CmdLineGroup& CmdLineProc::addGroup(string_t name) {
  return groups.emplace_back(CmdLineGroup{this, {}, std::move(name)});
}

CmdLineParameter& CmdLineProc::addParameter(CmdLineGroup& group, string_t name) {
  group.members.emplace_back(name);
  return parameters.emplace_back(std::move(name));
}

void CmdLineProc::parseCommandLine(int argc, const wchar_t* const* argv) {
  ParseState state{argc, argv, 1, {}, {}, {}};
  while (state.i < state.argc) {
    parseArgument(state);
  }
  requireRequired();
  refuseConflicts();
  runDeferredPrompts(state);
}

void CmdLineProc::parseArgument(ParseState& state) {
  const std::wstring_view argument(state.argv[state.i]);
  if (argument.empty() || !isPrefix(lowered(argument.front()))) {
    throw InvalidInputError(kNotAllowedHere) << Narrow(lowered(argument)) << firstPrefix();
  }
  const std::wstring_view name = argument.substr(1);
  if (name == kUsageRequest) {
    throw CmdLineExc() << Narrow(usageSynopsis());
  }

  bool matched = false;
  size_t place = 0;
  for (CmdLineParameter& parameter : parameters) {
    const size_t own = place++;
    if (!isNamed(parameter, name)) {
      continue;
    }
    if (!state.seen.empty()) {
      checkCompanions(state, name, parameter, state.records[own]);
    }
    // A second record that the same argument names gets the position behind the name, or behind
    // the value that the first one took. That is deliberate: it takes its own value from there, and
    // what counts is that both are seen.
    parameter.index = state.i;
    if (!matched) {
      ++state.i;
    }
    matched = true;
    if (!isPrompting(parameter)) {
      takeValue(state, parameter);
    }
    if (isPrompting(parameter) || !parameter.companions.empty()) {
      state.records.resize(parameters.size());
      note(state, name, parameter, state.records[own]);
    }
  }
  if (!matched) {
    throw InvalidInputError(kUnknownParameter) << Narrow(lowered(name)) << firstPrefix();
  }
}

void CmdLineProc::checkCompanions(const ParseState& state, std::wstring_view name,
                                  const CmdLineParameter& parameter, RecordState& known) const {
  // Only the lists of parameters seen earlier count, not the one of this parameter. That is
  // deliberate: a list says what may come after its parameter, and checking both ways would refuse
  // orders that are allowed.
  if (known.allowedBy == state.seen.size()) {
    return;
  }
  const string_t& candidate = parameter.name;
  const auto isCandidate = [&](const string_t& companion) {
    return isEqualLowered(companion, candidate);
  };
  for (; known.allowedBy < state.seen.size(); ++known.allowedBy) {
    const CmdLineParameter& earlier = *state.seen[known.allowedBy];
    const std::list<string_t>& allowed = earlier.companions;
    if (allowed.empty() || isNamed(earlier, candidate)) {
      continue;
    }
    if (std::none_of(allowed.begin(), allowed.end(), isCandidate)) {
      throw InvalidInputError(kNotAllowedHere) << Narrow(lowered(name)) << firstPrefix();
    }
  }
}

void CmdLineProc::note(ParseState& state, std::wstring_view name, const CmdLineParameter& parameter,
                       RecordState& known) {
  if (known.noted) {
    return;
  }
  known.noted = true;
  if (isPrompting(parameter)) {
    const auto isAskedFor = [&](const CmdLineParameter* earlier) {
      return isPrompting(*earlier) && isEqualLowered(earlier->name, parameter.name);
    };
    // A name is asked for once, under the argument that was the first to name it.
    if (std::any_of(state.seen.begin(), state.seen.end(), isAskedFor)) {
      return;
    }
    state.prompts.emplace_back(name);
  }
  state.seen.push_back(&parameter);
}

void CmdLineProc::takeValue(ParseState& state, CmdLineParameter& parameter) const {
  if (parameter.kind == CmdLineParameterKind::NoValue) {
    return;
  }
  if (state.i < state.argc && !isPrefix(*state.argv[state.i])) {
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
  for (const std::wstring_view name : state.prompts) {
    for (CmdLineParameter& parameter : parameters) {
      if (isNamed(parameter, name)) {
        askForValue(parameter);
      }
    }
  }
}

bool CmdLineProc::isPrefix(wchar_t character) const {
  // The end of an empty argument is none of its characters.
  return character != L'\0' && prefix.find(character) != string_t::npos;
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
