#include "tools/sweep/Cells.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tools/runner/ScenarioRun.h"

namespace sweep {
namespace {

using host::Phase;

std::set<Cell> all() {
  return allCells(runner::scenarioFolder().parent_path());
}

bool hasReason(const Cell& cell) {
  return untriedCells({cell}, {}).findings.empty();
}

TEST(CellsTest, EachCallFailsInEachPhaseWithEachErrorOnceAndFromThenOn) {
  const std::set<Cell> cells = all();
  const auto of = [&](std::string_view call) {
    return std::count_if(cells.begin(), cells.end(),
                         [&](const Cell& cell) { return cell.call == call; });
  };
  // 7 phases, once and from then on: with 3 errors and one after its work, with 2, with none.
  EXPECT_EQ(of("CreateProcessW"), 7 * 2 * 4);
  EXPECT_EQ(of("OpenEventW"), 7 * 2 * 2);
  EXPECT_EQ(of("Sleep"), 0);
  // The product does not call it.
  EXPECT_EQ(of("IExecAction::put_Arguments"), 0);
}

TEST(CellsTest, WhatWasNotTriedAndHasNoReasonIsAFinding) {
  const Cell launch{"CreateProcessW", 5, false, Phase::kRunning, false};
  EXPECT_EQ(untriedCells({launch}, {}).findings,
            std::vector<std::string>{"CreateProcessW, once, with 5, running: not tried, and "
                                     "nothing says why"});
  EXPECT_TRUE(untriedCells({launch}, {launch}).findings.empty());
}

TEST(CellsTest, WhatWasTriedAndWasNotToComeIsAFinding) {
  const Cell launch{"CreateProcessW", 5, true, Phase::kLoading, true};
  EXPECT_EQ(untriedCells({launch}, {launch}).findings,
            std::vector<std::string>{"CreateProcessW, from then on, with 5 after its work, "
                                     "loading: tried, and was not to come"});
}

TEST(CellsTest, WhatHasAReasonIsGatheredUnderIt) {
  const Cell launch{"CreateProcessW", 5, false, Phase::kLoading, false};
  const Cell further{"CreateProcessW", 5, false, Phase::kStopped, false};
  const Untried untried = untriedCells({launch, further}, {});
  ASSERT_EQ(untried.byReason.size(), 1U);
  EXPECT_EQ(untried.byReason.begin()->second.at("CreateProcessW"),
            in(Phase::kLoading) | in(Phase::kStopped));
  EXPECT_EQ(untried.cells.begin()->second, 2U);
}

// A place where nothing may come of a failure must be one that no run comes to.
TEST(CellsTest, WhereNoRowPermitsAnythingThereIsAReason) {
  const auto rows = permissions();
  for (const Cell& cell : all()) {
    if (std::none_of(rows.begin(), rows.end(),
                     [&](const Permission& row) { return isAbout(row, cell.call, cell.phase); })) {
      EXPECT_TRUE(hasReason(cell)) << cell.call << ", " << phaseText(cell.phase);
    }
  }
}

TEST(CellsTest, EachReasonIsAboutACallOfTheProduct) {
  const std::set<Cell> cells = all();
  for (const NotTried& row : notTried()) {
    EXPECT_TRUE(std::any_of(cells.begin(), cells.end(), [&](const Cell& cell) {
      return isAmong(cell.call, row.calls) && (row.phases & in(cell.phase)) != 0;
    })) << row.calls;
  }
}

}  // namespace
}  // namespace sweep
