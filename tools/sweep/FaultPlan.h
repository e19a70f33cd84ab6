#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "platform/host/Nursery.h"

namespace sweep {

// A place of the plain run at which calls are made to fail.
struct Place {
  std::uint16_t call = 0;  // place in callsThatCanFail
  unsigned nth = 1;        // the nth call of that name
  host::Phase phase = host::Phase::kLoading;
};

// Where one scenario's faults go.
struct FaultPlan {
  std::vector<Place> places;
  std::size_t calls = 0;  // of the plain run, of names that can fail
};

// Chooses the places from the calls of a plain run.
//
// Equal work is left out: calls of one name, made by one thread in one phase, behind the same six
// calls of that thread, are turns of one loop. Of those the first two and the last are taken. The
// first two because a second turn finds what the first left; the last because what comes after the
// loop finds what it left.
FaultPlan planFaults(std::span<const host::WatchedCall> calls);

}  // namespace sweep
