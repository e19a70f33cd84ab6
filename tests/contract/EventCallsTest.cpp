// Events, mutexes and waits.

#include <functional>
#include <utility>
#include <vector>

#include "tests/contract/Contract.h"
#include "tests/contract/OtherThread.h"

namespace {

HANDLE autoEvent(BOOL isSet = FALSE) {
  return CreateEventW(nullptr, FALSE, isSet, nullptr);
}

DWORD poll(HANDLE handle) {
  return WaitForSingleObject(handle, 0);
}

void expectNone(HANDLE handle, DWORD error) {
  EXPECT_EQ(GetLastError(), error);
  EXPECT_EQ(handle, nullptr);
  SetLastError(contract::kUntouched);
}

TEST(CreateEventW, MakesAnEventAsItIsToldAndClearsTheLastError) {
  const HANDLE event = CreateEventW(nullptr, FALSE, TRUE, L"ContractNew");
  EXPECT_EQ(GetLastError(), 0U);
  EXPECT_EQ(poll(event), WAIT_OBJECT_0);
  EXPECT_EQ(poll(event), WAIT_TIMEOUT);
  CloseHandle(event);
}

TEST(CreateEventW, OpensAnExistingEventAndLeaves183) {
  const HANDLE first = CreateEventW(nullptr, FALSE, FALSE, L"ContractTwice");
  const HANDLE second = CreateEventW(nullptr, TRUE, TRUE, L"ContractTwice");
  EXPECT_EQ(GetLastError(), 183U);
  ASSERT_NE(second, nullptr);
  EXPECT_EQ(poll(first), WAIT_TIMEOUT);
  SetEvent(second);
  EXPECT_EQ(poll(first), WAIT_OBJECT_0);
  CloseHandle(first);
  CloseHandle(second);
}

TEST(CreateEventW, UnderAnUnknownPrefixFailsWith3) {
  expectNone(CreateEventW(nullptr, FALSE, FALSE, L"ContractUnknown\\Event"), 3);
}

TEST(CreateEventW, UnderTheNameOfAnotherKindFailsWith6) {
  const HANDLE mutex = CreateMutexW(nullptr, FALSE, L"ContractTaken");
  expectNone(CreateEventW(nullptr, FALSE, FALSE, L"ContractTaken"), 6);
  CloseHandle(mutex);
}

TEST(OpenEventW, OfAMissingNameFailsWith2) {
  expectNone(OpenEventW(SYNCHRONIZE, FALSE, L"Global\\ContractMissing"), 2);
}

TEST(OpenEventW, UnderAnUnknownPrefixFailsWith3) {
  expectNone(OpenEventW(SYNCHRONIZE, FALSE, L"ContractUnknown\\Event"), 3);
}

TEST(OpenEventW, OfAnotherKindFailsWith6) {
  const HANDLE mutex = CreateMutexW(nullptr, FALSE, L"ContractTaken");
  expectNone(OpenEventW(SYNCHRONIZE, FALSE, L"ContractTaken"), 6);
  CloseHandle(mutex);
}

TEST(OpenEventW, GivesASecondHandleToTheEvent) {
  const HANDLE made = CreateEventW(nullptr, FALSE, FALSE, L"Global\\ContractEvent");
  const HANDLE opened = OpenEventW(SYNCHRONIZE, FALSE, L"Global\\ContractEvent");
  ASSERT_NE(opened, nullptr);
  EXPECT_EQ(poll(opened), WAIT_TIMEOUT);
  SetEvent(made);
  EXPECT_EQ(poll(opened), WAIT_OBJECT_0);
  CloseHandle(opened);
  CloseHandle(made);
}

TEST(OpenEventW, KeepsTheEventAsLongAsAHandleIsThere) {
  const HANDLE made = CreateEventW(nullptr, FALSE, FALSE, L"ContractPassing");
  const HANDLE opened = OpenEventW(SYNCHRONIZE, FALSE, L"ContractPassing");
  CloseHandle(made);
  const HANDLE again = OpenEventW(SYNCHRONIZE, FALSE, L"ContractPassing");
  EXPECT_NE(again, nullptr);
  CloseHandle(again);
  CloseHandle(opened);
  EXPECT_EQ(OpenEventW(SYNCHRONIZE, FALSE, L"ContractPassing"), nullptr);
}

TEST(OpenEventW, ForWaitingAloneDoesNotLetSet) {
  const HANDLE made = CreateEventW(nullptr, FALSE, FALSE, L"ContractWaitOnly");
  const HANDLE opened = OpenEventW(SYNCHRONIZE, FALSE, L"ContractWaitOnly");
  EXPECT_FALSE(SetEvent(opened));
  EXPECT_EQ(GetLastError(), 5U);
  EXPECT_EQ(poll(made), WAIT_TIMEOUT);
  CloseHandle(opened);
  CloseHandle(made);
}

TEST(SetEvent, TwiceReleasesOneWaitOfAnAutoResetEvent) {
  const HANDLE event = autoEvent();
  EXPECT_TRUE(SetEvent(event));
  EXPECT_TRUE(SetEvent(event));
  EXPECT_EQ(poll(event), WAIT_OBJECT_0);
  EXPECT_EQ(poll(event), WAIT_TIMEOUT);
  CloseHandle(event);
}

TEST(SetEvent, LeavesTheLastErrorAloneWhenItSucceeds) {
  const HANDLE event = autoEvent();
  SetLastError(contract::kUntouched);
  EXPECT_TRUE(SetEvent(event));
  EXPECT_EQ(GetLastError(), contract::kUntouched);
  CloseHandle(event);
}

TEST(SetEvent, OfNullOrAnotherKindFailsWith6) {
  EXPECT_FALSE(SetEvent(nullptr));
  EXPECT_EQ(GetLastError(), 6U);
  const HANDLE mutex = CreateMutexW(nullptr, FALSE, nullptr);
  SetLastError(contract::kUntouched);
  EXPECT_FALSE(SetEvent(mutex));
  EXPECT_EQ(GetLastError(), 6U);
  CloseHandle(mutex);
}

TEST(ResetEvent, EndsTheSignalOfAManualResetEvent) {
  const HANDLE event = CreateEventW(nullptr, TRUE, TRUE, nullptr);
  EXPECT_EQ(poll(event), WAIT_OBJECT_0);
  EXPECT_EQ(poll(event), WAIT_OBJECT_0);
  EXPECT_TRUE(ResetEvent(event));
  EXPECT_EQ(poll(event), WAIT_TIMEOUT);
  CloseHandle(event);
}

TEST(ResetEvent, OfNullFailsWith6) {
  EXPECT_FALSE(ResetEvent(nullptr));
  EXPECT_EQ(GetLastError(), 6U);
}

TEST(WaitForSingleObject, TimesOutNotBeforeItsTime) {
  const HANDLE event = autoEvent();
  const auto began = contract::milliseconds();
  EXPECT_EQ(WaitForSingleObject(event, 30), WAIT_TIMEOUT);
  EXPECT_GE(contract::milliseconds() - began, 29);
  CloseHandle(event);
}

TEST(WaitForSingleObject, IsReleasedByAnotherThread) {
  const HANDLE event = autoEvent();
  contract::OtherThread other([&] {
    Sleep(10);
    SetEvent(event);
  });
  EXPECT_EQ(WaitForSingleObject(event, INFINITE), WAIT_OBJECT_0);
  other.join();
  CloseHandle(event);
}

TEST(WaitForSingleObject, OfANullOrClosedHandleFailsWith6) {
  EXPECT_EQ(poll(nullptr), WAIT_FAILED);
  EXPECT_EQ(GetLastError(), 6U);
  const HANDLE event = autoEvent(TRUE);
  CloseHandle(event);
  SetLastError(contract::kUntouched);
  EXPECT_EQ(poll(event), WAIT_FAILED);
  EXPECT_EQ(GetLastError(), 6U);
}

TEST(WaitForSingleObject, LeavesTheLastErrorAloneWhenItTimesOut) {
  const HANDLE event = autoEvent();
  SetLastError(contract::kUntouched);
  EXPECT_EQ(poll(event), WAIT_TIMEOUT);
  EXPECT_EQ(GetLastError(), contract::kUntouched);
  CloseHandle(event);
}

TEST(WaitForMultipleObjects, GivesTheLowestOfSeveralAndChangesItAlone) {
  const HANDLE handles[] = {autoEvent(), autoEvent(TRUE), autoEvent(TRUE)};
  EXPECT_EQ(WaitForMultipleObjects(3, handles, FALSE, 10), 1U);
  EXPECT_EQ(poll(handles[1]), WAIT_TIMEOUT);
  EXPECT_EQ(poll(handles[2]), WAIT_OBJECT_0);
  for (const HANDLE handle : handles) {
    CloseHandle(handle);
  }
}

TEST(WaitForMultipleObjects, ForAllTakesNothingUntilAllAreThere) {
  const HANDLE handles[] = {autoEvent(TRUE), autoEvent()};
  EXPECT_EQ(WaitForMultipleObjects(2, handles, TRUE, 10), WAIT_TIMEOUT);
  EXPECT_EQ(poll(handles[0]), WAIT_OBJECT_0);
  SetEvent(handles[0]);
  SetEvent(handles[1]);
  EXPECT_EQ(WaitForMultipleObjects(2, handles, TRUE, 10), WAIT_OBJECT_0);
  EXPECT_EQ(poll(handles[1]), WAIT_TIMEOUT);
  CloseHandle(handles[0]);
  CloseHandle(handles[1]);
}

TEST(WaitForMultipleObjects, OfANullOrClosedHandleFailsWith6AndTakesNothing) {
  const HANDLE event = autoEvent(TRUE);
  const HANDLE closed = autoEvent(TRUE);
  CloseHandle(closed);
  for (const HANDLE bad : {HANDLE{nullptr}, closed}) {
    const HANDLE handles[] = {event, bad};
    SetLastError(contract::kUntouched);
    EXPECT_EQ(WaitForMultipleObjects(2, handles, FALSE, 10), WAIT_FAILED);
    EXPECT_EQ(GetLastError(), 6U);
  }
  EXPECT_EQ(poll(event), WAIT_OBJECT_0);
  CloseHandle(event);
}

TEST(WaitForMultipleObjects, OfNoneOrMoreThan64FailsWith87) {
  const HANDLE event = CreateEventW(nullptr, TRUE, TRUE, nullptr);
  const std::vector<HANDLE> handles(65, event);
  EXPECT_EQ(WaitForMultipleObjects(0, handles.data(), FALSE, 10), WAIT_FAILED);
  EXPECT_EQ(GetLastError(), 87U);
  SetLastError(contract::kUntouched);
  EXPECT_EQ(WaitForMultipleObjects(65, handles.data(), FALSE, 10), WAIT_FAILED);
  EXPECT_EQ(GetLastError(), 87U);
  EXPECT_EQ(WaitForMultipleObjects(64, handles.data(), FALSE, 10), 0U);
  CloseHandle(event);
}

TEST(WaitForMultipleObjects, TellsAMutexWhoseOwnerDiedAsAbandonedAndOwnsIt) {
  const HANDLE mutex = CreateMutexW(nullptr, FALSE, nullptr);
  contract::OtherThread([&] { poll(mutex); }).join();
  const HANDLE handles[] = {autoEvent(), mutex};
  EXPECT_EQ(WaitForMultipleObjects(2, handles, FALSE, 0), WAIT_ABANDONED_0 + 1);
  EXPECT_TRUE(ReleaseMutex(mutex));
  CloseHandle(handles[0]);
  CloseHandle(mutex);
}

TEST(CreateMutexW, IsOwnedByItsMakerOnlyIfItIsToldSo) {
  const HANDLE owned = CreateMutexW(nullptr, TRUE, nullptr);
  const HANDLE free = CreateMutexW(nullptr, FALSE, nullptr);
  DWORD ofOwned = 9;
  DWORD ofFree = 9;
  contract::OtherThread([&] {
    ofOwned = poll(owned);
    ofFree = poll(free);
    ReleaseMutex(free);
  }).join();
  EXPECT_EQ(ofOwned, WAIT_TIMEOUT);
  EXPECT_EQ(ofFree, WAIT_OBJECT_0);
  CloseHandle(owned);
  CloseHandle(free);
}

TEST(CreateMutexW, OpensAnExistingMutexAndLeaves183) {
  const HANDLE first = CreateMutexW(nullptr, FALSE, L"ContractMutex");
  EXPECT_EQ(GetLastError(), 0U);
  const HANDLE second = CreateMutexW(nullptr, TRUE, L"ContractMutex");
  EXPECT_EQ(GetLastError(), 183U);
  EXPECT_NE(second, nullptr);
  EXPECT_FALSE(ReleaseMutex(first)) << "the second maker does not own it";
  CloseHandle(first);
  CloseHandle(second);
}

TEST(ReleaseMutex, IsNeededAsOftenAsItsOwnerWaited) {
  const HANDLE mutex = CreateMutexW(nullptr, FALSE, nullptr);
  EXPECT_EQ(poll(mutex), WAIT_OBJECT_0);
  EXPECT_EQ(poll(mutex), WAIT_OBJECT_0);
  EXPECT_TRUE(ReleaseMutex(mutex));
  DWORD seen = 0;
  contract::OtherThread([&] { seen = poll(mutex); }).join();
  EXPECT_EQ(seen, WAIT_TIMEOUT);
  EXPECT_TRUE(ReleaseMutex(mutex));
  contract::OtherThread([&] { seen = poll(mutex); }).join();
  EXPECT_EQ(seen, WAIT_OBJECT_0);
  CloseHandle(mutex);
}

TEST(ReleaseMutex, ByAnotherThreadFailsWith288) {
  const HANDLE mutex = CreateMutexW(nullptr, TRUE, nullptr);
  BOOL isReleased = TRUE;
  DWORD error = 0;
  contract::OtherThread([&] {
    isReleased = ReleaseMutex(mutex);
    error = GetLastError();
  }).join();
  EXPECT_FALSE(isReleased);
  EXPECT_EQ(error, 288U);
  CloseHandle(mutex);
}

TEST(ReleaseMutex, OfAnotherKindFailsWith6) {
  const HANDLE event = autoEvent();
  EXPECT_FALSE(ReleaseMutex(event));
  EXPECT_EQ(GetLastError(), 6U);
  CloseHandle(event);
}

}  // namespace
