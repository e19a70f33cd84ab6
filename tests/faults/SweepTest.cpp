#include "tools/sweep/Sweep.h"

#include <gtest/gtest.h>

#include <sstream>

#include "tools/sweep/SweepReport.h"

namespace sweep {
namespace {

SweepResult swept(const SweepOptions& options) {
  const auto ran = runSweep(options);
  if (const auto* refusal = std::get_if<std::string>(&ran)) {
    ADD_FAILURE() << *refusal;
    return {};
  }
  return std::get<SweepResult>(ran);
}

TEST(SweepTest, RefusesAScenarioThatIsNotThere) {
  const auto ran = runSweep({.scenarios = {"help-option", "fist-boot"}});
  ASSERT_TRUE(std::holds_alternative<std::string>(ran));
  EXPECT_EQ(std::get<std::string>(ran), "there is no scenario fist-boot; did you mean first-boot?");
}

// That life makes a mutex and a section, each of which fails in three ways, and then comes to the
// mutex that its scenario refuses. Nothing is called after a failure.
TEST(SweepTest, MakesEachCallFailWithEachOfItsErrors) {
  const SweepResult result = swept({.scenarios = {"second-mutex-refused-at-load"}});
  EXPECT_EQ(result.places, 2U);
  EXPECT_EQ(result.lives, 6U);
  EXPECT_EQ(result.same, 6U);
  EXPECT_EQ(result.tried.size(), 12U);
  EXPECT_TRUE(result.objections.empty());
}

TEST(SweepTest, DoesWhatLastsOnlyWhereItCanDiffer) {
  const SweepResult result = swept({.scenarios = {"help-option"}});
  EXPECT_GT(result.lives, result.same);
  EXPECT_TRUE(result.objections.empty());
  EXPECT_EQ(result.idle, 0U);
}

TEST(SweepTest, OneInSoManyFaultsOnJobsSideBySide) {
  const SweepResult all = swept({.scenarios = {"help-option"}, .jobs = 2});
  const SweepResult some = swept({.scenarios = {"help-option"}, .jobs = 2, .every = 10});
  // Each fault is a life and another that lasts, or one that need not be lived; the first fault is
  // among those that are taken.
  EXPECT_EQ(((all.lives + all.same) / 2 + 9) / 10, (some.lives + some.same) / 2);
}

TEST(SweepReportTest, TellsAnObjectionWithItsReasons) {
  SweepResult result;
  result.objections = {{"first-boot: fail CreateEventW 1 with 5", {"one", "two"}}};
  std::ostringstream out;
  printObjections(out, result);
  EXPECT_EQ(out.str(), "first-boot: fail CreateEventW 1 with 5\n    one\n    two\n");
}

TEST(SweepReportTest, NamesTheProductsCallsThatNothingReaches) {
  SweepResult result;
  std::ostringstream out;
  printFigures(out, result, std::chrono::seconds(1));
  EXPECT_NE(out.str().find(" WaitForMultipleObjects"), std::string::npos);
  result.reached = {"WaitForMultipleObjects"};
  std::ostringstream reached;
  printFigures(reached, result, std::chrono::seconds(1));
  EXPECT_EQ(reached.str().find(" WaitForMultipleObjects"), std::string::npos);
}

TEST(SweepReportTest, NamesWhatWasNotTriedWithTheReason) {
  SweepResult result;
  result.untried = untriedCells({{"CreateProcessW", 5, false, host::Phase::kLoading, false}}, {});
  std::ostringstream out;
  printFigures(out, result, std::chrono::seconds(1));
  EXPECT_NE(out.str().find("\nNot tried in 1 ways, because only the run makes the call:\n"
                           "  CreateProcessW: loading\n"),
            std::string::npos);
}

}  // namespace
}  // namespace sweep
