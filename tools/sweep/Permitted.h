#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host/Nursery.h"
#include "tools/sweep/Outcome.h"

namespace sweep {

// Sets of phases and of outcomes: a bit for each.
using Phases = unsigned;
using Outcomes = unsigned;

// What a failure of a call may come to. This list is closed: what no row permits is an objection.
//
// `calls` is a call's name, or the beginning of several names and "*". A failure may come to
// whatever any row permits that names its call and its phase.
struct Permission {
  std::string_view calls;
  Phases phases;
  Outcomes outcomes;
};
std::span<const Permission> permissions();
bool isPermitted(std::string_view call, host::Phase phase, Outcome outcome);

// A text in log lines of level ERROR and FATAL that the failure of these calls explains.
struct Explanation {
  std::string_view calls;
  std::string_view text;
};
std::span<const Explanation> explanations();
bool isExplained(std::string_view call, std::string_view line);

// Whether the plain run tells of a failure of this call: on that machine it fails anyway, and to be
// told to fail with the same error changes nothing.
bool isToldAnyway(std::string_view call, const std::vector<std::string>& plainLines);

// What stays open, or is let go in vain, because these calls failed: lines of the ledger.
struct Unbalanced {
  std::string_view calls;
  std::string_view line;
};
std::span<const Unbalanced> unbalanced();
bool isBalanced(std::string_view call, std::string_view line);

}  // namespace sweep
