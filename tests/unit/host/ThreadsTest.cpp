#include <gtest/gtest.h>

#include "tests/support/MachineTest.h"

namespace {

class ThreadsTest : public host::MachineTest {};

DWORD addOne(LPVOID parameter) {
  ++*static_cast<int*>(parameter);
  return 0;
}

LONG continueExecution(EXCEPTION_POINTERS* pointers) {
  return pointers->ExceptionRecord->ExceptionCode == 0xE0001234 ? EXCEPTION_CONTINUE_EXECUTION
                                                                : EXCEPTION_CONTINUE_SEARCH;
}

TEST_F(ThreadsTest, AThreadRunsItsFunctionAndItsHandleIsSignalledAtTheEnd) {
  int count = 0;
  DWORD id = 0;
  const HANDLE thread = CreateThread(nullptr, 0, addOne, &count, 0, &id);
  ASSERT_NE(thread, nullptr);
  EXPECT_NE(id, GetCurrentThreadId());
  EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
  EXPECT_EQ(count, 1);
  EXPECT_TRUE(CloseHandle(thread));
}

TEST_F(ThreadsTest, EachThreadKeepsItsOwnLastError) {
  SetLastError(11);
  host::TestThread([] {
    EXPECT_EQ(GetLastError(), 0U);
    SetLastError(22);
  }).join();
  EXPECT_EQ(GetLastError(), 11U);
}

TEST_F(ThreadsTest, ACreateThreadThatIsToldToFailStartsNothing) {
  faults().failOnce("CreateThread", 8);
  int count = 0;
  EXPECT_EQ(CreateThread(nullptr, 0, addOne, &count, 0, nullptr), nullptr);
  EXPECT_EQ(GetLastError(), 8U);
  EXPECT_EQ(count, 0);
}

TEST_F(ThreadsTest, ACriticalSectionIsRecursiveOnItsOwner) {
  CRITICAL_SECTION section;
  ASSERT_TRUE(InitializeCriticalSectionAndSpinCount(&section, 16384));
  EnterCriticalSection(&section);
  EnterCriticalSection(&section);
  LeaveCriticalSection(&section);
  bool entered = false;
  host::TestThread other([&] {
    EnterCriticalSection(&section);
    entered = true;
    LeaveCriticalSection(&section);
  });
  Sleep(10);
  EXPECT_FALSE(entered);
  LeaveCriticalSection(&section);
  other.join();
  EXPECT_TRUE(entered);
  DeleteCriticalSection(&section);
  EXPECT_EQ(ledger().open("section"), 0U);
  EXPECT_TRUE(ledger().violations().empty());
}

TEST_F(ThreadsTest, LeavingASectionOfAnotherThreadIsReported) {
  CRITICAL_SECTION section;
  InitializeCriticalSectionAndSpinCount(&section, 0);
  EnterCriticalSection(&section);
  host::TestThread([&] { LeaveCriticalSection(&section); }).join();
  EXPECT_EQ(ledger().violations(),
            (std::vector<std::string>{"LeaveCriticalSection: the caller does not own it"}));
  LeaveCriticalSection(&section);
  DeleteCriticalSection(&section);
}

TEST_F(ThreadsTest, EnteringADeletedSectionIsReportedAndSurvives) {
  CRITICAL_SECTION section;
  InitializeCriticalSectionAndSpinCount(&section, 0);
  DeleteCriticalSection(&section);
  EnterCriticalSection(&section);
  EXPECT_EQ(ledger().violations().size(), 1U);
}

TEST_F(ThreadsTest, AThreadsNameForTheDebuggerDoesNothingWhenNobodyListens) {
  RaiseException(0x406D1388, 0, 0, nullptr);
  EXPECT_EQ(journal().calls("RaiseException").size(), 1U);
}

TEST_F(ThreadsTest, AnExceptionThatAVectoredHandlerTakesLetsTheProcessGoOn) {
  const PVOID handler = AddVectoredExceptionHandler(1, continueExecution);
  RaiseException(0xE0001234, 0, 0, nullptr);
  EXPECT_EQ(RemoveVectoredExceptionHandler(handler), 1U);
  EXPECT_EQ(RemoveVectoredExceptionHandler(handler), 0U);
}

TEST_F(ThreadsTest, AnExceptionThatNobodyTakesEndsTheProcess) {
  EXPECT_EXIT(RaiseException(0xE0001234, 0, 0, nullptr), ::testing::KilledBySignal(SIGABRT), "");
}

}  // namespace
