// The text of a scenario: read or refused at a line of its own, whatever line ends it has and
// whatever comment stands at its end.

#include <algorithm>
#include <string>
#include <variant>

#include "platform/host/Scenario.h"
#include "tests/fuzz/Fuzz.h"

namespace fuzz {
namespace {

using Parsed = std::variant<host::Scenario, host::ScenarioError>;

// Some of what a scenario says, enough to tell two apart.
bool isSame(const host::Scenario& one, const host::Scenario& other) {
  return one.about == other.about && one.after == other.after && one.limit == other.limit &&
         one.arguments == other.arguments && one.environment == other.environment &&
         one.files.size() == other.files.size() && one.devices.size() == other.devices.size() &&
         one.faults.size() == other.faults.size() && one.script.size() == other.script.size() &&
         one.clientScript == other.clientScript && one.expected == other.expected &&
         one.calls == other.calls && one.imbalances == other.imbalances &&
         one.end.kind == other.end.kind;
}

bool isSame(const Parsed& one, const Parsed& other) {
  if (one.index() != other.index()) {
    return false;
  }
  if (const auto* error = std::get_if<host::ScenarioError>(&one)) {
    const auto& another = std::get<host::ScenarioError>(other);
    return error->line == another.line && error->reason == another.reason;
  }
  return isSame(std::get<host::Scenario>(one), std::get<host::Scenario>(other));
}

std::string withReturns(std::string_view text) {
  std::string with;
  for (const char character : text) {
    with += character == '\n' ? "\r\n" : std::string(1, character);
  }
  return with;
}

}  // namespace

void runScenarioText(std::string_view bytes) {
  const Parsed parsed = host::parseScenario("fuzz", bytes);
  if (const auto* error = std::get_if<host::ScenarioError>(&parsed)) {
    const auto lines = 1 + std::count(bytes.begin(), bytes.end(), '\n');
    require(error->line >= 1 && error->line <= lines, "a fault is told at a line of the text");
    require(!error->reason.empty(), "a fault is told with a reason");
  } else {
    const std::string commented = std::string(bytes) + "\n# the end\n";
    require(isSame(parsed, host::parseScenario("fuzz", commented)), "a comment changes nothing");
  }
  if (bytes.find('\r') == std::string_view::npos) {
    require(isSame(parsed, host::parseScenario("fuzz", withReturns(bytes))),
            "the kind of line ends changes nothing");
  }
}

}  // namespace fuzz
