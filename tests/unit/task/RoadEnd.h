#pragma once

#include <cstddef>
#include <string>

#include "tests/unit/task/TaskRoads.h"

// What the table of a road says of a failure on it.
namespace roads {

// A call of a road.
struct Place {
  const Road* road;
  std::size_t index;

  const Step& step() const { return road->steps[index]; }
};

// What a failure must lead to.
struct RoadEnd {
  Texts trace;       // the whole of it
  Texts left;        // the calls that gave the references which are never given back
  Texts violations;  // what the ledger says
  Failure end = Failure::kGoesOn;
  std::wstring stored;  // the stored path, or "no task"
};

// The steps' texts from `first` up to `last`, which is not among them.
Texts textsOf(const Road& road, std::size_t first, std::size_t last);

// The call at the place fails; those behind it do not.
RoadEnd afterOneFailure(const Place& place);

// The call at the place fails, and so does every one behind it: the first failure that is looked at
// decides.
RoadEnd afterAllFail(const Place& place);

}  // namespace roads
