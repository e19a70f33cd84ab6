#include "tools/sweep/Verdict.h"

#include <algorithm>

#include "platform/host/FaultTable.h"
#include "platform/host/Imbalances.h"
#include "tools/sweep/Permitted.h"

namespace sweep {
namespace {

bool isListed(const std::string& line) {
  const auto rows = host::imbalances();
  return std::any_of(rows.begin(), rows.end(),
                     [&](const host::Imbalance& row) { return row.text == line; });
}

// Whether nobody can tell, because the log of this scenario is not heard, or has no line of level
// DEBUG: most failures are told there.
bool isQuiet(const Sight& plain) {
  constexpr std::string_view kDebug = "[DBG] ";
  return !plain.isHeard ||
         std::none_of(plain.lines.begin(), plain.lines.end(),
                      [](const std::string& line) { return line.starts_with(kDebug); });
}

bool isPermittedAnytime(std::string_view call, Outcome outcome) {
  const auto rows = permissions();
  return std::any_of(rows.begin(), rows.end(), [&](const Permission& row) {
    bool isNamed = false;
    for (std::size_t i = 0; i < host::kPhases; ++i) {
      isNamed = isNamed || isAbout(row, call, static_cast<host::Phase>(i));
    }
    return isNamed && permits(row, outcome);
  });
}

bool isOn(const Sight& plain, Only machines) {
  switch (machines) {
    case Only::kEverywhere:
      return true;
    case Only::kWithDevices:
      return plain.hasOtherDevices;
    case Only::kWithVariables:
      return plain.hasVariables;
    case Only::kWithTraces:
      return plain.hasTraces;
  }
  return false;
}

bool isPermitted(const Sight& plain, const std::vector<std::string>& newLines, const Strike& strike,
                 Outcome outcome) {
  const auto isTold = [&](const Permission& row) {
    return row.told.empty() || outcome == Outcome::kUnnoticed || isQuiet(plain) ||
           std::any_of(newLines.begin(), newLines.end(), [&](const std::string& line) {
             return line.find(row.told) != std::string::npos;
           });
  };
  const auto rows = permissions();
  return std::any_of(rows.begin(), rows.end(), [&](const Permission& row) {
    return isAbout(row, strike.call, strike.phase) && permits(row, outcome) &&
           (row.times == Times::kAny || (row.times == Times::kFromThenOn) == strike.lasting) &&
           row.error.value_or(strike.error) == strike.error && isOn(plain, row.only) && isTold(row);
  });
}

bool isAbnormal(const Sight& sight) {
  return sight.end == runner::End::kFault || sight.end == runner::End::kTerminate;
}

// A method that does its work and answers with a number that is no failure.
bool isSuccess(const Strike& strike) {
  const host::FaultRow* const row = host::faultRowOf(strike.call);
  constexpr DWORD kFalse = 1;
  return row != nullptr && row->kind == host::FaultKind::kHresult && strike.error == kFalse;
}

bool mayBe(const Sight& plain, const Sight& faulted, const Strike& strike, Outcome outcome) {
  if (isSuccess(strike)) {
    return outcome == Outcome::kUnnoticed;
  }
  const std::vector<std::string> newLines = beyond(faulted.lines, plain.lines);
  const auto isIn = [&](Outcome permitted) {
    return isPermitted(plain, newLines, strike, permitted) ||
           std::any_of(
               strike.alsoFailing.begin(), strike.alsoFailing.end(),
               [&](const std::string& call) { return isPermittedAnytime(call, permitted); });
  };
  switch (outcome) {
    case Outcome::kUnnoticed:
      // The plain run ended in a way that is permitted here, and so does this one.
      return isIn(outcome) || isToldAnyway(strike.call, strike.phase, plain.lines) ||
             (isQuiet(plain) && (isIn(Outcome::kTold) || isIn(Outcome::kErrorAsZero))) ||
             (endOf(faulted) != Outcome::kTold && isIn(endOf(faulted)));
    case Outcome::kTold:
      return isIn(outcome) || isIn(endOf(faulted)) ||
             (isQuiet(plain) && isIn(Outcome::kErrorAsZero));
    case Outcome::kEndsSooner:
      // It did not come to the plain run's abnormal end, or nobody heard why it came to its own.
      return isIn(outcome) || (isAbnormal(plain) && isIn(Outcome::kTold)) ||
             (isQuiet(plain) && isIn(Outcome::kErrorAsZero));
    default:
      return isIn(outcome);
  }
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
  if (!mayBe(plain, faulted, strike, verdict.outcome)) {
    verdict.reasons.push_back("it must not come to \"" + std::string(outcomeText(verdict.outcome)) +
                              "\": " + faulted.endText);
  }
  // A scenario may be about reports that overtake each other: the fault did not cause those.
  if (std::string illegal = illegalReport(faulted.statuses);
      !illegal.empty() && illegal != illegalReport(plain.statuses)) {
    verdict.reasons.push_back(std::move(illegal));
  }
  for (const std::string& line : verdict.errors) {
    if (!isExplained(strike.call, line, verdict.errors) &&
        std::none_of(
            strike.alsoFailing.begin(), strike.alsoFailing.end(),
            [&](const std::string& call) { return isExplained(call, line, verdict.errors); })) {
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
