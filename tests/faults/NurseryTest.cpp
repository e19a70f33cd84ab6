#include <gtest/gtest.h>

#include "platform/host/CallNames.h"
#include "tools/runner/DriveFolder.h"
#include "tools/runner/Judge.h"
#include "tools/runner/PrintedLines.h"
#include "tools/sweep/NurseryProcess.h"

namespace sweep {
namespace {

using runner::End;
using runner::RunResult;

class NurseryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    auto loaded = runner::loadScenario(runner::scenarioFolder() / "first-boot.scenario");
    ASSERT_TRUE(std::holds_alternative<runner::LoadedScenario>(loaded));
    loaded_ = std::get<runner::LoadedScenario>(loaded);
    auto folder = runner::DriveFolder::make(std::nullopt);
    ASSERT_TRUE(std::holds_alternative<runner::DriveFolder>(folder));
    folder_.emplace(std::move(std::get<runner::DriveFolder>(folder)));
    auto started = NurseryProcess::start(loaded_, folder_->drive());
    ASSERT_TRUE(std::holds_alternative<std::unique_ptr<NurseryProcess>>(started))
        << std::get<std::string>(started);
    nursery_ = std::move(std::get<std::unique_ptr<NurseryProcess>>(started));
  }

  RunResult live(const host::LifeOrder& order) {
    auto lived = nursery_->live(order);
    if (const auto* refusal = std::get_if<std::string>(&lived)) {
      ADD_FAILURE() << *refusal;
      return {};
    }
    return std::get<RunResult>(lived);
  }

  static host::LifeOrder fault(std::string_view name, unsigned nth, DWORD error,
                               bool lasting = false) {
    const auto calls = host::callsThatCanFail();
    const auto place = std::find(calls.begin(), calls.end(), name) - calls.begin();
    return {true, lasting, false, static_cast<std::uint16_t>(place), nth, error};
  }

  runner::LoadedScenario loaded_;
  std::optional<runner::DriveFolder> folder_;
  std::unique_ptr<NurseryProcess> nursery_;
};

TEST_F(NurseryTest, ALifeWithoutAFaultGoesAsItsScenarioSays) {
  for (int i = 0; i < 2; ++i) {
    const RunResult life = live({});
    for (const auto& difference : judge(loaded_.scenario, life, runner::Lines::kCompared)) {
      ADD_FAILURE() << difference.summary;
    }
  }
}

TEST_F(NurseryTest, LivesOfOneOrderAreTheSame) {
  const std::string first = live({}).hash;
  EXPECT_NE(first, "");
  live(fault("CreateEventW", 1, 5));
  EXPECT_EQ(live({}).hash, first);
}

TEST_F(NurseryTest, TheFaultThatIsOrderedStrikes) {
  const RunResult life = live(fault("CreatePrivateNamespaceW", 1, 5));
  EXPECT_EQ(life.end, End::kExit);
  ASSERT_TRUE(life.lastStatus.has_value());
  EXPECT_EQ(life.lastStatus->exitCode, 0xffffffffU);
  const auto lines = runner::comparableLines(life.records);
  EXPECT_EQ(
      std::count(lines.begin(), lines.end(), "-- fault: CreatePrivateNamespaceW 1 fails with 5"),
      1);
  EXPECT_TRUE(nursery_->watch().struck);
  EXPECT_EQ(nursery_->watch().phaseAtStrike, host::Phase::kStarting);
}

TEST_F(NurseryTest, CountsTheCallsOfThatNameAfterTheStrike) {
  live(fault("CreateMutexW", 2, 5));
  EXPECT_EQ(nursery_->watch().phaseAtStrike, host::Phase::kLoading);
  EXPECT_EQ(nursery_->watch().callsAfterStrike, 0U);
  // Two handles of events are still to be closed, and three mutexes.
  live(fault("ClosePrivateNamespace", 1, 6));
  EXPECT_EQ(nursery_->watch().callsAfterStrike, 0U);
}

TEST_F(NurseryTest, AnAbnormalEndIsSeenAndTheNextLifeIsNotTouched) {
  const RunResult life = live(fault("CreateMutexW", 1, 5));
  EXPECT_EQ(life.end, End::kTerminate);
  EXPECT_EQ(live({}).end, End::kExit);
}

TEST_F(NurseryTest, KeepsTheCallsOfALifeWithoutAFault) {
  live({});
  const host::LifeWatch& watch = nursery_->watch();
  ASSERT_GT(watch.count, 100U);
  EXPECT_EQ(watch.calls[0].phase, host::Phase::kLoading);
  EXPECT_EQ(watch.calls[watch.count - 1].phase, host::Phase::kStopped);
  const auto isLaunch = [](const host::WatchedCall& call) {
    return host::callsThatCanFail()[call.call] == "CreateProcessW";
  };
  EXPECT_EQ(std::count_if(watch.calls, watch.calls + watch.count, isLaunch), 1);
}

}  // namespace
}  // namespace sweep
