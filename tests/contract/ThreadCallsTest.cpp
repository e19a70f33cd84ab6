// Threads, critical sections, pauses, exceptions, last errors.

#include "tests/contract/Contract.h"
#include "tests/contract/OtherThread.h"

namespace {

DWORD WINAPI addOne(LPVOID parameter) {
  ++*static_cast<int*>(parameter);
  return 5;
}

TEST(CreateThread, RunsItsFunctionAndIsSignalledAtTheEnd) {
  int count = 0;
  DWORD id = 0;
  const HANDLE thread = CreateThread(nullptr, 0, addOne, &count, 0, &id);
  ASSERT_NE(thread, nullptr);
  EXPECT_NE(id, 0U);
  EXPECT_NE(id, GetCurrentThreadId());
  EXPECT_EQ(WaitForSingleObject(thread, INFINITE), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(thread, 0), WAIT_OBJECT_0);
  EXPECT_EQ(count, 1);
  EXPECT_TRUE(CloseHandle(thread));
}

TEST(CreateThread, RunsOnAfterItsHandleWasClosed) {
  int count = 0;
  const HANDLE done = CreateEventW(nullptr, FALSE, FALSE, nullptr);
  struct Parameter {
    int* count;
    HANDLE done;
  } parameter{&count, done};
  const HANDLE thread = CreateThread(
      nullptr, 0,
      [](LPVOID given) -> DWORD {
        const auto* const own = static_cast<Parameter*>(given);
        Sleep(5);
        ++*own->count;
        SetEvent(own->done);
        return 0;
      },
      &parameter, 0, nullptr);
  EXPECT_TRUE(CloseHandle(thread));
  EXPECT_EQ(WaitForSingleObject(done, INFINITE), WAIT_OBJECT_0);
  EXPECT_EQ(count, 1);
  CloseHandle(done);
}

TEST(GetCurrentThreadId, IsTheSameEachTimeAndAnotherOneInAnotherThread) {
  const DWORD own = GetCurrentThreadId();
  EXPECT_EQ(GetCurrentThreadId(), own);
  DWORD other = 0;
  contract::OtherThread([&] { other = GetCurrentThreadId(); }).join();
  EXPECT_NE(other, own);
}

TEST(GetLastError, IsEachThreadsOwnAndBeginsWith0) {
  SetLastError(1234);
  DWORD other = 99;
  contract::OtherThread([&] {
    other = GetLastError();
    SetLastError(5);
  }).join();
  EXPECT_EQ(other, 0U);
  SetLastError(1234);
  EXPECT_EQ(GetLastError(), 1234U);
  EXPECT_EQ(GetLastError(), 1234U);
}

TEST(Sleep, TakesItsTimeAndLeavesTheLastErrorAlone) {
  const auto began = contract::milliseconds();
  Sleep(30);
  EXPECT_GE(contract::milliseconds() - began, 29);
  EXPECT_EQ(GetLastError(), contract::kUntouched);
}

// A section, and what another thread comes to in it within a moment.
class Section {
 public:
  Section() { EXPECT_TRUE(InitializeCriticalSectionAndSpinCount(&section_, 16384)); }
  ~Section() { DeleteCriticalSection(&section_); }
  Section(const Section&) = delete;
  Section& operator=(const Section&) = delete;

  void enter() { EnterCriticalSection(&section_); }
  void leave() { LeaveCriticalSection(&section_); }

 private:
  CRITICAL_SECTION section_;
};

TEST(InitializeCriticalSectionAndSpinCount, MakesASectionThatIsFree) {
  CRITICAL_SECTION section;
  EXPECT_TRUE(InitializeCriticalSectionAndSpinCount(&section, 16384));
  EnterCriticalSection(&section);
  LeaveCriticalSection(&section);
  DeleteCriticalSection(&section);
}

TEST(EnterCriticalSection, KeepsOtherThreadsOut) {
  Section section;
  bool hasEntered = false;
  section.enter();
  contract::OtherThread other([&] {
    section.enter();
    hasEntered = true;
    section.leave();
  });
  Sleep(20);
  EXPECT_FALSE(hasEntered);
  section.leave();
  other.join();
  EXPECT_TRUE(hasEntered);
}

TEST(LeaveCriticalSection, IsNeededAsOftenAsItsOwnerEntered) {
  Section section;
  bool hasEntered = false;
  section.enter();
  section.enter();
  section.leave();
  contract::OtherThread other([&] {
    section.enter();
    hasEntered = true;
    section.leave();
  });
  Sleep(20);
  EXPECT_FALSE(hasEntered);
  section.leave();
  other.join();
  EXPECT_TRUE(hasEntered);
}

TEST(DeleteCriticalSection, LetsTheSectionBeMadeAnew) {
  CRITICAL_SECTION section;
  EXPECT_TRUE(InitializeCriticalSectionAndSpinCount(&section, 0));
  DeleteCriticalSection(&section);
  EXPECT_TRUE(InitializeCriticalSectionAndSpinCount(&section, 0));
  EnterCriticalSection(&section);
  LeaveCriticalSection(&section);
  DeleteCriticalSection(&section);
}

constexpr DWORD kCode = 0xE0001234;
DWORD parameterSeen = 0;

LONG CALLBACK goOn(EXCEPTION_POINTERS* pointers) {
  const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
  if (record.ExceptionCode != kCode) {
    return EXCEPTION_CONTINUE_SEARCH;
  }
  parameterSeen =
      record.NumberParameters == 0 ? 0 : static_cast<DWORD>(record.ExceptionInformation[0]);
  return EXCEPTION_CONTINUE_EXECUTION;
}

TEST(RaiseException, GoesOnBehindTheCallWhenAHandlerSaysSo) {
  const PVOID handler = AddVectoredExceptionHandler(1, goOn);
  const ULONG_PTR arguments[] = {42};
  RaiseException(kCode, 0, 1, arguments);
  RemoveVectoredExceptionHandler(handler);
  EXPECT_EQ(parameterSeen, 42U);
}

TEST(AddVectoredExceptionHandler, AsksTheOneThatCameFirstFirst) {
  const PVOID second = AddVectoredExceptionHandler(1, goOn);
  const PVOID first = AddVectoredExceptionHandler(
      1, [](EXCEPTION_POINTERS*) -> LONG { return EXCEPTION_CONTINUE_EXECUTION; });
  parameterSeen = 7;
  RaiseException(kCode, 0, 0, nullptr);
  EXPECT_EQ(parameterSeen, 7U) << "the first one took it";
  RemoveVectoredExceptionHandler(first);
  RaiseException(kCode, 0, 0, nullptr);
  EXPECT_EQ(parameterSeen, 0U);
  RemoveVectoredExceptionHandler(second);
}

TEST(RemoveVectoredExceptionHandler, SucceedsOnce) {
  const PVOID handler = AddVectoredExceptionHandler(1, goOn);
  EXPECT_EQ(RemoveVectoredExceptionHandler(handler), 1U);
  EXPECT_EQ(RemoveVectoredExceptionHandler(handler), 0U);
}

}  // namespace
