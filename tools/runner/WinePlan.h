#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "platform/host/Scenario.h"

namespace runner {

// Why the Windows program cannot live through the scenario under Wine; nothing if it can. A
// scenario that does not say, or that asks for what only the model has, cannot.
std::optional<std::string> whyNotUnderWine(const host::Scenario& scenario);

// What the scenario asks for that only the model has, such as a call that fails; nothing if there
// is nothing of that kind.
std::optional<std::string> whatOnlyTheModelHas(const host::Scenario& scenario);

// The scenario's part that happens inside the platform, as the program that watches a run from
// inside reads it (platform/wine/Plan.h).
std::string winePlan(const host::Scenario& scenario);

// What the scenario's machine has in its registry, as text to be put behind a prefix's own
// `system.reg`: client stack, devices, keys, environment, and what lets the program find the
// stand-ins for what Wine lacks.
std::string wineRegistry(const host::Scenario& scenario);

// The file of the service's program on the machine's drive, and one in the same folder.
std::wstring serviceProgramOf(const host::Scenario& scenario);
std::wstring fileBesideProgram(const host::Scenario& scenario, const std::wstring& name);

}  // namespace runner
