#include "tools/simulate/Orders.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <variant>

#include "tests/machine/TemporaryFolder.h"
#include "tools/runner/ScenarioRun.h"

namespace {

using simulate::OrderKind;

constexpr std::uint64_t kBudget = 6;

class OrdersTest : public ::testing::Test {
 protected:
  simulate::OrderResult ordersOf(
      const std::filesystem::path& file,
      const simulate::OrderBounds& bounds = {kBudget, kBudget, kBudget},
      const std::filesystem::path& service = runner::Programs().service) {
    auto made = simulate::CaseRunner::make(service);
    if (auto* refusal = std::get_if<std::string>(&made)) {
      ADD_FAILURE() << *refusal;
      return {};
    }
    return simulate::runOrders(*std::get<std::unique_ptr<simulate::CaseRunner>>(made), file,
                               bounds);
  }

  static std::filesystem::path scenario(const std::string& name) {
    return runner::scenarioFolder() / (name + ".scenario");
  }

  static const simulate::OrderFigures& figuresOf(const simulate::OrderResult& result,
                                                 OrderKind kind) {
    return result.figures[static_cast<std::size_t>(kind)];
  }
};

TEST_F(OrdersTest, eachThreadHasItsOwnLines) {
  const simulate::LinesByThread parts = simulate::byThread({
      "[DBG] [TPM] Service started.",
      "-- service manager: stop requested",
      "-- service manager: STOP_PENDING, check-point 2, wait hint 5000 ms, exit code 0",
      "-- service manager: RUNNING, check-point 0, wait hint 5000 ms, exit code 0",
      "[DBG] [TPM] Stopping service...",
      "-- event Global\\TpmEnrollmentEvent signalled",
  });
  EXPECT_THAT(parts.service,
              ::testing::ElementsAre(
                  "[DBG] [TPM] Service started.",
                  "-- service manager: RUNNING, check-point 0, wait hint 5000 ms, exit code 0"));
  EXPECT_THAT(parts.handler,
              ::testing::ElementsAre("-- service manager: STOP_PENDING, check-point 2, wait hint "
                                     "5000 ms, exit code 0",
                                     "[DBG] [TPM] Stopping service..."));
  EXPECT_THAT(parts.script,
              ::testing::ElementsAre("-- service manager: stop requested",
                                     "-- event Global\\TpmEnrollmentEvent signalled"));
}

TEST_F(OrdersTest, lifeWithAStopHasOrdersOfEachKindAndAllAreRight) {
  const simulate::OrderResult result = ordersOf(scenario("stop-while-waiting"));
  EXPECT_EQ(result.refusal, "");
  EXPECT_THAT(result.failures, ::testing::IsEmpty());
  EXPECT_GT(result.decisions, 10U);
  for (const OrderKind kind :
       {OrderKind::kOneDeviation, OrderKind::kTwoDeviations, OrderKind::kBySeed, OrderKind::kStop,
        OrderKind::kSignal, OrderKind::kEnd}) {
    EXPECT_EQ(figuresOf(result, kind).lives, kBudget) << static_cast<int>(kind);
    EXPECT_GE(figuresOf(result, kind).possible, kBudget) << static_cast<int>(kind);
  }
  // Nobody knows which second deviations come after first ones that were left out.
  EXPECT_TRUE(figuresOf(result, OrderKind::kTwoDeviations).isEstimate);
}

// The stop event that resets itself by nobody's hand: this life's lines are the same with another.
TEST_F(OrdersTest, callThatIsAnotherIsSeenWhereTheLinesAreTheSame) {
  const simulate::OrderResult result =
      ordersOf(scenario("stop-while-waiting"), {1, 1, 1},
               std::filesystem::path(PLANTED_DIR) / "stop_stays_signalled");
  EXPECT_THAT(result.failures, ::testing::ElementsAre(::testing::HasSubstr(
                                   "the plain order: call 17 of [calls service] differs")));
}

TEST_F(OrdersTest, withoutABudgetNothingIsLeftOut) {
  const simulate::OrderResult result =
      ordersOf(scenario("stack-not-installed-silent"), {simulate::OrderBounds::kAll, 1, 1});
  EXPECT_THAT(result.failures, ::testing::IsEmpty());
  EXPECT_GT(result.calls, 10U);
  for (const OrderKind kind : {OrderKind::kStop, OrderKind::kSignal, OrderKind::kEnd}) {
    EXPECT_EQ(figuresOf(result, kind).possible, result.calls);
    EXPECT_EQ(figuresOf(result, kind).lives, result.calls);
  }
  const simulate::OrderFigures& ones = figuresOf(result, OrderKind::kOneDeviation);
  EXPECT_GT(ones.lives, 10U);
  EXPECT_EQ(ones.lives, ones.possible);
  EXPECT_FALSE(figuresOf(result, OrderKind::kTwoDeviations).isEstimate);
}

TEST_F(OrdersTest, lifeThatEndsInAFaultHasPlacesToo) {
  const simulate::OrderResult result = ordersOf(scenario("client-crashes"), {2, 1, 1});
  EXPECT_THAT(result.failures, ::testing::IsEmpty());
  EXPECT_GT(result.calls, 100U);
  EXPECT_EQ(figuresOf(result, OrderKind::kStop).lives, 2U);
}

TEST_F(OrdersTest, lifeWhoseFaultsBreakPromisesHasPlacesToo) {
  const simulate::OrderResult result = ordersOf(scenario("task-save-refused"), {2, 1, 1});
  EXPECT_THAT(result.failures, ::testing::IsEmpty());
  EXPECT_EQ(figuresOf(result, OrderKind::kStop).lives, 2U);
  EXPECT_EQ(figuresOf(result, OrderKind::kSignal).lives, 2U);
}

// The scenario's own fault explains its ledger, and not check-points that stay.
TEST_F(OrdersTest, lifeWhoseFaultsBreakPromisesMustNotBreakOthers) {
  const simulate::OrderResult result =
      ordersOf(scenario("task-save-refused"), {kBudget, 1, 1},
               std::filesystem::path(PLANTED_DIR) / "check_point_stays");
  EXPECT_GT(result.failed, 0U);
  EXPECT_THAT(result.failures,
              ::testing::Contains(::testing::HasSubstr("the check-point did not rise")));
}

TEST_F(OrdersTest, lifeThatSpinsHasABoundOfItsOwn) {
  const simulate::OrderResult result =
      ordersOf(scenario("wait-fails-for-ever"), {simulate::OrderBounds::kAll, 1, 1, 1});
  EXPECT_THAT(result.failures, ::testing::IsEmpty());
  for (const OrderKind kind : {OrderKind::kOneDeviation, OrderKind::kStop, OrderKind::kEnd}) {
    EXPECT_EQ(figuresOf(result, kind).lives, 1U);
    EXPECT_GT(figuresOf(result, kind).possible, 500U);
  }
}

TEST_F(OrdersTest, lifeWithArgumentsHasThemInEachOrder) {
  const simulate::OrderResult result = ordersOf(scenario("unknown-parameter"));
  EXPECT_EQ(result.refusal, "");
  EXPECT_THAT(result.failures, ::testing::IsEmpty());
  EXPECT_EQ(figuresOf(result, OrderKind::kEnd).lives, kBudget);
}

TEST_F(OrdersTest, scenarioWhoseLinesAreNotThoseOfTheRunFails) {
  std::ifstream file(scenario("no-config"), std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  std::string other = text.str();
  const std::string line = "-- event Global\\TpmEnrollmentEvent signalled\n";
  other.erase(other.rfind(line), line.size());
  const TemporaryFolder folder;
  const std::filesystem::path changed = folder.path() / "changed.scenario";
  std::ofstream(changed, std::ios::binary) << other;
  const simulate::OrderResult result = ordersOf(changed);
  EXPECT_EQ(result.failed, 1U);
  ASSERT_EQ(result.failures.size(), 1U);
  EXPECT_THAT(result.failures.front(), ::testing::HasSubstr("the plain order: line "));
}

TEST_F(OrdersTest, scenarioThatIsNoneIsLeftOutWithTheReason) {
  const simulate::OrderResult result = ordersOf(scenario("there-is-none"));
  EXPECT_THAT(result.refusal, ::testing::HasSubstr("there-is-none.scenario"));
}

}  // namespace
