#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace host {

struct Scenario;

// Something that required behaviour leaves open or releases too often.
struct Imbalance {
  std::string_view name;    // in scenarios; rows with the same name come together
  std::string_view text;    // the ledger's line, whole
  std::string_view reason;  // why it is required
};

// All that there is: whatever else the ledger has fails every run.
std::span<const Imbalance> imbalances();

// Each name once, in the order of the list.
std::vector<std::string_view> imbalanceNames();

// How a line of `comparedLedger` begins that went as the scenario says.
inline constexpr std::string_view kNamedImbalance = "named: ";

// Holds the ledger's lines against what a scenario names, by name and how often. Each line comes
// back with a word ahead of it, and what did not come at all stands behind them:
//
//   named: <line> (<reason>)
//   unnamed: <line>             more often than named, or never named, or in no list
//   missing: <line> (<name>)
std::vector<std::string> comparedLedger(const std::map<std::string, unsigned>& named,
                                        const std::vector<std::string>& lines);

// Reports these lines of the ledger as the scenario sees them.
void reportLedger(const Scenario& scenario, const std::vector<std::string>& lines);

}  // namespace host
