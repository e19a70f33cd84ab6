// Started programs.

#include "platform/host/ProcessObject.h"
#include "tests/support/MachineTest.h"

namespace {

constexpr wchar_t kProgram[] = L"C:\\Orvix\\OrvixVTMEkRecertification.exe";

class ProcessesTest : public host::MachineTest {
 protected:
  ProcessesTest() {
    startup_.cb = sizeof startup_;
    host::machine().drive.linkIn(STANDINS_DIR "/OrvixVTMEkRecertification.exe", kProgram);
  }

  BOOL start(const wchar_t* program) {
    return CreateProcessW(program, nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup_,
                          &started_);
  }

  STARTUPINFOW startup_{};
  PROCESS_INFORMATION started_{};
};

TEST_F(ProcessesTest, AProgramIsStartedWithTwoHandlesInTheAccount) {
  ASSERT_TRUE(start(kProgram));
  EXPECT_EQ(host::machine().programsStarted, std::vector<std::wstring>{kProgram});
  EXPECT_EQ(ledger().open("process"), 1U);
  EXPECT_EQ(ledger().open("thread"), 1U);
  EXPECT_TRUE(CloseHandle(started_.hProcess));
  EXPECT_TRUE(CloseHandle(started_.hThread));
  EXPECT_EQ(ledger().open("process") + ledger().open("thread"), 0U);
}

TEST_F(ProcessesTest, EachProgramHasNumbersOfItsOwn) {
  ASSERT_TRUE(start(kProgram));
  const PROCESS_INFORMATION first = started_;
  ASSERT_TRUE(start(kProgram));
  EXPECT_NE(started_.dwProcessId, first.dwProcessId);
  EXPECT_NE(started_.dwThreadId, first.dwThreadId);
}

// Its start succeeds all the same, and what it left is there.
TEST_F(ProcessesTest, AProgramThatCrashesEndsWithTheCodeOfAnAccessViolation) {
  constexpr wchar_t kCrashing[] = L"C:\\Orvix\\Crashing.exe";
  host::machine().drive.linkIn(STANDINS_DIR "/OrvixVTMEkRecertificationCrashes.exe", kCrashing);
  const host::StartedProgram program = host::startProgram(kCrashing);
  ASSERT_EQ(program.error, 0U);
  EXPECT_EQ(static_cast<DWORD>(host::exitCodeOf(program.child)), 0xC0000005U);
  EXPECT_EQ(host::machine().drive.read(L"C:\\Orvix\\recertification.log"), "started\n");
}

TEST_F(ProcessesTest, AMissingProgramFailsWith2) {
  EXPECT_FALSE(start(L"C:\\Orvix\\Other.exe"));
  EXPECT_EQ(GetLastError(), 2U);
}

TEST_F(ProcessesTest, AMissingFolderFailsWith3) {
  EXPECT_FALSE(start(L"C:\\Nowhere\\Other.exe"));
  EXPECT_EQ(GetLastError(), 3U);
}

TEST_F(ProcessesTest, AFolderFailsWith5) {
  EXPECT_FALSE(start(L"C:\\Orvix"));
  EXPECT_EQ(GetLastError(), 5U);
}

TEST_F(ProcessesTest, AFileThatIsNoProgramFailsWith193) {
  host::machine().drive.write(L"C:\\Orvix\\text.exe", "no program");
  EXPECT_FALSE(start(L"C:\\Orvix\\text.exe"));
  EXPECT_EQ(GetLastError(), 193U);
}

TEST_F(ProcessesTest, ARecordWithAnotherSizeFailsWith87) {
  startup_.cb = 0;
  EXPECT_FALSE(start(kProgram));
  EXPECT_EQ(GetLastError(), 87U);
}

TEST_F(ProcessesTest, AFaultStartsNothing) {
  faults().failOnce("CreateProcessW", 740);
  EXPECT_FALSE(start(kProgram));
  EXPECT_EQ(GetLastError(), 740U);
  EXPECT_TRUE(host::machine().programsStarted.empty());
  EXPECT_EQ(ledger().open("process"), 0U);
}

TEST_F(ProcessesTest, TheProcessItselfHasAHandleThatIsNotAccounted) {
  EXPECT_EQ(GetCurrentProcess(), INVALID_HANDLE_VALUE);
  EXPECT_TRUE(ledger().stillOpen().empty());
}

}  // namespace
