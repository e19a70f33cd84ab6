#include "VUSL/Support/RollingFileLogOutlet.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "VUSL/Support/Exception.h"
#include "tests/support/MachineTest.h"
#include "tests/unit/runtime/SlotOrder.h"

namespace {

constexpr const char* kPath = "C:\\logs\\x.log";

class Listener : public LogStatusListener {
 public:
  void OnStatus(const vusl::string_t& text, uint32_t flag) override {
    heard.emplace_back(text, flag);
  }

  std::vector<std::pair<std::wstring, uint32_t>> heard;
};

struct OpenOutlet : RollingFileLogOutlet {
  using RollingFileLogOutlet::roll;
  using RollingFileLogOutlet::RollingFileLogOutlet;
  using RollingFileLogOutlet::timeStamp;
};

class RollingFileLogOutletTest : public host::MachineTest {
 protected:
  RollingFileLogOutletTest() { host::machine().drive.createFolder(L"C:\\logs"); }
  ~RollingFileLogOutletTest() override { RollingFileLogOutlet::level = 1; }

  static std::optional<std::string> content(const std::wstring& name) {
    return host::machine().drive.read(L"C:\\logs\\" + name);
  }
  static void write(const std::wstring& name, const std::string& bytes) {
    host::machine().drive.write(L"C:\\logs\\" + name, bytes);
  }
};

TEST_F(RollingFileLogOutletTest, opensNothingWhenItIsMade) {
  const OpenOutlet outlet(kPath);
  EXPECT_TRUE(journal().calls("CreateFileW").empty());
  EXPECT_EQ(content(L"x.log"), std::nullopt);
}

TEST_F(RollingFileLogOutletTest, appendsTheLineWithTheLineEndOfThePlatform) {
  write(L"x.log", "old\r\n");
  OpenOutlet outlet(kPath);
  outlet.Dump(L"new");
  EXPECT_EQ(content(L"x.log"), "old\r\nnew\r\n");
}

TEST_F(RollingFileLogOutletTest, hasStampAndTagInItsLines) {
  OpenOutlet outlet(kPath);
  outlet.Log(L"stamp ", L"tag: ", L"text", 2);
  EXPECT_EQ(content(L"x.log"), "stamp tag: [INF] text\r\n");
}

TEST_F(RollingFileLogOutletTest, writesNarrowText) {
  OpenOutlet outlet(kPath);
  outlet.Dump(L"a\u00E4\u20AC");
  EXPECT_EQ(content(L"x.log"), "a??\r\n");
}

TEST_F(RollingFileLogOutletTest, hasItsPathInUtf8) {
  write(L"\u00E4.log", "1234");
  OpenOutlet outlet("C:\\logs\\\xC3\xA4.log");
  outlet.setMaxFileSize(6);
  outlet.Dump(L"a");
  EXPECT_EQ(content(L"\u00E4.log"), "a\r\n");
  EXPECT_EQ(content(L"\u00E4.log.0"), "1234");
}

TEST_F(RollingFileLogOutletTest, writesUnderTheSharedLock) {
  OpenOutlet outlet(kPath);
  outlet.Dump(L"a");
  EXPECT_EQ(
      journal().namesOf({"EnterCriticalSection", "WriteFile", "LeaveCriticalSection"}),
      (std::vector<std::string>{"EnterCriticalSection", "WriteFile", "LeaveCriticalSection"}));
}

TEST_F(RollingFileLogOutletTest, writesTheReasonOfAFailedRollUnderTheSameLock) {
  write(L"x.log", "old");
  OpenOutlet outlet(kPath);
  outlet.setMaxFileSize(4);
  faults().failOnce("MoveFileW", 5);
  outlet.Dump(L"line");
  EXPECT_EQ(journal().namesOf({"EnterCriticalSection", "WriteFile", "LeaveCriticalSection"}),
            (std::vector<std::string>{"EnterCriticalSection", "WriteFile", "WriteFile",
                                      "LeaveCriticalSection"}));
}

TEST_F(RollingFileLogOutletTest, holdsTheLockWhileTheListenerHears) {
  struct Watching : Listener {
    void OnStatus(const vusl::string_t& text, uint32_t flag) override {
      Listener::OnStatus(text, flag);
      const auto& calls = host::Journal::instance();
      held.push_back(calls.calls("EnterCriticalSection").size() -
                     calls.calls("LeaveCriticalSection").size());
    }
    std::vector<size_t> held;
  } listener;
  OpenOutlet outlet(kPath);
  outlet.setListener(&listener);
  faults().failOnce("WriteFile", 112);
  outlet.Dump(L"a");
  outlet.Dump(L"b");
  EXPECT_EQ(listener.held, (std::vector<size_t>{1, 1}));
}

// One outlet takes a second for its roll; the line of the other, which has its file to itself, is
// not written in between.
TEST_F(RollingFileLogOutletTest, sharesOneLockAmongAllOutlets) {
  struct Slow : RollingFileLogOutlet {
    using RollingFileLogOutlet::RollingFileLogOutlet;
    void roll(const vusl::string_t&, unsigned int) override { Sleep(1000); }
  } slow(kPath);
  slow.setMaxFileSize(0);
  OpenOutlet other("C:\\logs\\y.log");
  {
    const host::TestThread thread([&other] {
      Sleep(500);
      other.Dump(L"b");
    });
    slow.Dump(L"a");
  }
  EXPECT_EQ(content(L"y.log"), "b\r\n");
  const auto opened = journal().calls("CreateFileW");
  ASSERT_EQ(opened.size(), 2U);
  EXPECT_EQ(opened[0].args.substr(0, 13), "C:\\logs\\x.log");
  EXPECT_EQ(opened[1].args.substr(0, 13), "C:\\logs\\y.log");
  // The lock stood before either of them.
  EXPECT_TRUE(journal().calls("InitializeCriticalSectionAndSpinCount").empty());
}

TEST_F(RollingFileLogOutletTest, opensTheFileForReadingWritingAndAppendingWhenReopened) {
  OpenOutlet outlet(kPath);
  outlet.reopen();
  const auto calls = journal().calls("CreateFileW");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_NE(calls[0].args.find("3221225476"), std::string::npos) << calls[0].args;
  EXPECT_EQ(content(L"x.log"), "");
}

TEST_F(RollingFileLogOutletTest, staysClosedWhenReopenedAtTheThresholdNone) {
  RollingFileLogOutlet::level = 5;
  OpenOutlet outlet(kPath);
  outlet.reopen();
  EXPECT_TRUE(journal().calls("CreateFileW").empty());
  RollingFileLogOutlet::level = 4;
  outlet.reopen();
  EXPECT_EQ(journal().calls("CreateFileW").size(), 1U);
}

TEST_F(RollingFileLogOutletTest, fillsAFileToExactlyFourMebibytesWithoutRolling) {
  write(L"x.log", std::string(4194304 - 3, 'x'));
  OpenOutlet outlet(kPath);
  outlet.Dump(L"a");
  EXPECT_EQ(content(L"x.log").value().size(), 4194304U);
  EXPECT_EQ(content(L"x.log.0"), std::nullopt);
}

TEST_F(RollingFileLogOutletTest, rollsAtOneByteMore) {
  write(L"x.log", std::string(4194304 - 2, 'x'));
  OpenOutlet outlet(kPath);
  outlet.Dump(L"a");
  EXPECT_EQ(content(L"x.log"), "a\r\n");
  EXPECT_EQ(content(L"x.log.0").value().size(), 4194302U);
}

TEST_F(RollingFileLogOutletTest, countsWhatItWritesItself) {
  OpenOutlet outlet(kPath);
  outlet.setMaxFileSize(6);
  outlet.Dump(L"a");
  outlet.Dump(L"b");
  EXPECT_EQ(content(L"x.log"), "a\r\nb\r\n");
  outlet.Dump(L"c");
  EXPECT_EQ(content(L"x.log"), "c\r\n");
  EXPECT_EQ(content(L"x.log.0"), "a\r\nb\r\n");
}

TEST_F(RollingFileLogOutletTest, rollsOnceForALineLongerThanTheLimitAndWritesItWhole) {
  write(L"x.log", "old");
  OpenOutlet outlet(kPath);
  outlet.setMaxFileSize(4);
  outlet.Dump(L"a long line");
  EXPECT_EQ(content(L"x.log"), "a long line\r\n");
  EXPECT_EQ(content(L"x.log.0"), "old");
  EXPECT_EQ(content(L"x.log.1"), std::nullopt);
}

TEST_F(RollingFileLogOutletTest, shiftsTheWholeChainAndDeletesTheLastArchive) {
  write(L"x.log", "live");
  for (int i = 0; i <= 9; ++i) {
    write(L"x.log." + std::to_wstring(i), std::to_string(i));
  }
  OpenOutlet outlet(kPath);
  outlet.roll(L"C:\\logs\\x.log", 0);
  EXPECT_EQ(content(L"x.log"), std::nullopt);
  EXPECT_EQ(content(L"x.log.0"), "live");
  for (int i = 1; i <= 9; ++i) {
    EXPECT_EQ(content(L"x.log." + std::to_wstring(i)), std::to_string(i - 1));
  }
  EXPECT_EQ(content(L"x.log.10"), std::nullopt);
}

TEST_F(RollingFileLogOutletTest, stopsTheShiftAtAGap) {
  write(L"x.log", "live");
  for (const int i : {0, 1, 2, 4, 5}) {
    write(L"x.log." + std::to_wstring(i), std::to_string(i));
  }
  OpenOutlet outlet(kPath);
  outlet.roll(L"C:\\logs\\x.log", 0);
  EXPECT_EQ(content(L"x.log.3"), "2");
  EXPECT_EQ(content(L"x.log.4"), "4");
  EXPECT_EQ(content(L"x.log.5"), "5");
}

TEST_F(RollingFileLogOutletTest, rollsEachArchiveThroughTheSlot) {
  write(L"x.log", "live");
  write(L"x.log.0", "0");
  struct Recording : RollingFileLogOutlet {
    using RollingFileLogOutlet::RollingFileLogOutlet;
    void roll(const vusl::string_t& path, unsigned int index) override {
      rolled.emplace_back(path, index);
      RollingFileLogOutlet::roll(path, index);
    }
    std::vector<std::pair<std::wstring, unsigned int>> rolled;
  } outlet(kPath);
  outlet.setMaxFileSize(4);
  outlet.Dump(L"a");
  EXPECT_EQ(outlet.rolled,
            (std::vector<std::pair<std::wstring, unsigned int>>{
                {L"C:\\logs\\x.log", 0}, {L"C:\\logs\\x.log.0", 1}, {L"C:\\logs\\x.log.1", 2}}));
}

TEST_F(RollingFileLogOutletTest, rollsNothingWhenThereIsNoFile) {
  write(L"x.log.0", "0");
  OpenOutlet outlet(kPath);
  outlet.roll(L"C:\\logs\\x.log", 0);
  EXPECT_EQ(content(L"x.log.0"), "0");
  EXPECT_TRUE(journal().calls("MoveFileW").empty());
}

TEST_F(RollingFileLogOutletTest, putsTheReasonIntoTheFileWhenRollingFailsAndStillWritesTheLine) {
  write(L"x.log", "old");
  OpenOutlet outlet(kPath);
  outlet.setMaxFileSize(4);
  faults().failOnce("MoveFileW", 5);
  outlet.Dump(L"line");
  EXPECT_EQ(content(L"x.log"),
            "oldError when renaming file from C:\\logs\\x.log to C:\\logs\\x.log.0"
            "Last error: 5line\r\n");
}

TEST_F(RollingFileLogOutletTest, triesToRollAgainAtTheNextLineAfterAFailure) {
  write(L"x.log", "old");
  OpenOutlet outlet(kPath);
  outlet.setMaxFileSize(4);
  faults().failOnce("MoveFileW", 5);
  outlet.Dump(L"line");
  outlet.Dump(L"next");
  EXPECT_EQ(content(L"x.log"), "next\r\n");
}

TEST_F(RollingFileLogOutletTest, keepsAFailureToWriteToItself) {
  OpenOutlet outlet(kPath);
  faults().failOnce("WriteFile", 112);
  EXPECT_NO_THROW(outlet.Dump(L"a"));
}

TEST_F(RollingFileLogOutletTest, keepsAFailureOfTheFallbackToItself) {
  write(L"x.log", "old");
  OpenOutlet outlet(kPath);
  outlet.setMaxFileSize(4);
  faults().failOnce("MoveFileW", 5);
  faults().failOnce("WriteFile", 112);
  EXPECT_NO_THROW(outlet.Dump(L"line"));
}

TEST_F(RollingFileLogOutletTest, tellsTheListenerOnceOfARunOfFailuresAndOnceOfTheRecovery) {
  OpenOutlet outlet(kPath);
  Listener listener;
  outlet.setListener(&listener);
  faults().failOnce("WriteFile", 112, 1);
  faults().failOnce("WriteFile", 112, 2);
  outlet.Dump(L"a");
  outlet.Dump(L"b");
  outlet.Dump(L"c");
  outlet.Dump(L"d");
  ASSERT_EQ(listener.heard.size(), 2U);
  EXPECT_EQ(listener.heard[0].first,
            L"Error when writing to log file: Error when writing 3 bytes to file "
            L"C:\\logs\\x.logLast error: 112");
  EXPECT_EQ(listener.heard[0].second, 1U);
  EXPECT_EQ(listener.heard[1].first, L"Log file written successfully.");
  EXPECT_EQ(listener.heard[1].second, 0U);
}

TEST_F(RollingFileLogOutletTest, recoversWithoutAWordWhenTheListenerHasLeft) {
  OpenOutlet outlet(kPath);
  Listener listener;
  outlet.setListener(&listener);
  faults().failOnce("WriteFile", 112);
  outlet.Dump(L"a");
  outlet.setListener(nullptr);
  outlet.Dump(L"b");
  EXPECT_EQ(content(L"x.log"), "b\r\n");
  EXPECT_EQ(listener.heard.size(), 1U);
}

TEST_F(RollingFileLogOutletTest, tellsTheListenerOfAnyOtherExceptionInFixedWords) {
  struct Throwing : Listener {
    void OnStatus(const vusl::string_t& text, uint32_t flag) override {
      Listener::OnStatus(text, flag);
      if (flag == kRecovery) throw 1;
    }
  } listener;
  OpenOutlet outlet(kPath);
  outlet.setListener(&listener);
  faults().failOnce("WriteFile", 112);
  outlet.Dump(L"a");
  outlet.Dump(L"b");
  ASSERT_EQ(listener.heard.size(), 3U);
  EXPECT_EQ(listener.heard[2].first, L"Could not write to log file.");
  EXPECT_EQ(listener.heard[2].second, 1U);
}

TEST_F(RollingFileLogOutletTest, tellsTheListenerOfItsOwnExceptionAsOfAFailureToWrite) {
  struct Throwing : Listener {
    void OnStatus(const vusl::string_t& text, uint32_t flag) override {
      Listener::OnStatus(text, flag);
      if (flag == kRecovery) throw Exception() << "no ear";
    }
  } listener;
  OpenOutlet outlet(kPath);
  outlet.setListener(&listener);
  faults().failOnce("WriteFile", 112);
  outlet.Dump(L"a");
  outlet.Dump(L"b");
  ASSERT_EQ(listener.heard.size(), 3U);
  EXPECT_EQ(listener.heard[2].first, L"Error when writing to log file: no ear");
  EXPECT_EQ(listener.heard[2].second, 1U);
  EXPECT_EQ(content(L"x.log"), "b\r\n");
}

TEST_F(RollingFileLogOutletTest, stampsTheLocalTimeInTheDefaultFormat) {
  host::machine().setLocalTime(2026, 1, 2, 3, 4, 5, 6);
  std::string stamp = "old";
  OpenOutlet::timeStamp(stamp, "");
  EXPECT_EQ(stamp, "20260102030405");
}

TEST_F(RollingFileLogOutletTest, stampsTheLocalTimeInAGivenFormat) {
  host::machine().setLocalTime(2026, 2, 3, 4, 5, 6, 7);
  std::string stamp;
  OpenOutlet::timeStamp(stamp, "%d.%m.%Y %j %H:%M");
  EXPECT_EQ(stamp, "03.02.2026 034 04:05");
}

TEST_F(RollingFileLogOutletTest, stampsTheDayOfTheWeek) {
  host::machine().setLocalTime(2026, 2, 3, 4, 5, 6, 7);
  std::string stamp;
  OpenOutlet::timeStamp(stamp, "%w %a");
  EXPECT_EQ(stamp, "2 Tue");
}

// Whether it is summer time is not known, so that no distance from universal time can be told.
TEST_F(RollingFileLogOutletTest, stampsNoZone) {
  std::string stamp;
  OpenOutlet::timeStamp(stamp, "[%z]");
  EXPECT_EQ(stamp, "[]");
}

TEST_F(RollingFileLogOutletTest, hasItsOperationsInOrder) {
  EXPECT_EQ(slotOf(&RollingFileLogOutlet::Log), 2U);
  EXPECT_EQ(slotOf(&RollingFileLogOutlet::wantsPrefix), 3U);
  EXPECT_EQ(slotOf(&RollingFileLogOutlet::reopen), 4U);
  EXPECT_EQ(slotOf(&RollingFileLogOutlet::Dump), 5U);
  EXPECT_EQ(slotOf(&OpenOutlet::roll), 6U);
}

}  // namespace
