#include "client/Progress.h"

#include <cstdlib>

#include "client/talsClientCaller.h"
#include "tests/unit/client/ClientTest.h"

namespace {

using client_test::Texts;

class ProgressTest : public host::MachineTest {};

TEST_F(ProgressTest, EveryStateHasItsText) {
  EXPECT_EQ(progressStateText(0), "Sending M0 to FE");
  EXPECT_EQ(progressStateText(1), "M1 received from FE");
  EXPECT_EQ(progressStateText(2), "Sending M2 to OAS");
  EXPECT_EQ(progressStateText(3), "M2.1 received from OAS");
  EXPECT_EQ(progressStateText(4), "Sending M2.2 to OAS");
  EXPECT_EQ(progressStateText(5), "M3 received from OAS");
  EXPECT_EQ(progressStateText(6), "Sending M3 to FE");
  EXPECT_EQ(progressStateText(7), "M4 received from FE");
  EXPECT_EQ(progressStateText(8), "M4 sent to OAS");
  EXPECT_EQ(progressStateText(9), "M5 received from OAS");
  EXPECT_EQ(progressStateText(10), "Sending M5 to FE");
}

TEST_F(ProgressTest, AnyOtherStateIsUnknown) {
  EXPECT_EQ(progressStateText(11), "Unknown state");
  EXPECT_EQ(progressStateText(0xFFFFFFFF), "Unknown state");
}

// Asked in a fresh process, in which no other test has reported.
TEST_F(ProgressTest, BeforeAnyReportTheStateIsZero) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(std::_Exit(latestProgressState() == 0 ? 0 : 1), ::testing::ExitedWithCode(0), "");
}

TEST_F(ProgressTest, AReportIsLoggedAndRemembered) {
  const LogRecorder log;
  onProgress(7);
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] State: M4 received from FE"});
  EXPECT_EQ(latestProgressState(), 7U);
}

TEST_F(ProgressTest, AnUnknownStateIsLoggedAndRememberedToo) {
  const LogRecorder log;
  onProgress(11);
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] State: Unknown state"});
  EXPECT_EQ(latestProgressState(), 11U);
}

TEST_F(ProgressTest, ARepeatedStateIsLoggedAgain) {
  const LogRecorder log;
  onProgress(3);
  onProgress(3);
  EXPECT_EQ(log.texts().size(), 2U);
}

TEST_F(ProgressTest, AnyStateMayFollowAnyOther) {
  onProgress(9);
  onProgress(2);
  EXPECT_EQ(latestProgressState(), 2U);
}

TEST_F(ProgressTest, TheMutexIsHeldForTheWholeReport) {
  const LogRecorder log;
  journal().clear();
  onProgress(1);
  const std::vector<std::string> names = journal().names();
  ASSERT_GE(names.size(), 3U);
  EXPECT_EQ(names.front(), "WaitForSingleObject");
  EXPECT_EQ(names.back(), "ReleaseMutex");
}

TEST_F(ProgressTest, TheStoreComesAfterTheLineAndBeforeTheRelease) {
  onProgress(1);
  std::uint32_t whileLogging = 99;
  std::uint32_t whileReleasing = 99;
  journal().clear();
  host::CallHooks::instance().before("GetLocalTime", journal().count("GetLocalTime") + 1,
                                     [&] { whileLogging = latestProgressState(); });
  host::CallHooks::instance().before("ReleaseMutex", journal().count("ReleaseMutex") + 1,
                                     [&] { whileReleasing = latestProgressState(); });
  onProgress(2);
  EXPECT_EQ(whileLogging, 1U);
  EXPECT_EQ(whileReleasing, 2U);
}

TEST_F(ProgressTest, TheCallerAnswersWithTheLatestState) {
  talsClientCaller caller("");
  onProgress(5);
  EXPECT_EQ(caller.currentProgressState(), 5U);
}

TEST_F(ProgressTest, TheStateIsReadWithoutTheMutex) {
  onProgress(4);
  journal().clear();
  EXPECT_EQ(latestProgressState(), 4U);
  EXPECT_EQ(journal().names(), Texts{});
}

TEST_F(ProgressTest, TheMutexStandsBeforeTheFirstReport) {
  onProgress(4);
  EXPECT_EQ(journal().count("CreateMutexW"), 0U);
  EXPECT_EQ(journal().count("ReleaseMutex"), 1U);
}

}  // namespace
