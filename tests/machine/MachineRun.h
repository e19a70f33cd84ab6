#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "tools/runner/Judge.h"
#include "tools/runner/RunResult.h"
#include "tools/runner/ScenarioCatalog.h"

// A scenario that was run to its end, on a drive of its own.
struct MachineRun {
  host::Scenario scenario;
  runner::RunResult result;
  // Everything that the run tool would print for it, the summary included.
  std::string printed;
  std::vector<runner::Difference> differences;

  // The texts of the records of a kind, in order.
  std::vector<std::string> textsOf(host::ReportKind kind) const;

  // The differences and what the life wrote on its own, for a failed test.
  std::string complaint() const;
};

struct MachineRunOptions {
  std::uint64_t seed = 0;
  bool realTime = false;
};

// Runs a scenario of the source tree by its name, or one from a file. A scenario that is not right
// or cannot be started fails the test.
MachineRun runNamed(const std::string& name, const MachineRunOptions& options = {});
MachineRun runFile(const std::filesystem::path& file, const MachineRunOptions& options = {});

// The names of all scenarios of the source tree.
const std::vector<std::string>& scenarioNames();

// What a test is called that has a scenario's name for its parameter: letters and digits only.
std::string testName(const ::testing::TestParamInfo<std::string>& parameter);
