#include "tools/simulate/OrderReport.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using simulate::OrderKind;

simulate::OrderResult resultWith(OrderKind kind, const simulate::OrderFigures& figures) {
  simulate::OrderResult result;
  result.scenario = "spin";
  result.decisions = 12;
  result.calls = 34;
  result.figures[static_cast<std::size_t>(kind)] = figures;
  return result;
}

TEST(OrderReportTest, scenarioTellsHowManyOfHowMany) {
  simulate::OrderResult result = resultWith(OrderKind::kStop, {1'234, false, 500, 3});
  result.failed = 2;
  EXPECT_EQ(simulate::lineOf(result),
            "spin: 34 calls, 12 decisions; a stop placed 500 of 1 234 (3 in another permitted "
            "order); 2 failed");
}

TEST(OrderReportTest, scenarioThatWasNotRunTellsWhy) {
  simulate::OrderResult result;
  result.scenario = "none";
  result.refusal = "it cannot be read";
  EXPECT_EQ(simulate::lineOf(result),
            "none: 0 calls, 0 decisions; left out: it cannot be read; 0 failed");
  EXPECT_EQ(simulate::totalsOf({result}).failed, 1U);
}

TEST(OrderReportTest, estimateIsNoExactCount) {
  EXPECT_EQ(simulate::lineOf(resultWith(OrderKind::kTwoDeviations, {99, true, 9, 0})),
            "spin: 34 calls, 12 decisions; two deviations 9 of about 99; 0 failed");
}

TEST(OrderReportTest, totalsAreThoseOfAllScenariosAndTellInHowManyNoneIsLeftOut) {
  const simulate::OrderTotals totals =
      simulate::totalsOf({resultWith(OrderKind::kEnd, {10, false, 10, 0}),
                          resultWith(OrderKind::kEnd, {90, false, 20, 0})});
  EXPECT_EQ(totals.lives, 30U);
  const std::string text = simulate::textOf(totals);
  EXPECT_NE(text.find("the end placed: 30 of 100, all in 1 of 2 scenarios\n"), std::string::npos)
      << text;
  const auto figures = simulate::figuresOf(totals);
  ASSERT_EQ(figures.size(), 7U);
  EXPECT_EQ(figures[5].what, "ends of the process placed");
  EXPECT_EQ(figures[5].value, "30 of 100");
  EXPECT_EQ(figures[6].what, "schedules and places that failed");
  EXPECT_EQ(figures[6].value, "0");
}

TEST(OrderReportTest, rareSituationsOfAllScenariosAreCounted) {
  simulate::OrderResult result = resultWith(OrderKind::kEnd, {10, false, 10, 0});
  result.probes[static_cast<std::size_t>(simulate::Probe::kStoppedTwice)] = 2;
  EXPECT_EQ(simulate::totalsOf({result, result})
                .probes[static_cast<std::size_t>(simulate::Probe::kStoppedTwice)],
            4U);
}

TEST(OrderReportTest, boundsAreToldAsTheOptionsThatGiveThem) {
  EXPECT_EQ(simulate::textOf(simulate::OrderBounds{}), "");
  EXPECT_EQ(simulate::textOf(simulate::OrderBounds{40, 40, 40}), " --budget 40");
  simulate::OrderBounds bounds;
  bounds.pairs = 7;
  EXPECT_EQ(simulate::textOf(bounds), " --pairs 7");
}

}  // namespace
