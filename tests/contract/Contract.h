#pragma once

#include <gtest/gtest.h>

#include "platform/win32.h"
#include "tests/contract/Surroundings.h"

// The contract suite: what the product relies on when it calls the platform, each promise a test of
// its own, built twice from one source: over the model, and for Windows, to be run under Wine. A
// test's suite is the name of the call, with "_" for the "::" of a method.
//
// What is the same on both needs no word. Where Wine does otherwise than Windows, the test says so
// in place, with a reason, and the table of calls that a run makes tells of it.
namespace contract {

enum class Seen { kSame, kDiffers, kWithStandIn, kNotAtAll };

// Notes for the running test's row of the table how its promise is seen under Wine, and why.
void note(Seen seen, const char* reason);

// Whether this is the build that runs under Wine.
#ifdef _WIN32
inline constexpr bool kUnderWine = true;
#else
inline constexpr bool kUnderWine = false;
#endif

// What the test expects of the platform it runs on: what Windows promises over the model, and what
// Wine does instead under Wine. The second is held as firmly as the first, so that a Wine that has
// learnt it shows here.
template <class Value>
Value butUnderWine(Value promised, Value wine, const char* reason) {
  note(Seen::kDiffers, reason);
  return kUnderWine ? wine : promised;
}

// Of this test's promise platform/wine's stand-in is what keeps it under Wine, for this reason.
inline void keptByStandIn(const char* reason) {
  note(Seen::kWithStandIn, reason);
}

}  // namespace contract

// Ends the test under Wine, where it cannot be seen whether the promise is kept.
#define UNSEEN_UNDER_WINE(reason)                    \
  contract::note(contract::Seen::kNotAtAll, reason); \
  if (contract::kUnderWine) return
