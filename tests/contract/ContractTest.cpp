// The suite itself: each platform call that the product makes has a promise in it.

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <string_view>

#include "platform/host/CallNames.h"
#include "tools/sweep/ProductCalls.h"

namespace {

std::set<std::string> suites() {
  std::set<std::string> names;
  const testing::UnitTest& program = *testing::UnitTest::GetInstance();
  for (int i = 0; i < program.total_test_suite_count(); ++i) {
    names.insert(program.GetTestSuite(i)->name());
  }
  names.erase("ContractTest");
  return names;
}

// A method's suite has "_" for its "::".
std::string suiteOf(std::string_view call) {
  std::string name(call);
  const std::size_t colons = name.find("::");
  return colons == std::string::npos ? name : name.replace(colons, 2, "_");
}

using Calls = std::set<std::string_view>;

// Which calls the product makes is told by the names in its sources, and these are names of other
// things there. The model has not built the methods.
const Calls kNamesakes = {"IRegisteredTask::Run", "IRegisteredTask::Stop", "ITaskFolder::get_Path"};

TEST(ContractTest, EveryCallOfTheProductHasAPromise) {
  const std::set<std::string> tested = suites();
  const auto made = sweep::productCalls(SOURCE_ROOT, host::callsThatCanFail());
  EXPECT_GT(made.size(), 100U);
  Calls missing;
  for (const std::string_view call : made) {
    if (!tested.contains(suiteOf(call))) {
      missing.insert(call);
    }
  }
  EXPECT_EQ(missing, kNamesakes);
}

TEST(ContractTest, EverySuiteIsACall) {
  std::set<std::string> calls;
  for (const std::string_view call : host::callsThatCanFail()) {
    calls.insert(suiteOf(call));
  }
  for (const std::string& suite : suites()) {
    EXPECT_TRUE(calls.contains(suite)) << suite << " is no platform call";
  }
}

}  // namespace
