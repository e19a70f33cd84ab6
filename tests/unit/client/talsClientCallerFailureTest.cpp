#include <cstdlib>
#include <optional>
#include <stdexcept>

#include "VUSL/Support/Exception.h"
#include "client/TalsClientLoader.h"
#include "client/talsClientCaller.h"
#include "tests/unit/client/ClientTest.h"
#include "tests/unit/client/RecordingLoader.h"

namespace {

using client_test::Texts;
using client_test::textThrownBy;

// What becomes of the caller when a call of the platform fails.
class talsClientCallerFailureTest : public host::MachineTest {
 protected:
  // A caller whose library takes a minute for each answer.
  void makeSlowCaller() {
    caller.emplace("");
    caller->loader = std::make_unique<RecordingLoader>();
    RecordingLoader::answer = [](const std::string&) {
      Sleep(60000);
      return STATUS_OK;
    };
  }

  std::optional<talsClientCaller> caller;
  const LogRecorder log;
};

TEST_F(talsClientCallerFailureTest, WithoutAStartedEventThereIsNoCaller) {
  for (const DWORD error : {DWORD{ERROR_NOT_ENOUGH_MEMORY}, DWORD{ERROR_ACCESS_DENIED}}) {
    faults().failOnce("CreateEventW", error);
    EXPECT_EQ(textThrownBy<Exception>([&] { caller.emplace(""); }),
              "Event::Event:Create event failed " + std::to_string(error));
    EXPECT_FALSE(caller.has_value());
  }
}

TEST_F(talsClientCallerFailureTest, AThreadThatIsRefusedIsThrownWithItsError) {
  makeSlowCaller();
  const std::string address = host::hexText(reinterpret_cast<std::uintptr_t>(&*caller));
  const std::pair<DWORD, const char*> rows[] = {
      {ERROR_ACCESS_DENIED, "5"}, {ERROR_NOT_ENOUGH_MEMORY, "8"}, {ERROR_INVALID_PARAMETER, "87"}};
  for (const auto& [error, text] : rows) {
    faults().failOnce("CreateThread", error);
    EXPECT_EQ(
        textThrownBy<Exception>([&] { caller->executeAsync(1); }),
        std::string("Thread::Start:CreateThreadfailed, error ") + text + " thread " + address);
  }
  EXPECT_EQ(RecordingLoader::calls, Texts{});
}

TEST_F(talsClientCallerFailureTest, ACallerWhoseThreadWasRefusedCanBeStartedOnceMore) {
  makeSlowCaller();
  faults().failOnce("CreateThread", ERROR_NOT_ENOUGH_MEMORY);
  EXPECT_THROW(caller->executeAsync(1), Exception);
  caller->executeAsync(2);
  caller->Wait();
  EXPECT_EQ(RecordingLoader::calls, Texts{"talsInitQX1(null)"});
}

TEST_F(talsClientCallerFailureTest, ACallerWhoseThreadWasRefusedIsDestroyedWithoutAWait) {
  makeSlowCaller();
  faults().failOnce("CreateThread", ERROR_NOT_ENOUGH_MEMORY);
  EXPECT_THROW(caller->executeAsync(1), Exception);
  caller.reset();
  EXPECT_FALSE(log.contains("Entering wait ..."));
  EXPECT_EQ(ledger().open("thread"), 0U);
}

// The event only says that the thread has begun, and nobody waits for it.
TEST_F(talsClientCallerFailureTest, AnEventThatCannotBeResetChangesNothing) {
  makeSlowCaller();
  faults().failOnce("ResetEvent", ERROR_INVALID_HANDLE);
  caller->executeAsync(1);
  caller->Wait();
  EXPECT_EQ(RecordingLoader::calls, Texts{"talsInitHUB(null)"});
}

TEST_F(talsClientCallerFailureTest, AThreadThatCannotSayThatItBeganRunsNoCommand) {
  makeSlowCaller();
  faults().failOnce("SetEvent", ERROR_INVALID_HANDLE);
  caller->executeAsync(1);
  const std::string text = textThrownBy<Exception>([&] { caller->Wait(); });
  EXPECT_EQ(text.substr(0, text.find(" for:")), "Event::signal:SetEvent failed, err: 6");
  EXPECT_EQ(RecordingLoader::calls, Texts{});
}

TEST_F(talsClientCallerFailureTest, AHandleThatCannotBeClosedIsNoMatter) {
  makeSlowCaller();
  caller->executeAsync(1);
  caller->Wait();
  faults().failOnce("CloseHandle", ERROR_INVALID_HANDLE);
  caller.reset();
  EXPECT_EQ(log.withoutAddresses().back(), "[DBG] [TPM] [0x] Thread  deleted");
}

// In a process of its own, because the thread goes on with an object that is gone.
TEST_F(talsClientCallerFailureTest, AWaitThatIsRefusedAtTheEndIsLoggedAndNotRepeated) {
  const auto destroy = [this] {
    makeSlowCaller();
    caller->executeAsync(1);
    Sleep(1000);
    if (!caller->isBodyRunning()) std::_Exit(2);
    faults().failOnce("WaitForSingleObject", ERROR_INVALID_HANDLE);
    caller.reset();
    if (!log.contains("Event::Lock: Wait complete - error.")) std::_Exit(3);
    std::_Exit(clockMs() < 60000 ? 0 : 4);
  };
  EXPECT_EXIT(destroy(), ::testing::ExitedWithCode(0), "");
}

TEST_F(talsClientCallerFailureTest, ACommandThatNeverReturnsIsWaitedForWithoutEnd) {
  client_test::installClient();
  client_test::writeScript("talsInitHUB = never\n");
  const auto destroy = [this] {
    host::Scheduler::instance().setDeadlockHandler([this](const std::string& report) {
      const bool waits = report.find("the client library") != std::string::npos;
      std::_Exit(waits && log.contains("Entering wait ...") ? 0 : 3);
    });
    caller.emplace("");
    caller->loader = std::make_unique<TalsClientLoader>("");
    caller->executeAsync(1);
    Sleep(1000);
    caller.reset();
    std::_Exit(2);
  };
  EXPECT_EXIT(destroy(), ::testing::ExitedWithCode(0), "");
}

TEST_F(talsClientCallerFailureTest, AnIntThatLeavesTheLibraryEndsOnTheThreadToo) {
  makeSlowCaller();
  RecordingLoader::answer = [](const std::string&) -> talsStatus { throw 5; };
  caller->executeAsync(1);
  EXPECT_THROW(caller->Wait(), int);
  EXPECT_TRUE(
      log.contains("[FTL] [TPM] theThreadFunc Thread terminated due to unrecognized exception."));
}

TEST_F(talsClientCallerFailureTest, AnExceptionEndsTheListOfCommands) {
  class ListCaller : public talsClientCaller {
   public:
    ListCaller() : talsClientCaller("") { commands = {1, 2}; }
  };
  ListCaller list;
  list.loader = std::make_unique<RecordingLoader>();
  RecordingLoader::answer = [](const std::string&) -> talsStatus {
    throw std::runtime_error("from the library");
  };
  list.executeScheduled();
  EXPECT_THROW(list.Wait(), std::runtime_error);
  EXPECT_EQ(RecordingLoader::calls, Texts{"talsInitHUB(null)"});
}

TEST_F(talsClientCallerFailureTest, ALibraryThatIsNotLetGoLeavesNothingElseBehind) {
  client_test::installClient();
  caller.emplace("");
  caller->loader = std::make_unique<TalsClientLoader>("");
  faults().failOnce("FreeLibrary", ERROR_INVALID_HANDLE);
  caller.reset();
  EXPECT_EQ(journal().count("FreeLibrary"), 2U);
  EXPECT_EQ(ledger().open("module"), 1U);
  client_test::unloadWhatWasRefused();
  EXPECT_EQ(ledger().open("module"), 0U);
}

}  // namespace
