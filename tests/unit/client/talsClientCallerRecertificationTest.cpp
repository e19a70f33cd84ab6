#include <stdexcept>

#include "VUSL/Support/Exception.h"
#include "client/Progress.h"
#include "client/TalsClientLoader.h"
#include "client/talsClientCaller.h"
#include "tests/support/NullPointerEnd.h"
#include "tests/unit/client/ClientTest.h"
#include "tests/unit/client/TransactingLoader.h"

namespace {

using client_test::Texts;
using client_test::textThrownBy;

// Command 3, which no run of the service comes to.
class talsClientCallerRecertificationTest : public host::MachineTest {
 protected:
  talsClientCallerRecertificationTest() { caller.loader = std::make_unique<TransactingLoader>(); }

  static void answer(talsStatus status) {
    TransactingLoader::answers = [status](TalsProgressCallback) { return status; };
  }

  // The library in its folder, which answers by this script.
  void loadLibrary(const std::string& script) {
    client_test::installClient();
    client_test::writeScript(script);
    caller.loader = std::make_unique<TalsClientLoader>("");
  }

  Texts textsOfCommandThree() {
    log.clear();
    caller.executeSync(3, 0);
    return log.withoutAddresses();
  }

  talsClientCaller caller{""};
  LogRecorder log;
};

TEST_F(talsClientCallerRecertificationTest, LogsItsBeginAndItsStatus) {
  caller.setKeyType(7);
  EXPECT_EQ(textsOfCommandThree(),
            (Texts{"[DBG] [TPM] [0x] Executing command synchronously",
                   "[DBG] [TPM] Starting VTM recertification for key type: 7",
                   "[INF] [TPM] [0x] VTM Recertification status for key type 7: 0x00 "
                   "[STATUS_OK]"}));
}

TEST_F(talsClientCallerRecertificationTest, TheClosingLineHasTheAddressOfTheWholeObject) {
  caller.executeSync(3, 0);
  const std::string tag = "[" + host::hexText(reinterpret_cast<std::uintptr_t>(&caller)) + "] ";
  EXPECT_TRUE(log.contains("[INF] [TPM] " + tag + "VTM Recertification status for key type "));
}

TEST_F(talsClientCallerRecertificationTest, TheKeyTypeBeginsWithAllBitsSetAndShowsInDecimal) {
  EXPECT_EQ(caller.executeSync(3, 0), STATUS_OK);
  EXPECT_TRUE(log.contains("Starting VTM recertification for key type: 4294967295"));
  EXPECT_TRUE(log.contains("VTM Recertification status for key type 4294967295: 0x00"));
  EXPECT_EQ(TransactingLoader::calls.at(1),
            "talsUsePermit(the handle, 4 bytes, key type 4294967295)");
}

TEST_F(talsClientCallerRecertificationTest, TheHandleIsGotAheadOfTheTransactionAndGivenBack) {
  caller.setKeyType(7);
  caller.executeSync(3, 0);
  EXPECT_EQ(TransactingLoader::calls,
            (Texts{"talsCaidProtect(null)", "talsUsePermit(the handle, 4 bytes, key type 7)",
                   "talsCaidDestroy(the handle)"}));
}

TEST_F(talsClientCallerRecertificationTest, EachCommandIsATransactionOfItsOwn) {
  caller.executeSync(3, 0);
  caller.setKeyType(2);
  caller.executeSync(3, 0);
  ASSERT_EQ(TransactingLoader::calls.size(), 6U);
  EXPECT_EQ(TransactingLoader::calls[3], "talsCaidProtect(null)");
  EXPECT_EQ(TransactingLoader::calls[4], "talsUsePermit(the handle, 4 bytes, key type 2)");
}

TEST_F(talsClientCallerRecertificationTest, NoEntryOfTheInitIsCalled) {
  client_test::installClient();
  caller.loader = std::make_unique<TalsClientLoader>("");
  caller.executeSync(3, 0);
  EXPECT_EQ(host::machine().clientAnswers,
            (Texts{"talsCaidProtect 0", "talsUsePermit 0", "talsCaidDestroy 0"}));
}

TEST_F(talsClientCallerRecertificationTest, EveryStatusIsPassedOnAndLogged) {
  const std::pair<int, const char*> rows[] = {
      {0, "0x00 [STATUS_OK]"},
      {2, "0x02 [STATUS_ERROR]"},
      {8, "0x08 [STATUS_CONNECTION_ERROR]"},
      {23, "0x17 [STATUS_NOT_SUPPORTED_PLATFORM]"},
      {24, "0x18 [string representation not defined for this value of enum talsStatus]"},
      {-1, "0xffffffff [string representation not defined for this value of enum talsStatus]"},
  };
  caller.setKeyType(1);
  for (const auto& [status, text] : rows) {
    answer(static_cast<talsStatus>(status));
    EXPECT_EQ(caller.executeSync(3, 0), status);
    EXPECT_EQ(log.withoutAddresses().back(),
              std::string("[INF] [TPM] [0x] VTM Recertification status for key type 1: ") + text);
  }
}

TEST_F(talsClientCallerRecertificationTest, ARequestThatCannotBeCopiedIsAnErrorOfItsOwn) {
  for (const DWORD error : {DWORD{22}, DWORD{34}}) {
    TransactingLoader::calls.clear();
    log.clear();
    faults().failOnce("memcpy_s", error);
    EXPECT_EQ(caller.executeSync(3, 0), STATUS_ERROR);
    EXPECT_EQ(log.withoutAddresses(),
              (Texts{"[DBG] [TPM] [0x] Executing command synchronously",
                     "[DBG] [TPM] Starting VTM recertification for key type: 4294967295",
                     "[ERR] [TPM] memcpy_s failed",
                     "[INF] [TPM] [0x] VTM Recertification status for key type 4294967295: 0x02 "
                     "[STATUS_ERROR]"}));
    EXPECT_EQ(TransactingLoader::calls, Texts{}) << "there is no handle yet";
  }
}

TEST_F(talsClientCallerRecertificationTest, AnyAnswerButZeroToTheRequestForAHandleThrows) {
  for (const int status : {1, 2, 8, 15, 24, -1}) {
    TransactingLoader::calls.clear();
    log.clear();
    TransactingLoader::protectAnswers = [status] { return static_cast<talsStatus>(status); };
    EXPECT_EQ(textThrownBy<Exception>([&] { caller.executeSync(3, 0); }),
              "talsCaidProtect failed.");
    EXPECT_EQ(TransactingLoader::calls, Texts{"talsCaidProtect(null)"}) << "nothing to give back";
    EXPECT_EQ(log.withoutAddresses(),
              (Texts{"[DBG] [TPM] [0x] Executing command synchronously",
                     "[DBG] [TPM] Starting VTM recertification for key type: 4294967295"}));
  }
}

TEST_F(talsClientCallerRecertificationTest, ANullHandleIsPassedOnAsItIs) {
  TransactingLoader::given = nullptr;
  caller.setKeyType(1);
  EXPECT_EQ(caller.executeSync(3, 0), STATUS_OK);
  EXPECT_EQ(TransactingLoader::calls,
            (Texts{"talsCaidProtect(null)", "talsUsePermit(null, 4 bytes, key type 1)",
                   "talsCaidDestroy(null)"}));
}

TEST_F(talsClientCallerRecertificationTest, WhatTheTransactionThrowsPassesOnceTheHandleIsBack) {
  TransactingLoader::answers = [](TalsProgressCallback) -> talsStatus {
    throw std::runtime_error("from the library");
  };
  EXPECT_EQ(textThrownBy<std::runtime_error>([&] { caller.executeSync(3, 0); }),
            "from the library");
  EXPECT_EQ(TransactingLoader::calls.back(), "talsCaidDestroy(the handle)");
  EXPECT_FALSE(log.contains("VTM Recertification status"));
}

TEST_F(talsClientCallerRecertificationTest, WhatTheRequestForAHandleThrowsPassesThrough) {
  TransactingLoader::protectAnswers = []() -> talsStatus { throw 5; };
  EXPECT_THROW(caller.executeSync(3, 0), int);
  EXPECT_EQ(TransactingLoader::calls, Texts{"talsCaidProtect(null)"});
}

TEST_F(talsClientCallerRecertificationTest, AHandleThatIsNotTakenBackIsLoggedAndChangesNothing) {
  answer(STATUS_CONNECTION_ERROR);
  TransactingLoader::destroyAnswers = [] { return STATUS_INVALID_PARAM; };
  EXPECT_EQ(textsOfCommandThree(),
            (Texts{"[DBG] [TPM] [0x] Executing command synchronously",
                   "[DBG] [TPM] Starting VTM recertification for key type: 4294967295",
                   "[ERR] [TPM] talsCaidDestroy failed.",
                   "[INF] [TPM] [0x] VTM Recertification status for key type 4294967295: 0x08 "
                   "[STATUS_CONNECTION_ERROR]"}));
}

TEST_F(talsClientCallerRecertificationTest, AThrowWhileTheHandleIsGivenBackEndsThere) {
  TransactingLoader::destroyAnswers = []() -> talsStatus { throw std::runtime_error("late"); };
  EXPECT_EQ(caller.executeSync(3, 0), STATUS_OK);
  EXPECT_TRUE(log.contains("[ERR] [TPM] talsCaidDestroy failed."));
}

TEST_F(talsClientCallerRecertificationTest, AThrowUponAThrowLetsTheFirstPass) {
  TransactingLoader::answers = [](TalsProgressCallback) -> talsStatus {
    throw std::runtime_error("first");
  };
  TransactingLoader::destroyAnswers = []() -> talsStatus { throw std::runtime_error("late"); };
  EXPECT_EQ(textThrownBy<std::runtime_error>([&] { caller.executeSync(3, 0); }), "first");
  EXPECT_TRUE(log.contains("[ERR] [TPM] talsCaidDestroy failed."));
}

TEST_F(talsClientCallerRecertificationTest, EachEntryThatIsMissingFaultsAtItsCall) {
  for (TalsEntry TalsEntryTable::*slot :
       {&TalsEntryTable::talsCaidProtect, &TalsEntryTable::talsUsePermit,
        &TalsEntryTable::talsCaidDestroy}) {
    caller.loader = std::make_unique<TransactingLoader>();
    caller.loader->entries.*slot = nullptr;
    EXPECT_EXIT(
        {
          letTheFaultEndTheProcess();
          caller.executeSync(3, 0);
        },
        usedANullPointer, "");
  }
}

TEST_F(talsClientCallerRecertificationTest, TheLibraryReportsToTheLogOnTheWay) {
  TransactingLoader::answers = [](TalsProgressCallback progress) {
    progress(0);
    progress(10);
    return STATUS_OK;
  };
  caller.setKeyType(7);
  EXPECT_EQ(textsOfCommandThree(),
            (Texts{"[DBG] [TPM] [0x] Executing command synchronously",
                   "[DBG] [TPM] Starting VTM recertification for key type: 7",
                   "[DBG] [TPM] State: Sending M0 to FE", "[DBG] [TPM] State: Sending M5 to FE",
                   "[INF] [TPM] [0x] VTM Recertification status for key type 7: 0x00 "
                   "[STATUS_OK]"}));
  EXPECT_EQ(caller.currentProgressState(), 10U);
}

TEST_F(talsClientCallerRecertificationTest, AThreadOfTheLibrarysOwnReportsEveryStep) {
  loadLibrary("talsUsePermit = 0 progress 0 1 2 3 4 5 6 7 8 9 10 11\n");
  journal().clear();
  const DWORD own = GetCurrentThreadId();
  EXPECT_EQ(
      textsOfCommandThree(),
      (Texts{"[DBG] [TPM] [0x] Executing command synchronously",
             "[DBG] [TPM] Starting VTM recertification for key type: 4294967295",
             "[DBG] [TPM] State: Sending M0 to FE", "[DBG] [TPM] State: M1 received from FE",
             "[DBG] [TPM] State: Sending M2 to OAS", "[DBG] [TPM] State: M2.1 received from OAS",
             "[DBG] [TPM] State: Sending M2.2 to OAS", "[DBG] [TPM] State: M3 received from OAS",
             "[DBG] [TPM] State: Sending M3 to FE", "[DBG] [TPM] State: M4 received from FE",
             "[DBG] [TPM] State: M4 sent to OAS", "[DBG] [TPM] State: M5 received from OAS",
             "[DBG] [TPM] State: Sending M5 to FE", "[DBG] [TPM] State: Unknown state",
             "[INF] [TPM] [0x] VTM Recertification status for key type 4294967295: 0x00 "
             "[STATUS_OK]"}));
  const auto releases = journal().calls("ReleaseMutex");
  ASSERT_EQ(releases.size(), 12U);
  for (const auto& release : releases) EXPECT_NE(release.thread, own);
  EXPECT_EQ(caller.currentProgressState(), 11U);
}

TEST_F(talsClientCallerRecertificationTest, AnotherThreadFollowsTheSteps) {
  loadLibrary("talsUsePermit = 8 progress 3 4 9 every 1000 ms after 500 ms\n");
  caller.executeAsync(3);
  Sleep(1500);
  EXPECT_EQ(caller.currentProgressState(), 3U);
  Sleep(1000);
  EXPECT_EQ(caller.currentProgressState(), 4U);
  Sleep(1000);
  EXPECT_EQ(caller.currentProgressState(), 9U);
  EXPECT_TRUE(caller.isBodyRunning()) << "the answer has not come yet";
  caller.Wait();
  EXPECT_TRUE(log.contains("status for key type 4294967295: 0x08 [STATUS_CONNECTION_ERROR]"));
}

TEST_F(talsClientCallerRecertificationTest, OnAThreadItsFailureReachesWhoeverWaits) {
  TransactingLoader::protectAnswers = [] { return STATUS_ERROR; };
  caller.executeAsync(3);
  EXPECT_EQ(textThrownBy<Exception>([&] { caller.Wait(); }), "talsCaidProtect failed.");
  EXPECT_TRUE(log.contains(
      "[FTL] [TPM] theThreadFunc Thread terminated due to exception: talsCaidProtect failed."));
}

TEST_F(talsClientCallerRecertificationTest, OnAThreadItIsLoggedAsOnTheCallers) {
  caller.setKeyType(7);
  log.clear();
  caller.executeAsync(3);
  caller.Wait();
  EXPECT_TRUE(log.contains("[DBG] [TPM] Starting VTM recertification for key type: 7"));
  EXPECT_TRUE(log.contains("VTM Recertification status for key type 7: 0x00 [STATUS_OK]"));
  EXPECT_EQ(TransactingLoader::calls.size(), 3U);
}

TEST_F(talsClientCallerRecertificationTest, WhatIsThrownAfterReportsPassesThroughToo) {
  loadLibrary("talsUsePermit = throw int progress 5\n");
  EXPECT_THROW(caller.executeSync(3, 0), int);
  EXPECT_EQ(caller.currentProgressState(), 5U);
  EXPECT_EQ(host::machine().clientAnswers, (Texts{"talsCaidProtect 0", "talsCaidDestroy 0"}));
}

// The report cannot be made, and nobody on the library's thread takes the exception.
TEST_F(talsClientCallerRecertificationTest, AReportThatFailsOnTheLibrarysThreadEndsTheProcess) {
  loadLibrary("talsUsePermit = 0 progress 5\n");
  faults().failOnce("WaitForSingleObject", ERROR_INVALID_HANDLE);
  EXPECT_EXIT(caller.executeSync(3, 0), ::testing::KilledBySignal(SIGABRT), "Lock failed for");
}

}  // namespace
