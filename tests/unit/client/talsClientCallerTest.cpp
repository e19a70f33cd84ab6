#include "client/talsClientCaller.h"

#include <stdexcept>
#include <type_traits>

#include "client/TalsClientLoader.h"
#include "tests/support/NullPointerEnd.h"
#include "tests/unit/client/ClientTest.h"
#include "tests/unit/client/RecordingLoader.h"
#include "tests/unit/runtime/SlotOrder.h"

namespace {

using client_test::Texts;

static_assert(std::is_base_of_v<vusl::Thread, talsClientCaller>);
static_assert(std::is_base_of_v<ItalsClientCaller, talsClientCaller>);
static_assert(std::has_virtual_destructor_v<ItalsClientCaller>);
// The thread's operations, not the caller's own.
static_assert(std::is_same_v<decltype(&talsClientCaller::Lock),
                             vusl::WaitResult (vusl::Thread::*)(std::uint32_t)>);
static_assert(
    std::is_same_v<decltype(&talsClientCaller::Unlock), vusl::WaitResult (vusl::Thread::*)()>);

// Shows what only derived classes see.
class OpenCaller : public talsClientCaller {
 public:
  OpenCaller() : talsClientCaller("") { loader = std::make_unique<RecordingLoader>(); }

  talsStatus initialise(const Components& components) {
    return runInit(std::make_unique<Components>(components));
  }
  std::vector<const void*> fieldsInOrder() const { return {&loader, &commands, &keyType}; }
};

class talsClientCallerTest : public host::MachineTest {
 protected:
  talsClientCallerTest() { caller.loader = std::make_unique<RecordingLoader>(); }

  static void answer(talsStatus status) {
    RecordingLoader::answer = [status](const std::string&) { return status; };
  }

  talsClientCaller caller{""};
  const LogRecorder log;
};

TEST_F(talsClientCallerTest, ACommandIsLoggedBeforeAndAfter) {
  answer(STATUS_CONNECTION_ERROR);
  EXPECT_EQ(caller.executeSync(1, 0), STATUS_CONNECTION_ERROR);
  EXPECT_EQ(log.withoutAddresses(),
            (Texts{"[DBG] [TPM] [0x] Executing command synchronously",
                   "[DBG] [TPM] [0x] tALS init status: 0x08 [STATUS_CONNECTION_ERROR]"}));
}

TEST_F(talsClientCallerTest, TheTagIsTheAddressOfTheWholeObject) {
  ItalsClientCaller& face = caller;
  ASSERT_NE(static_cast<void*>(&face), static_cast<void*>(&caller));
  face.executeSync(1, 0);
  const std::string tag = "[" + host::hexText(reinterpret_cast<std::uintptr_t>(&caller)) + "] ";
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] " + tag + "Executing command synchronously",
                                "[DBG] [TPM] " + tag + "tALS init status: 0x00 [STATUS_OK]"}));
}

TEST_F(talsClientCallerTest, CommandZeroInitialisesBothComponentsInOneCall) {
  caller.executeSync(0, 0);
  EXPECT_EQ(RecordingLoader::calls, Texts{"talsInit(null)"});
}

TEST_F(talsClientCallerTest, CommandOneInitialisesTheFirstComponent) {
  caller.executeSync(1, 0);
  EXPECT_EQ(RecordingLoader::calls, Texts{"talsInitHUB(null)"});
}

TEST_F(talsClientCallerTest, CommandTwoInitialisesTheSecondComponent) {
  caller.executeSync(2, 0);
  EXPECT_EQ(RecordingLoader::calls, Texts{"talsInitQX1(null)"});
}

TEST_F(talsClientCallerTest, AnUnknownCommandIsAnErrorAndLogsNothingFurther) {
  EXPECT_EQ(caller.executeSync(4, 0), STATUS_ERROR);
  EXPECT_EQ(caller.executeSync(0xFFFFFFFF, 0), STATUS_ERROR);
  EXPECT_EQ(RecordingLoader::calls, Texts{});
  EXPECT_EQ(log.withoutAddresses(), (Texts{"[DBG] [TPM] [0x] Executing command synchronously",
                                           "[DBG] [TPM] [0x] Executing command synchronously"}));
}

TEST_F(talsClientCallerTest, TheReservedArgumentHasNoEffect) {
  EXPECT_EQ(caller.executeSync(1, 77), STATUS_OK);
  EXPECT_EQ(RecordingLoader::calls, Texts{"talsInitHUB(null)"});
}

TEST_F(talsClientCallerTest, EveryResultIsPassedOnUnchanged) {
  for (const int status : {0, 2, 8, 23, 24, -1}) {
    answer(static_cast<talsStatus>(status));
    EXPECT_EQ(caller.executeSync(2, 0), status);
  }
}

TEST_F(talsClientCallerTest, TheStatusLineIsWrittenForEveryResult) {
  answer(STATUS_OK);
  caller.executeSync(0, 0);
  EXPECT_EQ(log.withoutAddresses().back(), "[DBG] [TPM] [0x] tALS init status: 0x00 [STATUS_OK]");
  answer(STATUS_NOT_SUPPORTED_PLATFORM);
  caller.executeSync(0, 0);
  EXPECT_EQ(log.withoutAddresses().back(),
            "[DBG] [TPM] [0x] tALS init status: 0x17 [STATUS_NOT_SUPPORTED_PLATFORM]");
}

TEST_F(talsClientCallerTest, WhatTheLibraryThrowsPassesThrough) {
  RecordingLoader::answer = [](const std::string&) -> talsStatus {
    throw std::runtime_error("from the library");
  };
  EXPECT_THROW(caller.executeSync(1, 0), std::runtime_error);
  EXPECT_FALSE(log.contains("tALS init status: "));
}

// Deliberate: no slot is tested ahead of its call.
TEST_F(talsClientCallerTest, EachLiveEntryThatIsMissingFaultsAtItsCall) {
  caller.loader->entries = {};
  for (const std::uint32_t command : {0U, 1U, 2U}) {
    EXPECT_EXIT(
        {
          letTheFaultEndTheProcess();
          caller.executeSync(command, 0);
        },
        usedANullPointer, "")
        << command;
  }
}

TEST_F(talsClientCallerTest, AFreshCallerHasNoLoader) {
  const talsClientCaller fresh("");
  EXPECT_EQ(fresh.loader, nullptr);
}

TEST_F(talsClientCallerTest, AssigningALoaderDestroysTheOneHeldBefore) {
  bool destroyed = false;
  static_cast<RecordingLoader&>(*caller.loader).whenDestroyed = [&] { destroyed = true; };
  caller.loader = std::make_unique<RecordingLoader>();
  EXPECT_TRUE(destroyed);
}

TEST_F(talsClientCallerTest, RunsTheLoadedLibrarysEntries) {
  client_test::installClient();
  client_test::writeScript("talsInit = 1\ntalsInitHUB = 8\ntalsInitHUB = 0\ntalsInitQX1 = 23\n");
  caller.loader = std::make_unique<TalsClientLoader>("");
  EXPECT_EQ(caller.executeSync(0, 0), STATUS_UNKNOWN_PARAM);
  EXPECT_EQ(caller.executeSync(1, 0), STATUS_CONNECTION_ERROR);
  EXPECT_EQ(caller.executeSync(1, 0), STATUS_OK);
  EXPECT_EQ(caller.executeSync(2, 0), STATUS_NOT_SUPPORTED_PLATFORM);
}

TEST_F(talsClientCallerTest, DestroyingTheCallerUnloadsTheLibraries) {
  client_test::installClient();
  {
    talsClientCaller other("");
    other.loader = std::make_unique<TalsClientLoader>("");
    EXPECT_EQ(ledger().open("module"), 2U);
  }
  EXPECT_EQ(ledger().open("module"), 0U);
}

TEST_F(talsClientCallerTest, TheLoaderGoesBetweenTheClosingLineAndTheEndOfTheThread) {
  Texts atTheUnloading;
  {
    talsClientCaller other("name");
    auto loader = std::make_unique<RecordingLoader>();
    loader->whenDestroyed = [&] { atTheUnloading = log.withoutAddresses(); };
    other.loader = std::move(loader);
  }
  EXPECT_EQ(atTheUnloading.back(), "[DBG] [TPM] Closing talsClient access layer");
  EXPECT_EQ(log.withoutAddresses().back(), "[DBG] [TPM] [0x] Thread name deleted");
}

TEST_F(talsClientCallerTest, ACallerWhoseThreadNeverStartedIsDestroyedWithoutAWait) {
  { const talsClientCaller other(""); }
  EXPECT_FALSE(log.contains("Entering wait ..."));
}

TEST_F(talsClientCallerTest, TheInterfaceHasItsDestructorLast) {
  EXPECT_EQ(slotOf(&ItalsClientCaller::executeSync), 0U);
  EXPECT_EQ(slotOf(&ItalsClientCaller::setKeyType), 1U);
  EXPECT_EQ(sizeof(ItalsClientCaller), sizeof(void*));
}

TEST_F(talsClientCallerTest, TheOperationsStandBehindThoseOfTheThread) {
  EXPECT_EQ(slotOf(&talsClientCaller::Run), 4U);
  EXPECT_EQ(slotOf(&talsClientCaller::executeAsync), 5U);
  EXPECT_EQ(slotOf(&talsClientCaller::executeScheduled), 6U);
  EXPECT_EQ(slotOf(&talsClientCaller::currentProgressState), 7U);
}

TEST_F(talsClientCallerTest, IsAThreadFirstAndTheInterfaceSecond) {
  EXPECT_EQ(static_cast<void*>(static_cast<vusl::Thread*>(&caller)), static_cast<void*>(&caller));
}

TEST_F(talsClientCallerTest, TheFieldsStandInTheirOrder) {
  const OpenCaller open;
  const std::vector<const void*> fields = open.fieldsInOrder();
  EXPECT_LT(fields[0], fields[1]);
  EXPECT_LT(fields[1], fields[2]);
}

TEST_F(talsClientCallerTest, AListOfBothComponentsIsOneCall) {
  OpenCaller open;
  EXPECT_EQ(open.initialise({2, 1, 7}), STATUS_OK);
  EXPECT_EQ(RecordingLoader::calls, Texts{"talsInit(null)"});
}

TEST_F(talsClientCallerTest, AnUnknownComponentIsAnErrorAndLogsNothing) {
  OpenCaller open;
  const std::size_t before = log.texts().size();
  EXPECT_EQ(open.initialise({3}), STATUS_ERROR);
  EXPECT_EQ(open.initialise({0}), STATUS_ERROR);
  EXPECT_EQ(RecordingLoader::calls, Texts{});
  EXPECT_EQ(log.texts().size(), before);
}

}  // namespace
