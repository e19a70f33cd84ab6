// Started programs.

#include <string>

#include "tests/contract/Contract.h"

namespace {

// The wait is for a real program: over the model its time is not the clock's.
bool hasEnded(HANDLE process) {
  constexpr int kPatience = 1'000'000;
  for (int i = 0; i < kPatience; ++i) {
    if (WaitForSingleObject(process, 10) == WAIT_OBJECT_0) {
      return true;
    }
  }
  return false;
}

class Started {
 public:
  explicit Started(const std::wstring& name, DWORD size = sizeof(STARTUPINFOW)) {
    STARTUPINFOW startup{};
    startup.cb = size;
    isStarted = CreateProcessW(contract::pathOf(name).c_str(), nullptr, nullptr, nullptr, FALSE, 0,
                               nullptr, nullptr, &startup, &process);
    error = GetLastError();
  }
  ~Started() {
    if (isStarted) {
      EXPECT_TRUE(hasEnded(process.hProcess));
      CloseHandle(process.hProcess);
      CloseHandle(process.hThread);
    }
  }
  Started(const Started&) = delete;
  Started& operator=(const Started&) = delete;

  BOOL isStarted = FALSE;
  DWORD error = 0;
  PROCESS_INFORMATION process{};
};

TEST(CreateProcessW, GivesTwoHandlesThatAreSignalledAtTheEnd) {
  contract::putProgram(L"small.exe");
  const Started started(L"small.exe");
  ASSERT_TRUE(started.isStarted);
  EXPECT_TRUE(hasEnded(started.process.hProcess));
  EXPECT_TRUE(hasEnded(started.process.hThread));
  EXPECT_NE(started.process.dwProcessId, 0U);
  EXPECT_NE(started.process.dwThreadId, 0U);
}

TEST(CreateProcessW, OfAMissingProgramFailsWith2) {
  const Started started(L"none.exe");
  EXPECT_FALSE(started.isStarted);
  EXPECT_EQ(started.error, 2U);
}

TEST(CreateProcessW, InAMissingFolderFailsWith3) {
  const Started started(L"none\\none.exe");
  EXPECT_FALSE(started.isStarted);
  EXPECT_EQ(started.error, 3U);
}

TEST(CreateProcessW, OfAFolderFailsWith5) {
  contract::putFolder(L"folder");
  const Started started(L"folder");
  EXPECT_FALSE(started.isStarted);
  EXPECT_EQ(started.error,
            contract::butUnderWine<DWORD>(5, 6,
                                          "Wine takes the folder for a file that it cannot "
                                          "read"));
}

TEST(CreateProcessW, OfAFileThatIsNoProgramFailsWith193) {
  contract::putFile(L"text.exe", "no program");
  const Started started(L"text.exe");
  EXPECT_FALSE(started.isStarted);
  EXPECT_EQ(started.error, 193U);
}

TEST(CreateProcessW, OfARecordWithAnotherSizeFailsWith87) {
  contract::putProgram(L"small.exe");
  const Started started(L"small.exe", 0);
  EXPECT_EQ(started.isStarted,
            contract::butUnderWine(FALSE, TRUE,
                                   "Wine does not look at it; the model does, so that a record "
                                   "that nobody filled in is noticed"));
  EXPECT_EQ(started.error == 87U, !started.isStarted);
}

TEST(GetCurrentProcess, IsAHandleThatNeedsNoClosing) {
  EXPECT_EQ(GetCurrentProcess(), INVALID_HANDLE_VALUE);
  EXPECT_EQ(GetLastError(), contract::kUntouched);
}

}  // namespace
