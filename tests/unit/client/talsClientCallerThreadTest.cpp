#include <algorithm>
#include <cstdlib>
#include <optional>
#include <stdexcept>

#include "VUSL/Support/Exception.h"
#include "client/talsClientCaller.h"
#include "tests/unit/client/ClientTest.h"
#include "tests/unit/client/RecordingLoader.h"

namespace {

using client_test::Texts;
using client_test::textThrownBy;

// Lets a test set the command list, which has no other way in for more than one command.
class OpenCaller : public talsClientCaller {
 public:
  OpenCaller() : talsClientCaller("") { loader = std::make_unique<RecordingLoader>(); }

  void schedule(std::vector<std::uint32_t> list) { commands = std::move(list); }
  bool saysThatItIsCompleted() const { return completed; }
};

class talsClientCallerThreadTest : public host::MachineTest {
 protected:
  // The place of the first line with this text in it; beyond all lines if there is none.
  std::size_t placeOf(const std::string& text) const {
    const Texts texts = log.texts();
    const auto line = std::find_if(texts.begin(), texts.end(), [&](const std::string& one) {
      return one.find(text) != std::string::npos;
    });
    return static_cast<std::size_t>(line - texts.begin());
  }

  const LogRecorder log;
};

TEST_F(talsClientCallerThreadTest, ACommandRunsOnAThreadOfItsOwn) {
  OpenCaller caller;
  const DWORD own = GetCurrentThreadId();
  DWORD other = own;
  Texts logged;
  RecordingLoader::answer = [&](const std::string&) {
    other = GetCurrentThreadId();
    logged = log.texts();
    return STATUS_OK;
  };
  caller.executeAsync(1);
  caller.Wait();
  EXPECT_NE(other, own);
  EXPECT_EQ(RecordingLoader::calls, Texts{"talsInitHUB(null)"});
  ASSERT_FALSE(logged.empty());
  EXPECT_EQ(logged.back(),
            "[DBG] [TPM] Execution of scheduled commands will be performed at thread: " +
                std::to_string(other));
}

// That a body has done all says nothing of its thread, which may still be in the library: whoever
// waits goes by the thread alone.
TEST_F(talsClientCallerThreadTest, TheBodysEndIsNotToldAheadOfTheThreads) {
  OpenCaller caller;
  caller.executeAsync(1);
  Sleep(1000);
  caller.Wait();
  EXPECT_EQ(RecordingLoader::calls.size(), 1U);
  EXPECT_FALSE(caller.saysThatItIsCompleted());
  EXPECT_FALSE(log.contains("Initial Complete"));
}

TEST_F(talsClientCallerThreadTest, AnAsynchronousCommandIsLoggedFromTheStart) {
  OpenCaller caller;
  const std::size_t before = log.texts().size();
  caller.executeAsync(1);
  const Texts texts = log.texts();
  ASSERT_GE(texts.size(), before + 2);
  EXPECT_EQ(texts[before], "[DBG] [TPM] [" +
                               host::hexText(reinterpret_cast<std::uintptr_t>(&caller)) +
                               "] Executing command asynchronously");
  EXPECT_EQ(texts[before + 1], "[INF] [TPM] Executing scheduled commands: 1");
  caller.Wait();
}

TEST_F(talsClientCallerThreadTest, TheScheduledCommandsAreLoggedBeforeTheThreadIsMade) {
  OpenCaller caller;
  Texts logged;
  host::CallHooks::instance().before("CreateThread", 1, [&] { logged = log.texts(); });
  caller.executeAsync(1);
  caller.Wait();
  ASSERT_FALSE(logged.empty());
  EXPECT_EQ(logged.back(), "[INF] [TPM] Executing scheduled commands: 1");
}

TEST_F(talsClientCallerThreadTest, AListLeftOverFromAnEarlierCallIsDropped) {
  OpenCaller caller;
  caller.schedule({0, 0, 0});
  caller.executeAsync(2);
  caller.Wait();
  EXPECT_EQ(RecordingLoader::calls, Texts{"talsInitQX1(null)"});
  EXPECT_TRUE(log.contains("Executing scheduled commands: 1"));
}

TEST_F(talsClientCallerThreadTest, AnUnknownCommandStillStartsAThreadThatDoesNothing) {
  OpenCaller caller;
  caller.executeAsync(4);
  caller.Wait();
  EXPECT_EQ(RecordingLoader::calls, Texts{});
  EXPECT_TRUE(log.contains("Execution of scheduled commands will be performed at thread: "));
  EXPECT_FALSE(log.contains("tALS init status: "));
}

TEST_F(talsClientCallerThreadTest, ScheduledCommandsRunInTheirOrderAndNoFailureStopsThem) {
  OpenCaller caller;
  RecordingLoader::answer = [](const std::string&) { return STATUS_ERROR; };
  caller.schedule({2, 4, 1, 0});
  caller.executeScheduled();
  caller.Wait();
  EXPECT_EQ(RecordingLoader::calls,
            (Texts{"talsInitQX1(null)", "talsInitHUB(null)", "talsInit(null)"}));
  EXPECT_TRUE(log.contains("[INF] [TPM] Executing scheduled commands: 4"));
}

TEST_F(talsClientCallerThreadTest, AnAsynchronousCommandGoesThroughTheVirtualOperation) {
  class Overriding : public talsClientCaller {
   public:
    Overriding() : talsClientCaller("") {}
    void executeScheduled() override { scheduled = commands; }
    std::vector<std::uint32_t> scheduled;
  };
  Overriding caller;
  caller.executeAsync(2);
  EXPECT_EQ(caller.scheduled, std::vector<std::uint32_t>{2});
}

TEST_F(talsClientCallerThreadTest, AThreadThatCannotBeStartedThrows) {
  OpenCaller caller;
  faults().failOnce("CreateThread", ERROR_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(textThrownBy<Exception>([&] { caller.executeAsync(1); }),
            "Thread::Start:CreateThreadfailed, error 8 thread " +
                host::hexText(reinterpret_cast<std::uintptr_t>(&caller)));
}

TEST_F(talsClientCallerThreadTest, DestructionWaitsForABodyThatIsRunning) {
  {
    OpenCaller caller;
    RecordingLoader::answer = [](const std::string&) {
      Sleep(60000);
      return STATUS_OK;
    };
    caller.executeAsync(1);
    Sleep(1000);
  }
  EXPECT_GE(clockMs(), 60000);
  EXPECT_TRUE(log.contains("tALS init status: 0x00 [STATUS_OK]"));
  EXPECT_LT(placeOf("Closing talsClient access layer"), placeOf("Entering wait ..."));
  EXPECT_LT(placeOf("Entering wait ..."), placeOf("tALS init status: 0x00 [STATUS_OK]"));
}

TEST_F(talsClientCallerThreadTest, TheLoaderLivesUntilTheBodyHasEnded) {
  bool answered = false;
  bool answeredBefore = false;
  {
    OpenCaller caller;
    RecordingLoader::answer = [&](const std::string&) {
      Sleep(60000);
      answered = true;
      return STATUS_OK;
    };
    static_cast<RecordingLoader&>(*caller.loader).whenDestroyed = [&] {
      answeredBefore = answered;
    };
    caller.executeAsync(1);
    Sleep(1000);
  }
  EXPECT_TRUE(answeredBefore);
}

TEST_F(talsClientCallerThreadTest, DestructionDoesNotWaitForABodyThatHasEnded) {
  {
    OpenCaller caller;
    caller.executeAsync(1);
    Sleep(1000);
  }
  EXPECT_FALSE(log.contains("Entering wait ..."));
}

TEST_F(talsClientCallerThreadTest, WhatTheBodyThrowsEndsInTheDestructor) {
  {
    OpenCaller caller;
    RecordingLoader::answer = [](const std::string&) -> talsStatus {
      Sleep(60000);
      throw std::runtime_error("from the library");
    };
    caller.executeAsync(1);
    Sleep(1000);
  }
  EXPECT_TRUE(log.contains("Thread terminated due to exception: from the library"));
  EXPECT_FALSE(log.contains("in-flight excepion"));
}

TEST_F(talsClientCallerThreadTest, AFreshCallerHasNoCommand) {
  OpenCaller caller;
  caller.executeScheduled();
  caller.Wait();
  EXPECT_TRUE(log.contains("[INF] [TPM] Executing scheduled commands: 0"));
  EXPECT_EQ(RecordingLoader::calls, Texts{});
}

TEST_F(talsClientCallerThreadTest, TheListsStorageIsKept) {
  class Overriding : public OpenCaller {
   public:
    void executeScheduled() override { room = commands.capacity(); }
    std::size_t room = 0;
  };
  Overriding caller;
  caller.schedule({0, 1, 2});
  caller.executeAsync(2);
  EXPECT_EQ(caller.room, 3U);
}

// A start keeps the handle of its own thread and does not look for another.
TEST_F(talsClientCallerThreadTest, ASecondCommandLosesTheHandleOfTheFirstOnesThread) {
  {
    OpenCaller caller;
    caller.executeAsync(1);
    caller.Wait();
    caller.executeAsync(2);
    caller.Wait();
  }
  EXPECT_EQ(RecordingLoader::calls, (Texts{"talsInitHUB(null)", "talsInitQX1(null)"}));
  EXPECT_EQ(ledger().open("thread"), 1U);
}

// In a process of its own, because the thread goes on with an object that is gone.
TEST_F(talsClientCallerThreadTest, DestructionDoesNotWaitForABodyThatHasNotBegun) {
  const auto destroyBeforeTheBody = [this] {
    std::optional<OpenCaller> caller(std::in_place);
    host::CallHooks::instance().before("SetEvent", journal().count("SetEvent") + 1,
                                       [] { Sleep(60000); });
    caller->executeAsync(1);
    Sleep(1000);
    if (!log.contains("Thread started. Name: ") || caller->isBodyRunning()) std::_Exit(2);
    caller.reset();
    std::_Exit(log.contains("Entering wait ...") || clockMs() >= 60000 ? 1 : 0);
  };
  EXPECT_EXIT(destroyBeforeTheBody(), ::testing::ExitedWithCode(0), "");
}

}  // namespace
