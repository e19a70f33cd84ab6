#include <optional>

#include "VUSL/Support/Exception.h"
#include "client/Progress.h"
#include "tests/unit/client/ClientTest.h"

namespace {

using client_test::Texts;
using client_test::textThrownBy;

// What becomes of a report when its mutex is refused, busy or left by a thread that has died.
class ProgressFailureTest : public host::MachineTest {
 protected:
  ProgressFailureTest() { onProgress(1); }

  // The words of the failure without the mutex's address.
  static std::string reportsFailure(std::uint32_t state) {
    const std::string text = textThrownBy<Exception>([state] { onProgress(state); });
    return text.substr(0, text.find(" 0x"));
  }

  // Of a thread that was left with it. The mutex outlives the test, so others would wait for it.
  static void giveBackTheMutex() {
    const std::string handle = client_test::argument(journal().calls("ReleaseMutex").back(), 0);
    ASSERT_TRUE(ReleaseMutex(reinterpret_cast<HANDLE>(std::stoull(handle, nullptr, 16))));
  }
};

TEST_F(ProgressFailureTest, AWaitThatFailsThrowsAndNothingIsLoggedOrRemembered) {
  const LogRecorder log;
  for (const DWORD error : {DWORD{ERROR_INVALID_HANDLE}, DWORD{ERROR_ACCESS_DENIED}}) {
    faults().failOnce("WaitForSingleObject", error);
    EXPECT_EQ(reportsFailure(2), "ScopedLock:Lock failed for");
  }
  EXPECT_EQ(log.texts(), Texts{});
  EXPECT_EQ(latestProgressState(), 1U);
  EXPECT_EQ(journal().count("ReleaseMutex"), 1U) << "only that of the report ahead of this test";
}

TEST_F(ProgressFailureTest, TheReportAfterAFailedOneIsMade) {
  faults().failOnce("WaitForSingleObject", ERROR_INVALID_HANDLE);
  reportsFailure(2);
  onProgress(3);
  EXPECT_EQ(latestProgressState(), 3U);
}

TEST_F(ProgressFailureTest, AReleaseThatFailsIsLoggedWhenTheStateIsStored) {
  LogRecorder log;
  for (const DWORD error : {DWORD{ERROR_NOT_OWNER}, DWORD{ERROR_INVALID_HANDLE}}) {
    log.clear();
    faults().failOnce("ReleaseMutex", error);
    onProgress(7);
    giveBackTheMutex();
    EXPECT_EQ(latestProgressState(), 7U);
    const Texts texts = log.withoutAddresses();
    ASSERT_EQ(texts.size(), 2U);
    EXPECT_EQ(texts[0], "[DBG] [TPM] State: M4 received from FE");
    EXPECT_EQ(texts[1].substr(0, texts[1].rfind(' ')),
              "[FTL] [TPM] [0x] ScopedLock dtor: Unlock failed for:");
    onProgress(8);
  }
}

TEST_F(ProgressFailureTest, ASecondThreadsReportWaitsUntilTheFirstOnesIsStored) {
  const LogRecorder log;
  std::optional<host::TestThread> second;
  std::uint32_t whileTheFirstLogs = 99;
  host::CallHooks::instance().before("GetLocalTime", journal().count("GetLocalTime") + 1, [&] {
    second.emplace([] { onProgress(3); });
    Sleep(1000);
    whileTheFirstLogs = latestProgressState();
  });
  onProgress(2);
  second.reset();
  EXPECT_EQ(whileTheFirstLogs, 1U);
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] State: Sending M2 to OAS",
                                "[DBG] [TPM] State: M2.1 received from OAS"}));
  EXPECT_EQ(latestProgressState(), 3U);
}

// The mutex is owned all the same, so the thread that was refused holds it from then on.
TEST_F(ProgressFailureTest, TheReportAfterAThreadThatDiedWithTheMutexThrows) {
  faults().failOnce("ReleaseMutex", ERROR_NOT_OWNER);
  {
    const host::TestThread dies([] { onProgress(2); });
  }
  EXPECT_EQ(reportsFailure(3), "ScopedLock:Lock failed for");
  EXPECT_EQ(latestProgressState(), 2U);
  giveBackTheMutex();
}

}  // namespace
