// The service control protocol.

#include <algorithm>
#include <string>
#include <vector>

#include "tests/contract/Contract.h"
#include "tests/contract/SmallService.h"

namespace {

using Answers = std::vector<DWORD>;

bool hasSeen(const std::string& what) {
  const auto& seen = contract::lifeOfAService().seen;
  return std::find(seen.begin(), seen.end(), what) != seen.end();
}

// Ahead of the test that has no service manager: in a fresh session Wine lets such a program wait
// for ten seconds, and not once a service has come and gone.
TEST(StartServiceCtrlDispatcherW, RunsTheServiceOnAThreadOfItsOwn) {
  EXPECT_TRUE(hasSeen("started with 1 on a thread of its own"));
}

TEST(StartServiceCtrlDispatcherW, HandsControlsToTheHandlerOnItsOwnThread) {
  const std::string where = contract::butUnderWine<std::string>(
      " on the dispatcher's thread", "", "Wine hands them over on another thread");
  EXPECT_TRUE(hasSeen("control 4" + where));
  EXPECT_TRUE(hasSeen("control 1" + where));
}

TEST(StartServiceCtrlDispatcherW, ReturnsAfterTheMainFunctionHasLeft) {
  const auto& seen = contract::lifeOfAService().seen;
  const auto ended = std::find(seen.begin(), seen.end(), "dispatcher 1");
  ASSERT_NE(ended, seen.end());
  const bool hasLeft = std::find(seen.begin(), ended, "main function leaves") != ended;
  EXPECT_EQ(hasLeft, contract::butUnderWine(true, false,
                                            "Wine's returns when the service has reported its "
                                            "end"));
}

TEST(StartServiceCtrlDispatcherW, ASecondTimeFailsWith1056) {
  EXPECT_TRUE(hasSeen("dispatcher 0 1056"));
}

TEST(StartServiceCtrlDispatcherW, OutsideTheServiceManagerFailsWith1063) {
  contract::lifeOfAService();
  contract::leaveTheServiceManager();
  wchar_t name[] = L"";
  const SERVICE_TABLE_ENTRYW table[] = {{name, [](DWORD, LPWSTR*) {}}, {nullptr, nullptr}};
  EXPECT_FALSE(StartServiceCtrlDispatcherW(table));
  EXPECT_EQ(GetLastError(), 1063U);
}

TEST(RegisterServiceCtrlHandlerW, TakesAnEmptyNameInAProcessWithOneService) {
  EXPECT_TRUE(hasSeen("handler taken"));
}

TEST(RegisterServiceCtrlHandlerW, IsHandedNoControlThatTheServiceDoesNotAccept) {
  const auto& seen = contract::lifeOfAService().seen;
  EXPECT_EQ(std::count_if(seen.begin(), seen.end(),
                          [](const std::string& line) { return line.starts_with("control "); }),
            2);
}

TEST(SetServiceStatus, IsTakenFromTheHandlersHandle) {
  EXPECT_TRUE(hasSeen("report taken"));
}

TEST(SetServiceStatus, SaysWhichControlsTheManagerPassesOn) {
  EXPECT_EQ(contract::lifeOfAService().answers,
            (Answers{contract::butUnderWine<DWORD>(
                         1061, 1052,
                         "Wine does not tell a service that starts from one that does "
                         "not take the control"),
                     1052, 0, 0, 1062}));
}

TEST(SetServiceStatus, WithANullHandleFailsWith6) {
  SERVICE_STATUS status{};
  EXPECT_FALSE(SetServiceStatus(nullptr, &status));
  EXPECT_EQ(GetLastError(), 6U);
}

}  // namespace
