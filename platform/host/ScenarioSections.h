#pragma once

#include <span>
#include <string_view>

#include "platform/host/ScenarioText.h"

// The sections that a scenario may have, and what their lines mean. Used by the parser alone.
namespace host::scenario {

// A key of a section whose lines read "key = value".
struct Key {
  std::string_view name;
  bool repeats = false;
  // Whether a word of the writer's follows: "environment NAME = value".
  bool isNamed = false;
  Reason (*read)(std::string_view value, std::string_view name, Scenario& scenario) = nullptr;
};

struct Section {
  std::string_view name;
  // What stands behind the name in the brackets, in words; empty if nothing may.
  std::string_view argument;
  // Lines are kept as they stand, blank ones too.
  bool isVerbatim = false;
  // For sections of keys.
  std::span<const Key> keys;
  // For all others.
  Reason (*readLine)(std::string_view line, Scenario& scenario, int lineNumber) = nullptr;
  Reason (*open)(std::string_view argument, Scenario& scenario) = nullptr;
};

// The one section whose lines may begin with a bracket. Its lines may be repeated, and so may those
// of [calls].
inline constexpr std::string_view kExpectedSection = "expected";
inline constexpr std::string_view kCallsSection = "calls";

std::span<const Section> sections();

// Of [machine].
std::span<const Key> machineKeys();

// Of [trace <session>]: its keys, and what its head begins.
std::span<const Key> traceKeys();
Reason openTrace(std::string_view argument, Scenario& scenario);
// Whether an action that names a session names one that there is.
Reason checkTrace(const Action& action, const Scenario& scenario);

}  // namespace host::scenario
