// Faults planted in the service, each of which the simulation must find within a fixed number of
// seeds. What finds none of them is worth nothing.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <variant>

#include "tools/simulate/Simulation.h"

namespace {

using ::testing::Contains;
using ::testing::HasSubstr;

constexpr std::uint64_t kMostSeeds = 400;

std::filesystem::path planted(const std::string& name) {
  return std::filesystem::path(PLANTED_DIR) / name;
}

simulate::SimulationResult resultWith(const std::string& name) {
  simulate::SimulationOptions options;
  options.seeds = kMostSeeds;
  options.endsAtFirst = true;
  options.service = planted(name);
  auto ran = simulate::runSimulation(options);
  if (auto* refusal = std::get_if<std::string>(&ran)) {
    ADD_FAILURE() << *refusal;
    return {};
  }
  return std::get<simulate::SimulationResult>(std::move(ran));
}

void expectFound(const std::string& name, const std::string& promise) {
  const simulate::SimulationResult result = resultWith(name);
  ASSERT_FALSE(result.failures.empty()) << name << " was not found in " << result.seeds << " seeds";
  EXPECT_THAT(result.failures.front().broken, Contains(HasSubstr(promise)));
}

std::unique_ptr<simulate::CaseRunner> runnerOf(const std::filesystem::path& service) {
  auto made = simulate::CaseRunner::make(service);
  if (auto* refusal = std::get_if<std::string>(&made)) {
    ADD_FAILURE() << *refusal;
    return nullptr;
  }
  return std::get<std::unique_ptr<simulate::CaseRunner>>(std::move(made));
}

TEST(PlantedBugTest, GoalThatIsSetTooEarlyIsFound) {
  expectFound("goal_too_early", "the loop ended with a goal open and without a stop");
}

TEST(PlantedBugTest, StopThatStaysSignalledIsFound) {
  expectFound("stop_stays_signalled", "a stop was seen that did not come, or that had been taken");
}

TEST(PlantedBugTest, RetryWithoutAWaitIsFound) {
  expectFound("retry_without_wait", "without a wait");
}

TEST(PlantedBugTest, TransactionThatIsRunAgainIsFound) {
  expectFound("transaction_again", "a transaction was run again after it counted as done");
}

TEST(PlantedBugTest, StopThatIsNotActedOnIsFound) {
  expectFound("stop_goes_on", "the loop went on after a stop");
}

TEST(PlantedBugTest, StopThatIsNotHandedOnIsFound) {
  expectFound("stop_not_handed_on", "a stop was taken and never handed on");
}

TEST(PlantedBugTest, WaitWithoutEndIsFound) {
  expectFound("wait_without_end", "a wait lasts longer than it is to last");
}

TEST(PlantedBugTest, CheckPointThatDoesNotRiseIsFound) {
  expectFound("check_point_stays", "the check-point did not rise");
}

// The case is made short, still fails, and fails because of the planted fault alone.
TEST(PlantedBugTest, CaseOfAPlantedFaultIsMadeShort) {
  const simulate::SimulationResult result = resultWith("transaction_again");
  ASSERT_FALSE(result.failures.empty());
  const simulate::SimulationFailure& failure = result.failures.front();
  const auto faulty = runnerOf(planted("transaction_again"));
  ASSERT_NE(faulty, nullptr);
  const std::string text = simulate::shrunkCase(*faulty, failure.text, failure.broken);
  const auto lines = [](const std::string& one) {
    return std::count(one.begin(), one.end(), '\n');
  };
  EXPECT_LE(lines(text), 14) << text;
  EXPECT_LT(lines(text), lines(failure.text));
  EXPECT_FALSE(faulty->run(simulate::caseFrom(text)).broken.empty());
  const auto sound = runnerOf(runner::Programs().service);
  ASSERT_NE(sound, nullptr);
  EXPECT_TRUE(sound->run(simulate::caseFrom(text)).broken.empty()) << text;
}

}  // namespace
