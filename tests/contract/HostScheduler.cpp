// The model's Task Scheduler is there without any help.

#include "tests/contract/TaskFixture.h"

namespace contract {

StandInClass::StandInClass() = default;

StandInClass::~StandInClass() = default;

}  // namespace contract
