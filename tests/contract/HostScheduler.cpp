// The model's Task Scheduler is there without any help.

#include "tests/contract/TaskFixture.h"

namespace contract {

SchedulersClass::SchedulersClass() {
  keptByStandIn(
      "Wine's own scheduler has no event triggers, idle settings or reading of an action");
}

SchedulersClass::~SchedulersClass() = default;

}  // namespace contract
