// Odd files and odd lines: folders in the way, a thousand archives, lines of any length and
// content.

#include <cstdio>
#include <cstdlib>
#include <string>

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/RollingFileLogOutlet.h"
#include "platform/win32.h"
#include "tests/unit/diagnostics/RollingOutletFixture.h"
#include "tests/unit/runtime/FailingAllocation.h"
#include "tests/unit/runtime/SlotOrder.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

class RollingOutletEdgeTest : public RollingOutletFixture {
 protected:
  ~RollingOutletEdgeTest() override { RollingFileLogOutlet::level = 1; }
};

struct OpenDateOutlet : RollingDateFileLogOutlet {
  using RollingDateFileLogOutlet::roll;
  using RollingDateFileLogOutlet::rollFlagA;
  using RollingDateFileLogOutlet::rollFlagB;
  using RollingDateFileLogOutlet::RollingDateFileLogOutlet;
  using RollingFileLogOutlet::currentSize;
  using RollingFileLogOutlet::lastWriteOk;
  using RollingFileLogOutlet::listener;
  using RollingFileLogOutlet::maxArchiveNumber;
  using RollingFileLogOutlet::maxFileSize;
  using RollingFileLogOutlet::timeStamp;
};

TEST_F(RollingOutletEdgeTest, startsWithTheLimitsAndNoListener) {
  write(L"x.log", "12345");
  const OpenDateOutlet outlet(kPath);
  EXPECT_EQ(outlet.currentSize, 5U);
  EXPECT_EQ(outlet.maxFileSize, 4194304U);
  EXPECT_EQ(outlet.maxArchiveNumber, 10U);
  EXPECT_EQ(outlet.listener, nullptr);
  EXPECT_TRUE(outlet.lastWriteOk);
  EXPECT_FALSE(outlet.rollFlagA);
  EXPECT_FALSE(outlet.rollFlagB);
}

TEST_F(RollingOutletEdgeTest, clearsBothFlagsWhenItRollsByDateAlsoIfThatFails) {
  OpenDateOutlet outlet(kPath);
  outlet.rollFlagA = true;
  outlet.rollFlagB = true;
  EXPECT_THROW(outlet.roll(L"C:\\logs\\x.log", 0), Exception);
  EXPECT_FALSE(outlet.rollFlagA);
  EXPECT_FALSE(outlet.rollFlagB);
}

TEST_F(RollingOutletEdgeTest, rollsByDateInTheSlotOfRoll) {
  EXPECT_EQ(slotOf(&OpenDateOutlet::roll), 6U);
  EXPECT_EQ(slotOf(&LogStatusListener::OnStatus), 2U);
}

TEST_F(RollingOutletEdgeTest, hasOneThresholdForBothWaysOfRolling) {
  RollingFileLogOutlet::level = 3;
  RollingDateFileLogOutlet outlet(kPath);
  outlet.Log(L"", L"", L"text", 2);
  EXPECT_EQ(content(L"x.log"), std::nullopt);
  EXPECT_TRUE(journal().calls("EnterCriticalSection").empty());
  outlet.Log(L"", L"", L"text", 3);
  EXPECT_EQ(content(L"x.log"), "[ERR] text\r\n");
}

TEST_F(RollingOutletEdgeTest, countsWhatTheFileHoldsWhenItCouldNotBeMoved) {
  OpenDateOutlet outlet(kPath);
  outlet.setMaxFileSize(3);
  outlet.Dump(L"a");
  faults().failOnce("MoveFileW", 5);
  outlet.Dump(L"b");
  EXPECT_EQ(content(L"x.log"),
            "a\r\nError when renaming file from C:\\logs\\x.log to "
            "C:\\logs\\x.log.20260102030405Last error: 5b\r\n");
  EXPECT_EQ(outlet.currentSize, 94U);
}

TEST_F(RollingOutletEdgeTest, countsWhatTheNewFileHoldsWhenTheOldOnesCouldNotBeDeleted) {
  OpenDateOutlet outlet(kPath);
  outlet.setMaxFileSize(3);
  outlet.setMaxArchiveNumber(1);
  outlet.Dump(L"a");
  faults().failOnce("DeleteFileW", 5);
  outlet.Dump(L"b");
  EXPECT_EQ(content(L"x.log"),
            "Unable to remove file(s): C:\\logs\\x.log.20260102030405 reason: Error when deleting "
            "file: C:\\logs\\x.log.20260102030405Last error: 5 b\r\n");
  EXPECT_EQ(outlet.currentSize, 134U);
}

TEST_F(RollingOutletEdgeTest, countsAsBeforeWhenTheFileCannotBeOpenedForTheReason) {
  OpenDateOutlet outlet(kPath);
  outlet.setMaxFileSize(3);
  outlet.Dump(L"a");
  faults().failOnce("MoveFileW", 5);
  faults().failOnce("CreateFileW", 5);
  outlet.Dump(L"b");
  EXPECT_EQ(content(L"x.log"), "a\r\n");
  EXPECT_EQ(outlet.currentSize, 3U);
}

TEST_F(RollingOutletEdgeTest, opensTheFileForTheReasonAndThenCountsAndThenWrites) {
  OpenDateOutlet outlet(kPath);
  outlet.setMaxFileSize(3);
  outlet.Dump(L"a");
  faults().failOnce("MoveFileW", 5);
  journal().clear();
  outlet.Dump(L"b");
  EXPECT_EQ(journal().namesOf({"MoveFileW", "CreateFileW", "SetFilePointer", "FindFirstFileW",
                               "WriteFile", "CloseHandle"}),
            (std::vector<std::string>{"CloseHandle", "MoveFileW", "CreateFileW", "SetFilePointer",
                                      "FindFirstFileW", "WriteFile", "CloseHandle", "CreateFileW",
                                      "SetFilePointer", "WriteFile"}));
  // 3221225476 is to read, write and append.
  for (const auto& call : journal().calls("CreateFileW")) {
    EXPECT_EQ(call.args.rfind("C:\\logs\\x.log, 3221225476, ", 0), 0U) << call.args;
  }
}

// There is nothing to move aside, and that fails by date. By number it does not.
TEST_F(RollingOutletEdgeTest, putsAReasonBeforeAFirstLineThatIsLongerThanTheLimit) {
  RollingDateFileLogOutlet byDate(kPath);
  byDate.setMaxFileSize(3);
  byDate.Dump(L"long");
  EXPECT_EQ(content(L"x.log"),
            "Error when renaming file from C:\\logs\\x.log to "
            "C:\\logs\\x.log.20260102030405Last error: 2long\r\n");
  RollingFileLogOutlet byNumber("C:\\logs\\y.log");
  byNumber.setMaxFileSize(3);
  byNumber.Dump(L"long");
  EXPECT_EQ(content(L"y.log"), "long\r\n");
}

TEST_F(RollingOutletEdgeTest, opensOnceHoweverOftenItIsReopened) {
  RollingFileLogOutlet outlet(kPath);
  outlet.reopen();
  outlet.reopen();
  outlet.Dump(L"a");
  EXPECT_EQ(journal().calls("CreateFileW").size(), 1U);
  EXPECT_EQ(content(L"x.log"), "a\r\n");
}

TEST_F(RollingOutletEdgeTest, isOpenedAtItsEndWhenReopened) {
  write(L"x.log", "old\r\n");
  RollingFileLogOutlet outlet(kPath);
  outlet.reopen();
  outlet.Dump(L"new");
  EXPECT_EQ(content(L"x.log"), "old\r\nnew\r\n");
}

TEST_F(RollingOutletEdgeTest, tellsThatItCouldNotBeReopened) {
  RollingFileLogOutlet outlet(kPath);
  faults().failOnce("CreateFileW", 5);
  EXPECT_EQ(thrownBy<Exception>([&] { outlet.reopen(); }),
            "Error when opening file C:\\logs\\x.log Last error: 5");
}

TEST_F(RollingOutletEdgeTest, cannotWriteToAFolderAndSaysSoOnce) {
  host::machine().drive.createFolder(L"C:\\logs\\x.log");
  RecordingListener listener;
  RollingFileLogOutlet outlet(kPath);
  outlet.setListener(&listener);
  EXPECT_NO_THROW(outlet.Dump(L"a"));
  EXPECT_NO_THROW(outlet.Dump(L"b"));
  ASSERT_EQ(listener.heard.size(), 1U);
  EXPECT_EQ(listener.heard[0].first,
            "Error when writing to log file: Error when opening file C:\\logs\\x.log "
            "Last error: 5");
}

TEST_F(RollingOutletEdgeTest, cannotWriteIntoAFolderThatIsMissing) {
  RecordingListener listener;
  RollingFileLogOutlet outlet("C:\\none\\x.log");
  outlet.setListener(&listener);
  EXPECT_NO_THROW(outlet.Dump(L"a"));
  ASSERT_EQ(listener.heard.size(), 1U);
  EXPECT_EQ(listener.heard[0].first,
            "Error when writing to log file: Error when opening file C:\\none\\x.log "
            "Last error: 3");
}

TEST_F(RollingOutletEdgeTest, cannotMoveTheFileOntoAFolderOfTheArchivesName) {
  host::machine().drive.createFolder(L"C:\\logs\\x.log.20260102030405");
  RollingDateFileLogOutlet outlet(kPath);
  outlet.setMaxFileSize(3);
  outlet.Dump(L"a");
  outlet.Dump(L"b");
  EXPECT_EQ(content(L"x.log"),
            "a\r\nError when renaming file from C:\\logs\\x.log to "
            "C:\\logs\\x.log.20260102030405Last error: 183b\r\n");
}

TEST_F(RollingOutletEdgeTest, countsTheLow32BitsOfAFileAboveFourGiB) {
  write(L"x.log", "");
  const HANDLE file = CreateFileW(L"C:\\logs\\x.log", GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  LONG high = 1;
  SetFilePointer(file, 9, &high, FILE_BEGIN);
  DWORD written = 0;
  ASSERT_TRUE(WriteFile(file, "x", 1, &written, nullptr));
  CloseHandle(file);
  EXPECT_EQ(OpenDateOutlet(kPath).currentSize, 10U);
}

TEST_F(RollingOutletEdgeTest, rollsAFileOfAlmostFourGiBWithoutAnOverflow) {
  struct Full : RollingFileLogOutlet {
    using RollingFileLogOutlet::RollingFileLogOutlet;
    void fill() { currentSize = 0xFFFFFFFE; }
  } full{kPath};
  full.setMaxFileSize(0xFFFFFFFF);
  write(L"x.log", "old");
  full.fill();
  full.Dump(L"a");
  EXPECT_EQ(content(L"x.log.0"), "old");
  EXPECT_EQ(content(L"x.log"), "a\r\n");
}

TEST_F(RollingOutletEdgeTest, shiftsAThousandArchives) {
  constexpr int kArchives = 1000;
  for (int index = 0; index < kArchives; ++index) {
    write(L"x.log." + std::to_wstring(index), std::to_string(index));
  }
  RollingFileLogOutlet outlet(kPath);
  outlet.setMaxFileSize(3);
  outlet.setMaxArchiveNumber(kArchives);
  outlet.Dump(L"a");
  outlet.Dump(L"b");
  EXPECT_EQ(content(L"x.log"), "b\r\n");
  EXPECT_EQ(content(L"x.log.0"), "a\r\n");
  for (int index = 1; index < kArchives; ++index) {
    ASSERT_EQ(content(L"x.log." + std::to_wstring(index)), std::to_string(index - 1));
  }
  EXPECT_EQ(content(L"x.log.1000"), std::nullopt);
}

TEST_F(RollingOutletEdgeTest, prunesAThousandArchivesToNine) {
  constexpr int kArchives = 1000;
  for (int index = 0; index < kArchives; ++index) {
    writeDaysAgo(L"x.log." + std::to_wstring(index), "old", index + 1);
  }
  RollingDateFileLogOutlet outlet(kPath);
  outlet.setMaxFileSize(3);
  outlet.Dump(L"a");
  outlet.Dump(L"b");
  EXPECT_EQ(content(L"x.log"), "b\r\n");
  EXPECT_EQ(content(kFirstArchive), "a\r\n");
  for (int index = 0; index < kArchives; ++index) {
    EXPECT_EQ(content(L"x.log." + std::to_wstring(index)).has_value(), index < 8) << index;
  }
}

TEST_F(RollingOutletEdgeTest, writesALineOfAMillionCharactersWhole) {
  RollingFileLogOutlet outlet(kPath);
  outlet.Dump(std::wstring(1'000'000, L'x'));
  EXPECT_EQ(content(L"x.log"), std::string(1'000'000, 'x') + "\r\n");
}

TEST_F(RollingOutletEdgeTest, writesAnEmptyLineAsALineEnd) {
  RollingFileLogOutlet outlet(kPath);
  outlet.Dump(L"");
  EXPECT_EQ(content(L"x.log"), "\r\n");
}

TEST_F(RollingOutletEdgeTest, writesEveryCharacterOfALineThatHoldsZeros) {
  RollingFileLogOutlet outlet(kPath);
  outlet.Dump(std::wstring(L"a\0b", 3));
  EXPECT_EQ(content(L"x.log"), std::string("a\0b\r\n", 5));
}

TEST_F(RollingOutletEdgeTest, writesAQuestionMarkForALoneSurrogate) {
  RollingFileLogOutlet outlet(kPath);
  outlet.Dump(std::wstring{L'a', static_cast<wchar_t>(0xD800), static_cast<wchar_t>(0xDFFF), L'b'});
  EXPECT_EQ(content(L"x.log"), "a??b\r\n");
}

TEST_F(RollingOutletEdgeTest, rollsBeforeEachLineWithTheLimitZero) {
  RollingFileLogOutlet outlet(kPath);
  outlet.setMaxFileSize(0);
  outlet.Dump(L"a");
  outlet.Dump(L"b");
  EXPECT_EQ(content(L"x.log"), "b\r\n");
  EXPECT_EQ(content(L"x.log.0"), "a\r\n");
}

TEST_F(RollingOutletEdgeTest, deletesTheFileItselfWithNoArchives) {
  RollingFileLogOutlet outlet(kPath);
  outlet.setMaxFileSize(3);
  outlet.setMaxArchiveNumber(0);
  outlet.Dump(L"a");
  outlet.Dump(L"b");
  EXPECT_EQ(content(L"x.log"), "b\r\n");
  EXPECT_EQ(content(L"x.log.0"), std::nullopt);
}

TEST_F(RollingOutletEdgeTest, keepsALackOfMemoryToItself) {
  RecordingListener listener;
  RollingFileLogOutlet outlet(kPath);
  outlet.setListener(&listener);
  const std::wstring line(100'000, L'x');
  {
    const FailingAllocation failing(line.size());
    EXPECT_NO_THROW(outlet.Dump(line));
  }
  ASSERT_EQ(listener.heard.size(), 1U);
  EXPECT_EQ(listener.heard[0].first, "Could not write to log file.");
  outlet.Dump(L"a");
  EXPECT_EQ(content(L"x.log"), "a\r\n");
}

TEST_F(RollingOutletEdgeTest, hasAnEmptyStampWhereTheTimeDoesNotFit) {
  std::string stamp = "old";
  OpenDateOutlet::timeStamp(stamp, std::string(64, 'x'));
  EXPECT_EQ(stamp, "");
  OpenDateOutlet::timeStamp(stamp, std::string(63, 'x'));
  EXPECT_EQ(stamp, std::string(63, 'x'));
}

}  // namespace
