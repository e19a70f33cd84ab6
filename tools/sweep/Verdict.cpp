#include "tools/sweep/Verdict.h"

#include <algorithm>

#include "platform/host/Imbalances.h"
#include "tools/sweep/Permitted.h"

namespace sweep {
namespace {

bool isListed(const std::string& line) {
  const auto rows = host::imbalances();
  return std::any_of(rows.begin(), rows.end(),
                     [&](const host::Imbalance& row) { return row.text == line; });
}

// Whether nobody can tell, because the log of this scenario has no line of level DEBUG: most
// failures are told there.
bool isQuiet(const Sight& plain) {
  constexpr std::string_view kDebug = "[DBG] ";
  return std::none_of(plain.lines.begin(), plain.lines.end(),
                      [](const std::string& line) { return line.starts_with(kDebug); });
}

bool mayBe(const Sight& plain, const Strike& strike, Outcome outcome) {
  return isPermitted(strike.call, strike.phase, outcome) ||
         (outcome == Outcome::kUnnoticed && isQuiet(plain) &&
          isPermitted(strike.call, strike.phase, Outcome::kTold));
}

}  // namespace

Verdict judgeFault(const Sight& plain, const Sight& faulted, const Strike& strike) {
  Verdict verdict;
  verdict.outcome = outcomeOf(plain, faulted);
  verdict.errors = beyond(faulted.errors, plain.errors);
  verdict.ledger = beyond(faulted.ledger, plain.ledger);
  if (!strike.struck) {
    verdict.reasons.emplace_back("the fault never struck");
    return verdict;
  }
  if (!mayBe(plain, strike, verdict.outcome)) {
    verdict.reasons.push_back("it must not come to \"" + std::string(outcomeText(verdict.outcome)) +
                              "\": " + faulted.endText);
  }
  if (std::string illegal = illegalReport(faulted.statuses); !illegal.empty()) {
    verdict.reasons.push_back(std::move(illegal));
  }
  for (const std::string& line : verdict.errors) {
    if (!isExplained(strike.call, line)) {
      verdict.reasons.push_back("not explained: " + line);
    }
  }
  for (const std::string& line : verdict.ledger) {
    if (!isListed(line) && !isBalanced(strike.call, line)) {
      verdict.reasons.push_back("ledger: " + line);
    }
  }
  return verdict;
}

}  // namespace sweep
