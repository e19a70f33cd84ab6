#pragma once

#include <cstdint>

#include "platform/host/Scenario.h"

namespace host {

// The scenario that this process is a life of, or null in any other process (tests, tools).
const Scenario* lifeScenario();

// The exit code that the life's end will report.
void setExitCode(std::int32_t code);

}  // namespace host
