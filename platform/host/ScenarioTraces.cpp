// The sections [trace <session>].

#include <algorithm>
#include <array>

#include "platform/host/ScenarioSections.h"
#include "platform/host/Text.h"

namespace host::scenario {
namespace {

using Value = std::string_view;

// Of a GUID as it is written, in the order of its bytes: where its digits stand.
constexpr Value kGuidForm = "{00000000-0000-0000-0000-000000000000}";

bool isHexDigit(char character) {
  return (character >= '0' && character <= '9') || (character >= 'a' && character <= 'f') ||
         (character >= 'A' && character <= 'F');
}

bool isGuid(Value text) {
  return text.size() == kGuidForm.size() &&
         std::equal(text.begin(), text.end(), kGuidForm.begin(), [](char have, char form) {
           return form == '0' ? isHexDigit(have) : have == form;
         });
}

std::uint32_t hexAt(Value text, std::size_t at, std::size_t digits) {
  return static_cast<std::uint32_t>(std::stoul(std::string(text.substr(at, digits)), nullptr, 16));
}

Reason readGuid(Value text, GUID& guid) {
  if (!isGuid(text)) {
    return inQuotes(text) + " is no GUID (as in \"{5c4c3332-344d-483c-8739-259e934c9cc8}\")";
  }
  constexpr std::array<std::size_t, 8> kLastBytes = {20, 22, 25, 27, 29, 31, 33, 35};
  guid.Data1 = hexAt(text, 1, 8);
  guid.Data2 = static_cast<USHORT>(hexAt(text, 10, 4));
  guid.Data3 = static_cast<USHORT>(hexAt(text, 15, 4));
  for (std::size_t i = 0; i < kLastBytes.size(); ++i) {
    guid.Data4[i] = static_cast<UCHAR>(hexAt(text, kLastBytes[i], 2));
  }
  return std::nullopt;
}

Reason readProvider(Value value, Value /*name*/, Scenario& scenario) {
  return readGuid(value, scenario.traces.back().provider);
}

Reason readLevel(Value value, Value /*name*/, Scenario& scenario) {
  std::uint32_t level = 0;
  const Reason reason = readNumber(value, UINT8_MAX, level);
  scenario.traces.back().filter.level = static_cast<UCHAR>(level);
  return reason;
}

Reason readEnabled(Value value, Value /*name*/, Scenario& scenario) {
  return readYesNo(value, scenario.traces.back().enabled);
}

constexpr std::array kTraceKeys = {
    Key{"provider", false, false, readProvider},
    Key{"level", false, false, readLevel},
    Key{"enabled", false, false, readEnabled},
};

}  // namespace

std::span<const Key> traceKeys() {
  return kTraceKeys;
}

Reason openTrace(Value argument, Scenario& scenario) {
  // The actions name it, and there a word more is a level.
  if (wordsOf(argument).size() != 1) {
    return "the name of a trace session must be one word";
  }
  scenario.traces.emplace_back().session = argument;
  return std::nullopt;
}

Reason checkTrace(const Action& action, const Scenario& scenario) {
  if (action.kind != Action::Kind::kEnableTrace && action.kind != Action::Kind::kDisableTrace) {
    return std::nullopt;
  }
  const std::string name = toUtf8(action.subject);
  std::vector<Value> known;
  for (const ScenarioTrace& trace : scenario.traces) {
    known.push_back(trace.session);
  }
  if (std::find(known.begin(), known.end(), name) != known.end()) {
    return std::nullopt;
  }
  return "there is no section [trace " + name + "]" + hintFor(name, known);
}

}  // namespace host::scenario
