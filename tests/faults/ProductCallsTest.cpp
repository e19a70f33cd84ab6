#include "tools/sweep/ProductCalls.h"

#include <gtest/gtest.h>

#include <array>

#include "tools/runner/ScenarioRun.h"

namespace sweep {
namespace {

std::set<std::string_view> found(std::span<const std::string_view> calls) {
  return productCalls(runner::scenarioFolder().parent_path(), calls);
}

TEST(ProductCallsTest, FindsTheFunctionsThatTheProductCalls) {
  constexpr std::array<std::string_view, 2> kCalls = {"WaitForMultipleObjects", "memcpy_s"};
  EXPECT_EQ(found(kCalls), std::set<std::string_view>(kCalls.begin(), kCalls.end()));
}

TEST(ProductCallsTest, FindsMethodsByTheirOwnNames) {
  constexpr std::array<std::string_view, 2> kCalls = {"IExecAction::put_Path",
                                                      "ITaskSettings::put_WakeToRun"};
  EXPECT_EQ(found(kCalls), std::set<std::string_view>(kCalls.begin(), kCalls.end()));
}

TEST(ProductCallsTest, FindsNothingThatTheProductDoesNotCall) {
  constexpr std::array<std::string_view, 3> kCalls = {"IExecAction::put_Arguments",
                                                      "WaitForMultiple", "Objects"};
  EXPECT_EQ(found(kCalls), std::set<std::string_view>{});
}

}  // namespace
}  // namespace sweep
