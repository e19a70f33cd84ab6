#include "tools/sweep/Verdict.h"

#include <algorithm>

#include "platform/host/Imbalances.h"

namespace sweep {
namespace {

bool isListed(const std::string& line) {
  const auto rows = host::imbalances();
  return std::any_of(rows.begin(), rows.end(),
                     [&](const host::Imbalance& row) { return row.text == line; });
}

}  // namespace

Verdict judgeFault(const Sight& plain, const Sight& faulted, const Strike& strike) {
  Verdict verdict;
  verdict.outcome = outcomeOf(plain, faulted);
  verdict.errors = beyond(faulted.errors, plain.errors);
  if (!strike.struck) {
    verdict.reasons.push_back("the fault never struck");
    return verdict;
  }
  if (std::string illegal = illegalReport(faulted.statuses); !illegal.empty()) {
    verdict.reasons.push_back(std::move(illegal));
  }
  for (const std::string& line : beyond(faulted.ledger, plain.ledger)) {
    verdict.ledger.push_back((isListed(line) ? "listed: " : "") + line);
  }
  return verdict;
}

}  // namespace sweep
