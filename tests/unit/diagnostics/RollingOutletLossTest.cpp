// What a file outlet loses, and that it loses nothing else. The losses are required behaviour and
// stand on the page of required oddities.

#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "VUSL/Support/RollingFileLogOutlet.h"
#include "platform/host/DriveLimits.h"
#include "platform/win32.h"
#include "tests/unit/diagnostics/RollingOutletFixture.h"

namespace {

class RollingOutletLossTest : public RollingOutletFixture {};

TEST_F(RollingOutletLossTest, losesTheRestOfALineThatThePlatformWritesInPart) {
  RecordingListener listener;
  RollingFileLogOutlet outlet(kPath);
  outlet.setListener(&listener);
  outlet.setMaxFileSize(12);
  host::driveLimits().freeBytes = 4;
  host::driveLimits().shortWrites = true;
  outlet.Dump(L"a line");
  EXPECT_EQ(content(L"x.log"), "a li");
  EXPECT_TRUE(listener.heard.empty());
  // The line counts in full all the same: 8 + 5 bytes are too many, 4 + 5 would not be.
  host::driveLimits().freeBytes.reset();
  outlet.Dump(L"two");
  EXPECT_EQ(content(L"x.log"), "two\r\n");
  EXPECT_EQ(content(L"x.log.0"), "a li");
}

TEST_F(RollingOutletLossTest, losesTheLinesForWhichThereIsNoRoomAndGoesOnWhenThereIs) {
  RecordingListener listener;
  RollingFileLogOutlet outlet(kPath);
  outlet.setListener(&listener);
  outlet.Dump(L"one");
  host::driveLimits().freeBytes = 2;
  outlet.Dump(L"two");
  outlet.Dump(L"three");
  host::driveLimits().freeBytes = 100;
  outlet.Dump(L"four");
  EXPECT_EQ(content(L"x.log"), "one\r\nfour\r\n");
  ASSERT_EQ(listener.heard.size(), 2U);
  EXPECT_EQ(listener.heard[0].first,
            "Error when writing to log file: Error when writing 5 bytes to file "
            "C:\\logs\\x.logLast error: 112");
  EXPECT_EQ(listener.heard[1].first, "Log file written successfully.");
}

TEST_F(RollingOutletLossTest, overwritesWhatAnotherOutletWroteToTheSameFile) {
  RollingFileLogOutlet first(kPath);
  RollingFileLogOutlet second(kPath);
  first.Dump(L"1");
  second.Dump(L"2");
  EXPECT_EQ(content(L"x.log"), "1\r\n2\r\n");
  first.Dump(L"3");
  EXPECT_EQ(content(L"x.log"), "1\r\n3\r\n");
}

// The end of such a file cannot be found, which the first line pays for. The file stays open and at
// its start, where the lines after it are written.
TEST_F(RollingOutletLossTest, overwritesTheStartOfAFileAboveFourGiB) {
  constexpr LONG kFourGiBHigh = 1;
  write(L"x.log", "start of the file");
  const HANDLE file = CreateFileW(L"C:\\logs\\x.log", GENERIC_WRITE, 0, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  LONG high = kFourGiBHigh;
  SetFilePointer(file, 10, &high, FILE_BEGIN);
  DWORD written = 0;
  ASSERT_TRUE(WriteFile(file, "x", 1, &written, nullptr));
  CloseHandle(file);

  RecordingListener listener;
  RollingFileLogOutlet outlet(kPath);
  outlet.setListener(&listener);
  outlet.Dump(L"a");
  ASSERT_EQ(listener.heard.size(), 1U);
  EXPECT_EQ(listener.heard[0].first,
            "Error when writing to log file: Error when moving to end of file C:\\logs\\x.log87");
  outlet.Dump(L"b");
  const HANDLE reader = CreateFileW(L"C:\\logs\\x.log", GENERIC_READ, 3, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr);
  char bytes[17] = {};
  DWORD got = 0;
  ReadFile(reader, bytes, sizeof(bytes), &got, nullptr);
  CloseHandle(reader);
  EXPECT_EQ(std::string(bytes, sizeof(bytes)), "b\r\nrt of the file");
}

TEST_F(RollingOutletLossTest, overwritesTheStartOfAFileWhoseEndIsRefusedOnce) {
  write(L"x.log", "start of the file");
  RollingFileLogOutlet outlet(kPath);
  faults().failOnce("SetFilePointer", 87);
  outlet.Dump(L"a");
  outlet.Dump(L"b");
  EXPECT_EQ(content(L"x.log"), "b\r\nrt of the file");
}

TEST_F(RollingOutletLossTest, losesTheLastNumberedArchiveAtEachRoll) {
  RollingFileLogOutlet outlet(kPath);
  outlet.setMaxFileSize(3);
  outlet.setMaxArchiveNumber(1);
  for (const wchar_t* line : {L"1", L"2", L"3"}) outlet.Dump(line);
  EXPECT_EQ(content(L"x.log"), "3\r\n");
  EXPECT_EQ(content(L"x.log.0"), "2\r\n");
  EXPECT_EQ(content(L"x.log.1"), std::nullopt);
}

TEST_F(RollingOutletLossTest, losesTheArchivesThatArePruned) {
  RollingDateFileLogOutlet outlet(kPath);
  outlet.setMaxFileSize(3);
  outlet.setMaxArchiveNumber(2);
  for (const wchar_t* line : {L"1", L"2", L"3"}) {
    outlet.Dump(line);
    Sleep(1000);
  }
  EXPECT_EQ(content(L"x.log"), "3\r\n");
  EXPECT_EQ(content(L"x.log.20260102030406"), std::nullopt);
  EXPECT_EQ(content(L"x.log.20260102030407"), "2\r\n");
}

TEST_F(RollingOutletLossTest, losesEveryLineBeforeTheRollWithTheLimitOne) {
  RollingDateFileLogOutlet outlet(kPath);
  outlet.setMaxFileSize(3);
  outlet.setMaxArchiveNumber(1);
  outlet.Dump(L"1");
  outlet.Dump(L"2");
  EXPECT_EQ(content(L"x.log"), "2\r\n");
  EXPECT_EQ(content(kFirstArchive), std::nullopt);
}

TEST_F(RollingOutletLossTest, prunesFilesOfOthersWhoseNamesBeginAsTheLogs) {
  RollingDateFileLogOutlet outlet(kPath);
  writeDaysAgo(L"x.logbook", "somebody's own", 1);
  outlet.setMaxFileSize(3);
  outlet.setMaxArchiveNumber(2);
  outlet.Dump(L"1");
  outlet.Dump(L"2");
  EXPECT_EQ(content(L"x.logbook"), std::nullopt);
}

// Writes many lines while calls fail, and accounts for every line.
class RollingOutletAccountTest : public RollingOutletFixture {
 protected:
  static constexpr int kLines = 600;
  static constexpr DWORD kLineBytes = 12;

  static std::string textOf(int number) {
    std::string digits = std::to_string(number);
    return "line " + std::string(5 - digits.size(), '0') + digits;
  }

  // Whether the platform took the line in the calls since `before`. The reasons of failures are all
  // longer than a line.
  static bool wasWritten(std::size_t before) {
    const auto& entries = journal().entries();
    return std::any_of(entries.begin() + static_cast<std::ptrdiff_t>(before), entries.end(),
                       [](const host::JournalEntry& entry) {
                         return std::string_view(entry.name) == "WriteFile" &&
                                entry.args.find(", 12, ") != std::string::npos &&
                                entry.result == "1";
                       });
  }

  // All that the files of the log hold, in no order.
  static std::string everything() {
    std::string bytes;
    WIN32_FIND_DATAW found{};
    const HANDLE search = FindFirstFileW(L"C:\\logs\\x.log*", &found);
    do {
      bytes += content(found.cFileName).value();
    } while (FindNextFileW(search, &found) != 0);
    FindClose(search);
    return bytes;
  }

  static int countOf(const std::string& text, const std::string& bytes) {
    int count = 0;
    for (size_t at = bytes.find(text); at != std::string::npos; at = bytes.find(text, at + 1)) {
      ++count;
    }
    return count;
  }

  // Before line 7 the first of these fails, before line 14 the second, and so on and again.
  void failNow(int number) {
    static constexpr const char* kCalls[] = {"MoveFileW",   "CreateFileW",  "FindFirstFileW",
                                             "WriteFile",   "MoveFileW",    "FindClose",
                                             "DeleteFileW", "FindNextFileW"};
    const auto turn = static_cast<std::size_t>(number / 7);
    if (number % 7 == 0) faults().failOnce(kCalls[turn % std::size(kCalls)], 5, 1);
  }

  void writeLines(RollingFileLogOutlet& outlet, const std::function<void()>& afterLine) {
    std::vector<int> lost;
    outlet.setMaxFileSize(10 * kLineBytes);
    outlet.setMaxArchiveNumber(1000);
    for (int number = 0; number < kLines; ++number) {
      const std::size_t before = journal().entries().size();
      failNow(number);
      EXPECT_NO_THROW(outlet.Dump(vusl::Widen(textOf(number))));
      if (!wasWritten(before)) lost.push_back(number);
      afterLine();
    }
    faults().clear();
    const std::string bytes = everything();
    for (int number = 0; number < kLines; ++number) {
      const bool isLost = std::find(lost.begin(), lost.end(), number) != lost.end();
      EXPECT_EQ(countOf(textOf(number) + "\r\n", bytes), isLost ? 0 : 1) << textOf(number);
    }
    EXPECT_FALSE(lost.empty());
    EXPECT_LT(lost.size(), kLines / 10U);
  }
};

TEST_F(RollingOutletAccountTest, losesByNumberOnlyTheLinesThatThePlatformDidNotTake) {
  RollingFileLogOutlet outlet(kPath);
  writeLines(outlet, [] {});
  EXPECT_GE(journal().calls("MoveFileW").size(), 100U);
}

TEST_F(RollingOutletAccountTest, losesByDateOnlyTheLinesThatThePlatformDidNotTake) {
  RollingDateFileLogOutlet outlet(kPath);
  writeLines(outlet, [] { Sleep(90); });
  EXPECT_GE(journal().calls("MoveFileW").size(), 20U);
}

TEST_F(RollingOutletAccountTest, losesNothingWhenEveryRollOfASecondFails) {
  RollingDateFileLogOutlet outlet(kPath);
  outlet.setMaxFileSize(2 * kLineBytes);
  constexpr int kFew = 40;
  for (int number = 0; number < kFew; ++number) outlet.Dump(vusl::Widen(textOf(number)));
  const std::string bytes = everything();
  for (int number = 0; number < kFew; ++number) {
    EXPECT_EQ(countOf(textOf(number) + "\r\n", bytes), 1) << textOf(number);
  }
  EXPECT_EQ(countOf("Last error: 183", bytes), kFew - 4);
}

TEST_F(RollingOutletAccountTest, losesNothingOfSeveralThreads) {
  RollingFileLogOutlet outlet(kPath);
  outlet.setMaxFileSize(10 * kLineBytes);
  outlet.setMaxArchiveNumber(1000);
  constexpr int kEach = 100;
  const auto writeFrom = [&](int start) {
    for (int number = start; number < start + kEach; ++number) {
      outlet.Dump(vusl::Widen(textOf(number)));
    }
  };
  {
    host::TestThread one([&] { writeFrom(0); });
    host::TestThread two([&] { writeFrom(kEach); });
    host::TestThread three([&] { writeFrom(2 * kEach); });
  }
  const std::string bytes = everything();
  for (int number = 0; number < 3 * kEach; ++number) {
    EXPECT_EQ(countOf(textOf(number) + "\r\n", bytes), 1) << textOf(number);
  }
  EXPECT_EQ(bytes.size(), 3U * kEach * kLineBytes);
}

}  // namespace
