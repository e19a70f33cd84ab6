#include "VUSL/Support/win32/ThreadNaming.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "VUSL/Support/Thread.h"
#include "tests/support/MachineTest.h"

namespace {

class ThreadNamingTest : public host::MachineTest {};

// What a debugger saw of the last naming.
struct Seen {
  DWORD code = 0;
  DWORD flags = 1;
  DWORD count = 0;
  uint32_t type = 0;
  std::string name;
  uint32_t threadId = 0;
  uint32_t recordFlags = 1;
};
Seen g_seen;

// Stands ahead of all other handlers, as a debugger does.
LONG CALLBACK watch(EXCEPTION_POINTERS* exception) {
  const EXCEPTION_RECORD& record = *exception->ExceptionRecord;
  const char* name = nullptr;
  const auto* const bytes = reinterpret_cast<const unsigned char*>(record.ExceptionInformation);
  g_seen.code = record.ExceptionCode;
  g_seen.flags = record.ExceptionFlags;
  g_seen.count = record.NumberParameters;
  std::memcpy(&g_seen.type, bytes, 4);
  std::memcpy(&name, bytes + 8, 8);
  std::memcpy(&g_seen.threadId, bytes + 16, 4);
  std::memcpy(&g_seen.recordFlags, bytes + 20, 4);
  g_seen.name = name;
  return EXCEPTION_CONTINUE_SEARCH;
}

TEST_F(ThreadNamingTest, raisesTheNamingExceptionWithTheRecordInThreeArguments) {
  // Added by a hook, so that it comes after the product's own and, being first, stands before it.
  PVOID watcher = nullptr;
  host::CallHooks::instance().before("RaiseException", 1,
                                     [&] { watcher = AddVectoredExceptionHandler(1, watch); });
  vusl::NameThreadForDebugger(0x1A2C, "loader");
  RemoveVectoredExceptionHandler(watcher);
  EXPECT_EQ(g_seen.code, 0x406D1388U);
  EXPECT_EQ(g_seen.flags, 0U);
  EXPECT_EQ(g_seen.count, 3U);
  EXPECT_EQ(g_seen.type, 0x1000U);
  EXPECT_EQ(g_seen.name, "loader");
  EXPECT_EQ(g_seen.threadId, 0x1A2CU);
  EXPECT_EQ(g_seen.recordFlags, 0U);
}

// A handler that another part of the process has put in front is to learn nothing of it.
TEST_F(ThreadNamingTest, takesTheExceptionAheadOfEveryOtherHandler) {
  PVOID const watcher = AddVectoredExceptionHandler(1, watch);
  g_seen = {};
  vusl::NameThreadForDebugger(0x1A2C, "loader");
  RemoveVectoredExceptionHandler(watcher);
  EXPECT_EQ(g_seen.code, 0U);
  EXPECT_EQ(journal().calls("RaiseException").size(), 1U);
}

class IdTelling : public vusl::Thread {
 public:
  IdTelling() : Thread("tencharact") {}
  void Run() override { id = GetCurrentThreadId(); }

  DWORD id = 0;
};

TEST_F(ThreadNamingTest, startedThreadIsNamedByItsOwnIdAndTheFirstNineCharacters) {
  PVOID watcher = nullptr;
  host::CallHooks::instance().before("RaiseException", 1,
                                     [&] { watcher = AddVectoredExceptionHandler(1, watch); });
  IdTelling thread;
  thread.Start();
  thread.Wait();
  RemoveVectoredExceptionHandler(watcher);
  EXPECT_EQ(g_seen.name, "tencharac");
  EXPECT_NE(thread.id, 0U);
  EXPECT_EQ(g_seen.threadId, thread.id);
}

TEST_F(ThreadNamingTest, handlerStandsOnlyWhileTheExceptionIsRaised) {
  vusl::NameThreadForDebugger(7, "w");
  EXPECT_EQ(journal().names(),
            (std::vector<std::string>{"AddVectoredExceptionHandler", "RaiseException",
                                      "RemoveVectoredExceptionHandler"}));
}

TEST_F(ThreadNamingTest, withoutAHandlerNothingIsRaised) {
  faults().failOnce("AddVectoredExceptionHandler", 8);
  vusl::NameThreadForDebugger(7, "w");
  EXPECT_TRUE(journal().calls("RaiseException").empty());
}

// Takes what nobody else took, so that the test goes on.
LONG CALLBACK takeRest(EXCEPTION_POINTERS* exception) {
  g_seen.code = exception->ExceptionRecord->ExceptionCode;
  return EXCEPTION_CONTINUE_EXECUTION;
}

TEST_F(ThreadNamingTest, exceptionOfAnotherKindIsLeftToTheOtherHandlers) {
  const PVOID last = AddVectoredExceptionHandler(0, takeRest);
  host::CallHooks::instance().before("RemoveVectoredExceptionHandler", 1,
                                     [] { RaiseException(0xC0000005, 0, 0, nullptr); });
  vusl::NameThreadForDebugger(7, "w");
  EXPECT_EQ(g_seen.code, 0xC0000005U);
  RemoveVectoredExceptionHandler(last);
}

}  // namespace
