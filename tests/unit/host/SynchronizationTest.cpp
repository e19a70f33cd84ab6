#include <gtest/gtest.h>

#include "tests/support/MachineTest.h"

namespace {

class SynchronizationTest : public host::MachineTest {
 protected:
  static HANDLE autoEvent(bool isSet = false) {
    return CreateEventW(nullptr, FALSE, isSet ? TRUE : FALSE, nullptr);
  }
  static HANDLE manualEvent(bool isSet = false) {
    return CreateEventW(nullptr, TRUE, isSet ? TRUE : FALSE, nullptr);
  }
  static DWORD poll(HANDLE handle) { return WaitForSingleObject(handle, 0); }
};

TEST_F(SynchronizationTest, AnAutoResetEventReleasesOneWait) {
  const HANDLE event = autoEvent(true);
  EXPECT_EQ(poll(event), WAIT_OBJECT_0);
  EXPECT_EQ(poll(event), WAIT_TIMEOUT);
}

TEST_F(SynchronizationTest, SettingAnAutoResetEventTwiceReleasesOneWait) {
  const HANDLE event = autoEvent();
  SetEvent(event);
  SetEvent(event);
  EXPECT_EQ(poll(event), WAIT_OBJECT_0);
  EXPECT_EQ(poll(event), WAIT_TIMEOUT);
}

TEST_F(SynchronizationTest, AManualResetEventStaysSetUntilItIsReset) {
  const HANDLE event = manualEvent(true);
  EXPECT_EQ(poll(event), WAIT_OBJECT_0);
  EXPECT_EQ(poll(event), WAIT_OBJECT_0);
  ResetEvent(event);
  EXPECT_EQ(poll(event), WAIT_TIMEOUT);
}

TEST_F(SynchronizationTest, AWaitThatTimesOutTakesItsTime) {
  const HANDLE event = autoEvent();
  EXPECT_EQ(WaitForSingleObject(event, 5000), WAIT_TIMEOUT);
  EXPECT_EQ(clockMs(), 5000);
}

TEST_F(SynchronizationTest, SetEventOnNullFailsWith6) {
  EXPECT_FALSE(SetEvent(nullptr));
  EXPECT_EQ(GetLastError(), 6U);
}

TEST_F(SynchronizationTest, AWaitForANullHandleFailsWith6) {
  const HANDLE handles[] = {nullptr, autoEvent(true)};
  EXPECT_EQ(WaitForMultipleObjects(2, handles, FALSE, 10), 0xFFFFFFFFU);
  EXPECT_EQ(GetLastError(), 6U);
}

TEST_F(SynchronizationTest, AWaitForABadHandleFailsWith6) {
  const HANDLE closed = autoEvent(true);
  CloseHandle(closed);
  const HANDLE neverOpened = reinterpret_cast<HANDLE>(std::uintptr_t{0x7001});
  for (const HANDLE bad : {closed, neverOpened}) {
    const HANDLE handles[] = {autoEvent(true), bad};
    SetLastError(0);
    EXPECT_EQ(WaitForMultipleObjects(2, handles, FALSE, 10), 0xFFFFFFFFU);
    EXPECT_EQ(GetLastError(), 6U);
    EXPECT_EQ(poll(handles[0]), WAIT_OBJECT_0);  // nothing was taken
  }
}

TEST_F(SynchronizationTest, AWaitForNoneOrMoreThan64HandlesFailsWith87) {
  const std::vector<HANDLE> handles(65, autoEvent(true));
  EXPECT_EQ(WaitForMultipleObjects(0, handles.data(), FALSE, 10), 0xFFFFFFFFU);
  EXPECT_EQ(GetLastError(), 87U);
  SetLastError(0);
  EXPECT_EQ(WaitForMultipleObjects(65, handles.data(), FALSE, 10), 0xFFFFFFFFU);
  EXPECT_EQ(GetLastError(), 87U);
  EXPECT_EQ(WaitForMultipleObjects(64, handles.data(), FALSE, 10), 0U);
}

TEST_F(SynchronizationTest, OfSeveralSignalledTheLowestIsReturnedAndAloneChanged) {
  const HANDLE handles[] = {autoEvent(), autoEvent(true), autoEvent(true)};
  EXPECT_EQ(WaitForMultipleObjects(3, handles, FALSE, 10), 1U);
  EXPECT_EQ(poll(handles[1]), WAIT_TIMEOUT);
  EXPECT_EQ(poll(handles[2]), WAIT_OBJECT_0);
}

TEST_F(SynchronizationTest, AWaitForAllTakesNothingUntilAllAreSignalled) {
  const HANDLE handles[] = {autoEvent(true), autoEvent()};
  EXPECT_EQ(WaitForMultipleObjects(2, handles, TRUE, 10), WAIT_TIMEOUT);
  EXPECT_EQ(poll(handles[0]), WAIT_OBJECT_0);
  SetEvent(handles[0]);
  SetEvent(handles[1]);
  EXPECT_EQ(WaitForMultipleObjects(2, handles, TRUE, 10), WAIT_OBJECT_0);
  EXPECT_EQ(poll(handles[1]), WAIT_TIMEOUT);
}

TEST_F(SynchronizationTest, CreatingAnExistingEventOpensItAndLeaves183) {
  const HANDLE first = CreateEventW(nullptr, FALSE, FALSE, L"Twice");
  const HANDLE second = CreateEventW(nullptr, FALSE, FALSE, L"Twice");
  EXPECT_NE(second, nullptr);
  EXPECT_EQ(GetLastError(), 183U);
  SetEvent(second);
  EXPECT_EQ(poll(first), WAIT_OBJECT_0);
}

TEST_F(SynchronizationTest, CreatingANewEventClearsTheLastError) {
  SetLastError(5);
  CreateEventW(nullptr, FALSE, FALSE, L"New");
  EXPECT_EQ(GetLastError(), 0U);
}

TEST_F(SynchronizationTest, AnEventUnderAnUnknownPrefixFailsWith3) {
  EXPECT_EQ(CreateEventW(nullptr, FALSE, FALSE, L"Unknown\\Event"), nullptr);
  EXPECT_EQ(GetLastError(), 3U);
  SetLastError(0);
  EXPECT_EQ(OpenEventW(SYNCHRONIZE, FALSE, L"Unknown\\Event"), nullptr);
  EXPECT_EQ(GetLastError(), 3U);
}

TEST_F(SynchronizationTest, OpeningAMissingEventFailsWith2) {
  EXPECT_EQ(OpenEventW(SYNCHRONIZE, FALSE, L"Global\\Missing"), nullptr);
  EXPECT_EQ(GetLastError(), 2U);
}

TEST_F(SynchronizationTest, AnotherKindOfObjectUnderTheNameFailsWith6) {
  CreateMutexW(nullptr, FALSE, L"Taken");
  EXPECT_EQ(CreateEventW(nullptr, FALSE, FALSE, L"Taken"), nullptr);
  EXPECT_EQ(GetLastError(), 6U);
  SetLastError(0);
  EXPECT_EQ(OpenEventW(SYNCHRONIZE, FALSE, L"Taken"), nullptr);
  EXPECT_EQ(GetLastError(), 6U);
}

TEST_F(SynchronizationTest, AnEventOfAnotherProgramCanBeOpenedAndWaitedFor) {
  host::machine().publishEvent(L"Global\\TpmEnrollmentEvent");
  const HANDLE event = OpenEventW(SYNCHRONIZE, FALSE, L"Global\\TpmEnrollmentEvent");
  ASSERT_NE(event, nullptr);
  EXPECT_EQ(poll(event), WAIT_TIMEOUT);
  EXPECT_TRUE(host::machine().signalEvent(L"Global\\TpmEnrollmentEvent"));
  EXPECT_EQ(poll(event), WAIT_OBJECT_0);
}

TEST_F(SynchronizationTest, AnObjectLivesAsLongAsAHandleToIt) {
  host::machine().publishEvent(L"Global\\Short");
  const HANDLE event = OpenEventW(SYNCHRONIZE, FALSE, L"Global\\Short");
  host::machine().withdrawEvent(L"Global\\Short");
  EXPECT_NE(OpenEventW(SYNCHRONIZE, FALSE, L"Global\\Short"), nullptr);
  EXPECT_EQ(poll(event), WAIT_TIMEOUT);
}

TEST_F(SynchronizationTest, ANameIsFreeAfterTheLastHandleWasClosed) {
  const HANDLE event = CreateEventW(nullptr, FALSE, FALSE, L"Passing");
  CloseHandle(event);
  EXPECT_EQ(OpenEventW(SYNCHRONIZE, FALSE, L"Passing"), nullptr);
}

TEST_F(SynchronizationTest, AMutexIsRecursiveOnItsOwner) {
  const HANDLE mutex = CreateMutexW(nullptr, FALSE, nullptr);
  EXPECT_EQ(poll(mutex), WAIT_OBJECT_0);
  EXPECT_EQ(poll(mutex), WAIT_OBJECT_0);
  ReleaseMutex(mutex);
  DWORD seenByOther = 0;
  host::TestThread([&] { seenByOther = poll(mutex); }).join();
  EXPECT_EQ(seenByOther, WAIT_TIMEOUT);
  ReleaseMutex(mutex);
  host::TestThread([&] { seenByOther = poll(mutex); }).join();
  EXPECT_EQ(seenByOther, WAIT_OBJECT_0);
}

TEST_F(SynchronizationTest, AMutexReleasedByAnotherThreadFailsWith288) {
  const HANDLE mutex = CreateMutexW(nullptr, TRUE, nullptr);
  DWORD error = 0;
  host::TestThread([&] {
    EXPECT_FALSE(ReleaseMutex(mutex));
    error = GetLastError();
  }).join();
  EXPECT_EQ(error, 288U);
}

TEST_F(SynchronizationTest, AMutexWhoseOwnerDiedIsAbandonedAndThenOwned) {
  const HANDLE mutex = CreateMutexW(nullptr, FALSE, nullptr);
  host::TestThread([&] { poll(mutex); }).join();
  const HANDLE handles[] = {autoEvent(), mutex};
  EXPECT_EQ(WaitForMultipleObjects(2, handles, FALSE, 0), 0x81U);
  EXPECT_TRUE(ReleaseMutex(mutex));
}

TEST_F(SynchronizationTest, ClosingTwiceFailsWith6AndIsReported) {
  const HANDLE event = autoEvent();
  EXPECT_TRUE(CloseHandle(event));
  EXPECT_FALSE(CloseHandle(event));
  EXPECT_EQ(GetLastError(), 6U);
  ASSERT_EQ(ledger().violations().size(), 1U);
  EXPECT_NE(ledger().violations()[0].find("CloseHandle: event"), std::string::npos);
}

TEST_F(SynchronizationTest, ClosingNullFailsWith6AndIsReported) {
  EXPECT_FALSE(CloseHandle(nullptr));
  EXPECT_EQ(GetLastError(), 6U);
  EXPECT_EQ(ledger().violations(), (std::vector<std::string>{"CloseHandle: null is no handle"}));
}

TEST_F(SynchronizationTest, ClosingAValueThatWasNeverAHandleFailsWith6AndIsReported) {
  EXPECT_FALSE(CloseHandle(reinterpret_cast<HANDLE>(std::uintptr_t{0x7001})));
  EXPECT_EQ(GetLastError(), 6U);
  EXPECT_EQ(ledger().violations(), (std::vector<std::string>{"CloseHandle: 0x7001 is no handle"}));
}

TEST_F(SynchronizationTest, AUseAfterTheCloseFailsAndIsReported) {
  const HANDLE event = autoEvent();
  CloseHandle(event);
  EXPECT_FALSE(SetEvent(event));
  EXPECT_EQ(GetLastError(), 6U);
  EXPECT_EQ(ledger().violations().size(), 1U);
}

TEST_F(SynchronizationTest, AHandleValueIsNeverUsedAgain) {
  const HANDLE first = autoEvent();
  CloseHandle(first);
  EXPECT_NE(autoEvent(), first);
}

TEST_F(SynchronizationTest, AnOpenEventStandsInTheLedgerUntilItIsClosed) {
  const HANDLE event = autoEvent();
  EXPECT_EQ(ledger().open("event"), 1U);
  CloseHandle(event);
  EXPECT_EQ(ledger().open("event"), 0U);
}

TEST_F(SynchronizationTest, ASleepOfZeroReturnsAtOnce) {
  Sleep(0);
  EXPECT_EQ(clockMs(), 0);
}

}  // namespace
