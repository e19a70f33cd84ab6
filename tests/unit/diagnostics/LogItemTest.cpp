#include "VUSL/Support/LogItem.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "VUSL/Support/DebugLogOutlet.h"
#include "VUSL/Support/LogSink.h"
#include "VUSL/Support/LogTag.h"
#include "platform/win32.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/MachineTest.h"
#include "tests/unit/diagnostics/RecordingOutlet.h"

namespace {

using Texts = std::vector<std::string>;

class LogItemTest : public host::MachineTest {
 protected:
  LogRecorder log;
};

TEST_F(LogItemTest, startsWithTheUseCaseAtTheLevelDebug) {
  LogItem();
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] "});
}

TEST_F(LogItemTest, putsALocationAndOneBlankBeforeTheText) {
  LogItem("reloadSettings") << "text";
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] reloadSettings text"});
}

TEST_F(LogItemTest, hasEachLevel) {
  LogItem().debug() << "d";
  LogItem().info() << "i";
  LogItem().error() << "e";
  LogItem().fatal() << "f";
  EXPECT_EQ(log.texts(),
            (Texts{"[DBG] [TPM] d", "[INF] [TPM] i", "[ERR] [TPM] e", "[FTL] [TPM] f"}));
}

TEST_F(LogItemTest, takesTheLevelOfDebuggingBackToo) {
  LogItem().error().debug() << "d";
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] d"});
}

TEST_F(LogItemTest, takesTheLastLevelAlsoBehindTheText) {
  LogItem().fatal() << "text";
  (LogItem() << "later").error().info();
  EXPECT_EQ(log.texts(), (Texts{"[FTL] [TPM] text", "[INF] [TPM] later"}));
}

TEST_F(LogItemTest, takesNarrowAndWideTexts) {
  const char* narrow = "n";
  const wchar_t* wide = L"w";
  LogItem() << std::string("s") << std::wstring(L"S") << narrow << wide << "l" << L"L";
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] sSnwlL"});
}

TEST_F(LogItemTest, widensNarrowTextAsUtf8) {
  RecordingOutlet outlet;
  const AttachedOutlet attached(outlet, LogSink::kOutletChannel);
  LogItem() << std::string("\xC3\xA4") << "\xE2\x82\xAC";
  ASSERT_EQ(outlet.messages.size(), 1U);
  EXPECT_EQ(outlet.messages[0].text, L"[TPM] \u00E4\u20AC");
}

TEST_F(LogItemTest, showsNullForANullPointer) {
  const char* narrow = nullptr;
  const wchar_t* wide = nullptr;
  LogItem() << narrow << " " << wide;
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] NULL NULL"});
}

TEST_F(LogItemTest, printsInDecimalAtFirst) {
  LogItem() << -255 << " " << 255U << " " << DWORD{4294967295} << " " << LONG{-1};
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] -255 255 4294967295 -1"});
}

TEST_F(LogItemTest, printsHexadecimalInLowerCaseWithNoPrefix) {
  LogItem() << LogBase::kHexadecimal << 255 << " " << 171U << " " << DWORD{0x80070005};
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] ff ab 80070005"});
}

TEST_F(LogItemTest, printsNegativeNumbersOf32BitsWithEightDigits) {
  LogItem() << LogBase::kHexadecimal << -1 << " " << LONG{-2};
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] ffffffff fffffffe"});
}

TEST_F(LogItemTest, printsNumbersOf64Bits) {
  LogItem() << int64_t{-5000000000} << " " << uint64_t{5000000000} << " " << LogBase::kHexadecimal
            << uint64_t{0x123456789ABCDEF0} << " " << int64_t{-1};
  EXPECT_EQ(log.texts(),
            Texts{"[DBG] [TPM] -5000000000 5000000000 123456789abcdef0 ffffffffffffffff"});
}

TEST_F(LogItemTest, printsUnsignedNumbersOf64BitsAsSignedInDecimal) {
  LogItem() << std::numeric_limits<uint64_t>::max() << " "
            << std::numeric_limits<unsigned long long>::max();
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] -1 -1"});
}

TEST_F(LogItemTest, takesEveryWidthOfInteger) {
  LogItem() << short{-1} << static_cast<unsigned short>(2) << 3L << 4UL << 5LL << 6ULL << size_t{7};
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] -1234567"});
}

TEST_F(LogItemTest, keepsItsBaseUntilTheNextOne) {
  LogItem() << LogBase::kHexadecimal << 16 << " " << 17 << " " << LogBase::kDecimal << 18;
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] 10 11 18"});
}

TEST_F(LogItemTest, keepsItsBaseToItself) {
  LogItem() << LogBase::kHexadecimal << 16;
  LogItem() << 16;
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] 10", "[DBG] [TPM] 16"}));
}

TEST_F(LogItemTest, isCutAtAZeroCharacterOnDelivery) {
  RecordingOutlet console;
  const AttachedOutlet attached(console, LogSink::kConsoleChannel);
  LogItem() << std::wstring(L"a\0b", 3) << "c";
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] a"});
  ASSERT_EQ(console.messages.size(), 1U);
  EXPECT_EQ(console.messages[0].text, L"[TPM] a");
}

TEST_F(LogItemTest, dropsAnItemBelowTheThresholdInTheOutletAndNowhereEarlier) {
  DebugLogOutlet outlet;
  const AttachedOutlet attached(outlet, LogSink::kOutletChannel);
  DebugLogOutlet::level = 2;
  LogItem().debug() << "text";
  DebugLogOutlet::level = 1;
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] text"});
  EXPECT_TRUE(host::machine().debugOutput.empty());
}

TEST_F(LogItemTest, isStampedForEachOfItsTwoChannels) {
  RecordingOutlet console;
  RecordingOutlet outlet;
  const AttachedOutlet first(console, LogSink::kConsoleChannel);
  const AttachedOutlet second(outlet, LogSink::kOutletChannel);
  outlet.onLog = [] { host::machine().setLocalTime(2027, 2, 3, 4, 5, 6, 8); };
  host::machine().setLocalTime(2026, 1, 2, 3, 4, 5, 7);
  LogItem() << "text";
  ASSERT_EQ(console.messages.size(), 1U);
  EXPECT_EQ(outlet.messages.at(0).timestamp.substr(0, 24), L"2026-01-02 03:04:05:007 ");
  EXPECT_EQ(console.messages[0].timestamp.substr(0, 24), L"2027-02-03 04:05:06:008 ");
}

TEST_F(LogItemTest, isALineOfStampTagLevelUseCaseAndText) {
  DebugLogOutlet outlet;
  const AttachedOutlet attached(outlet, LogSink::kOutletChannel);
  host::machine().setLocalTime(2026, 1, 2, 3, 4, 5, 6);
  LogItem().info() << "Service started.";
  ASSERT_EQ(host::machine().debugOutput.size(), 1U);
  const std::wstring& line = host::machine().debugOutput[0];
  EXPECT_EQ(line.substr(0, 24), L"2026-01-02 03:04:05:006 ");
  EXPECT_EQ(line.substr(40), L" TPMEnrollmentService: [INF] [TPM] Service started.\r\n");
}

TEST_F(LogItemTest, deliversToTheOutletChannelFirstAndThenToTheConsoleChannel) {
  std::vector<std::string> order;
  RecordingOutlet console;
  RecordingOutlet outlet;
  console.onLog = [&] { order.push_back("console"); };
  outlet.onLog = [&] { order.push_back("outlet"); };
  const AttachedOutlet first(console, LogSink::kConsoleChannel);
  const AttachedOutlet second(outlet, LogSink::kOutletChannel);
  LogItem().error() << "text";
  EXPECT_EQ(order, (std::vector<std::string>{"outlet", "console"}));
  ASSERT_EQ(console.messages.size(), 1U);
  EXPECT_EQ(console.messages[0].text, L"[TPM] text");
  EXPECT_EQ(console.messages[0].level, 3);
}

TEST_F(LogItemTest, isWrittenAtTheEndOfItsStatement) {
  EXPECT_TRUE(log.texts().empty());
  LogItem() << "one";
  EXPECT_EQ(log.texts().size(), 1U);
}

TEST_F(LogItemTest, tagsALineWithTheObjectsAddressAndReturnsToDecimal) {
  const auto* object = reinterpret_cast<const void*>(uintptr_t{0x1F4A3C0});
  LogItem() << LogAddress(object) << 16;
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] [0x1f4a3c0] 16"});
}

TEST_F(LogItemTest, tagsALineWithAddressAndMethod) {
  const auto* object = reinterpret_cast<const void*>(uintptr_t{0x1F4A3C0});
  LogItem().info() << LogTag(object, "Run") << "Service is going to continue." << 16;
  EXPECT_EQ(log.texts(), Texts{"[INF] [TPM] [0x1f4a3c0] [Run] Service is going to continue.16"});
}

TEST_F(LogItemTest, hasAVirtualDestructor) {
  EXPECT_TRUE(std::has_virtual_destructor_v<LogItem>);
}

TEST_F(LogItemTest, vanishesWhileNoOutletIsAttached) {
  LogSink::process().detachAll();
  LogItem().fatal() << "text";
  RecordingOutlet later;
  const AttachedOutlet attached(later, LogSink::kOutletChannel);
  LogItem().fatal() << "another";
  ASSERT_EQ(later.messages.size(), 1U);
  EXPECT_EQ(later.messages[0].text, L"[TPM] another");
}

TEST_F(LogItemTest, readsTheClockForBothChannelsAlsoWhenNobodyTakesTheItem) {
  LogSink::process().detachAll();
  LogItem() << "text";
  EXPECT_EQ(journal().calls("GetLocalTime").size(), 2U);
  EXPECT_EQ(journal().calls("GetCurrentThreadId").size(), 2U);
}

using LogItemDeathTest = LogItemTest;

TEST_F(LogItemDeathTest, endsTheProcessAtAnOutletThatIsNull) {
  EXPECT_DEATH(
      {
        LogSink::process().attach(nullptr, LogSink::kOutletChannel);
        LogItem();
      },
      "Outlet is NULL");
}

TEST_F(LogItemDeathTest, endsTheProcessWhenAnOutletThrows) {
  EXPECT_DEATH(
      {
        RecordingOutlet outlet;
        outlet.onLog = [] { throw std::runtime_error("outlet broke"); };
        const AttachedOutlet attached(outlet, LogSink::kOutletChannel);
        LogItem();
      },
      "outlet broke");
}

// Made before the sink, so destroyed after everything that the sink's first use made.
struct LoggingAtTheEnd {
  ~LoggingAtTheEnd() { LogItem() << "text"; }
};

TEST(LogItemStaticDeathTest, isDeliveredWhileStaticObjectsAreDestroyed) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        static const LoggingAtTheEnd last;
        auto* const outlet = new RecordingOutlet();
        outlet->onLog = [outlet] {
          const RecordingOutlet::Message& message = outlet->messages.back();
          std::fputs(vusl::Narrow(message.tag + message.text).c_str(), stderr);
        };
        LogSink::process().attach(outlet, LogSink::kOutletChannel);
        std::exit(0);
      },
      testing::ExitedWithCode(0), "TPMEnrollmentService: \\[TPM\\] text");
}

// Logs while the process is being loaded, as objects of other files may; only where the test asks
// for it, since others look at what the first item of the process does.
class LoggingBeforeMain {
 public:
  LoggingBeforeMain() {
    if (std::getenv(kVariable) == nullptr) return;
    const AttachedOutlet attached(outlet, LogSink::kOutletChannel);
    LogItem().info() << "text " << 1;
  }

  // Whether processes begun from now on log so.
  static void ask(bool asked) {
#ifdef _WIN32
    _putenv_s(kVariable, asked ? "1" : "");
#else
    asked ? setenv(kVariable, "1", 1) : unsetenv(kVariable);
#endif
  }

  std::string texts() const {
    std::string all;
    for (const auto& message : outlet.messages) all += vusl::Narrow(message.tag + message.text);
    return all;
  }

 private:
  static constexpr const char* kVariable = "LOG_BEFORE_MAIN";

  RecordingOutlet outlet;
};

const LoggingBeforeMain beforeMain;

TEST(LogItemStaticDeathTest, isDeliveredBeforeMain) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  LoggingBeforeMain::ask(true);
  EXPECT_EXIT(
      {
        std::fputs(beforeMain.texts().c_str(), stderr);
        std::exit(0);
      },
      testing::ExitedWithCode(0), "^TPMEnrollmentService: \\[TPM\\] text 1$");
  LoggingBeforeMain::ask(false);
}

}  // namespace
