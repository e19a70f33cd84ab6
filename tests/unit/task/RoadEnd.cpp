#include "tests/unit/task/RoadEnd.h"

namespace roads {
namespace {

constexpr char kSave[] = "ITaskFolder::RegisterTaskDefinition";
// The end of the line of a call that failed because it was told to.
const std::string kTold = ": 80070005";

std::size_t placeOf(const Road& road, const std::string& call) {
  std::size_t at = 0;
  while (road.steps.at(at).call() != call) ++at;
  return at;
}

// The road ends at a failed call.
RoadEnd endedAt(const Place& place) {
  const Step& step = place.step();
  RoadEnd end;
  end.trace = textsOf(*place.road, 0, place.index + 1);
  end.trace.insert(end.trace.end(), step.after.begin(), step.after.end());
  end.left = step.left;
  end.violations = step.violations;
  end.end = step.failure;
  end.stored = place.road->before;
  return end;
}

// The road ends as it would without the failure.
RoadEnd walkedThrough(const Place& place) {
  RoadEnd end;
  end.trace = textsOf(*place.road, 0, place.road->steps.size());
  end.stored = place.step().losesThePath ? place.road->before : place.road->after;
  return end;
}

// Nobody looked at the failure, but the scheduler refuses to store what comes of it.
RoadEnd refused(const Place& place) {
  RoadEnd end = endedAt({place.road, placeOf(*place.road, kSave)});
  for (std::string& text : end.trace) {
    if (!text.ends_with(kTold)) continue;
    text.replace(text.size() - kTold.size(), kTold.size(), ": " + place.step().refusal);
  }
  return end;
}

bool decides(const Step& step) {
  return step.failure == Failure::kStops || step.failure == Failure::kDies;
}

}  // namespace

Texts textsOf(const Road& road, std::size_t first, std::size_t last) {
  Texts texts;
  for (std::size_t i = first; i < last; ++i) texts.push_back(road.steps[i].text);
  return texts;
}

RoadEnd afterOneFailure(const Place& place) {
  const Step& step = place.step();
  if (step.failure != Failure::kGoesOn) return endedAt(place);
  return step.refusal.empty() ? walkedThrough(place) : refused(place);
}

RoadEnd afterAllFail(const Place& place) {
  Place deciding = place;
  const std::size_t count = place.road->steps.size();
  while (deciding.index < count && !decides(deciding.step())) ++deciding.index;
  if (deciding.index == count) return walkedThrough(place);
  const Step& step = deciding.step();
  RoadEnd end = endedAt(deciding);
  if (step.afterIfAllFail.empty()) return end;
  end.trace = textsOf(*place.road, 0, deciding.index + 1);
  end.trace.insert(end.trace.end(), step.afterIfAllFail.begin(), step.afterIfAllFail.end());
  return end;
}

}  // namespace roads
