#include "tools/simulate/Options.h"

#include <gtest/gtest.h>

#include <string>
#include <variant>
#include <vector>

namespace {

simulate::Options optionsOf(const std::vector<std::string>& arguments) {
  auto read = simulate::readOptions(arguments);
  if (auto* wrong = std::get_if<std::string>(&read)) {
    ADD_FAILURE() << *wrong;
    return {};
  }
  return std::get<simulate::Options>(read);
}

std::string wrongWith(const std::vector<std::string>& arguments) {
  auto read = simulate::readOptions(arguments);
  auto* wrong = std::get_if<std::string>(&read);
  return wrong == nullptr ? "nothing" : *wrong;
}

TEST(OptionsTest, seedsAndYearsAreTaken) {
  const simulate::Options options = optionsOf({"--seeds", "30", "--years", "2.5", "--first", "9"});
  EXPECT_EQ(options.seeds, 30U);
  EXPECT_EQ(options.firstSeed, 9U);
  EXPECT_DOUBLE_EQ(options.years, 2.5);
  EXPECT_FALSE(options.orders);
}

TEST(OptionsTest, scenariosAreTakenWithOrders) {
  const simulate::Options options = optionsOf({"--orders", "spin", "--budget", "12"});
  EXPECT_TRUE(options.orders);
  EXPECT_EQ(options.scenarios, std::vector<std::string>{"spin"});
  EXPECT_EQ(options.bounds.each, 12U);
  EXPECT_EQ(options.bounds.pairs, 12U);
  EXPECT_EQ(options.bounds.drawn, 12U);
}

TEST(OptionsTest, withoutABudgetNothingIsLeftOut) {
  const simulate::Options options = optionsOf({"--orders", "--pairs", "7"});
  EXPECT_EQ(options.bounds.each, simulate::OrderBounds::kAll);
  EXPECT_EQ(options.bounds.pairs, 7U);
  EXPECT_EQ(options.bounds.drawn, 200U);
  EXPECT_EQ(optionsOf({"--orders"}).bounds.pairs, simulate::OrderBounds::kAll);
}

TEST(OptionsTest, figuresOfSomeScenariosAreNotThoseOfThePage) {
  EXPECT_EQ(wrongWith({"--orders", "spin", "--figures", "a.md"}),
            "the figures are those of all scenarios, and one is named: spin");
}

TEST(OptionsTest, figuresAreWrittenIntoAPage) {
  EXPECT_EQ(optionsOf({"--figures", "a.md"}).figures, "a.md");
  EXPECT_EQ(wrongWith({"--figures"}), "--figures does not take \"\"");
}

TEST(OptionsTest, scenarioWithoutOrdersIsRefused) {
  EXPECT_EQ(wrongWith({"spin"}), "a scenario is named, and --orders is not: spin");
}

TEST(OptionsTest, whatIsNoNumberAboveZeroIsRefused) {
  EXPECT_EQ(wrongWith({"--seeds", "0"}), "--seeds does not take \"0\"");
  EXPECT_EQ(wrongWith({"--seeds", "4x"}), "--seeds does not take \"4x\"");
  EXPECT_EQ(wrongWith({"--seeds"}), "--seeds does not take \"\"");
  EXPECT_EQ(wrongWith({"--years", "-1"}), "--years does not take \"-1\"");
}

TEST(OptionsTest, unknownOptionIsRefused) {
  EXPECT_EQ(wrongWith({"--sed", "4"}), "no such option: --sed");
}

}  // namespace
