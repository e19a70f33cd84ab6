#include "VUSL/Support/LogSink.h"

#include <string>
#include <vector>

#include "VUSL/Support/AssertException.h"
#include "platform/win32.h"
#include "tests/support/MachineTest.h"
#include "tests/unit/diagnostics/RecordingOutlet.h"
#include "tests/unit/runtime/SlotOrder.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

constexpr int kInfo = 2;

class LogSinkTest : public host::MachineTest {
 protected:
  LogSink sink{"Tag: "};
  RecordingOutlet outlet;
};

TEST_F(LogSinkTest, deliversMessageTagAndLevelToTheOutletsOfTheChannel) {
  sink.attach(&outlet, 1);
  sink.log(L"text", kInfo, 1);
  ASSERT_EQ(outlet.messages.size(), 1U);
  EXPECT_EQ(outlet.messages[0].text, L"text");
  EXPECT_EQ(outlet.messages[0].tag, L"Tag: ");
  EXPECT_EQ(outlet.messages[0].level, kInfo);
}

TEST_F(LogSinkTest, passesOverOutletsOfAnotherChannel) {
  sink.attach(&outlet, 0);
  sink.log(L"text", kInfo, 1);
  EXPECT_TRUE(outlet.messages.empty());
}

TEST_F(LogSinkTest, takesChannelOneWhereNoneIsGiven) {
  sink.attach(&outlet, 1);
  sink.log(L"text", kInfo);
  EXPECT_EQ(outlet.messages.size(), 1U);
}

TEST_F(LogSinkTest, callsTheThreeArgumentFormThroughItsSlot) {
  struct Counting : LogSink {
    using LogSink::log;
    using LogSink::LogSink;
    void log(const vusl::string_t&, int, int32_t channel) override { channels.push_back(channel); }
    std::vector<int> channels;
  } counting("Tag: ");
  counting.log(L"text", kInfo);
  EXPECT_EQ(counting.channels, std::vector<int>{1});
}

TEST_F(LogSinkTest, stampsWithPaddedDateTimeAndColonBeforeTheMilliseconds) {
  host::machine().setLocalTime(2026, 1, 2, 3, 4, 5, 7);
  sink.attach(&outlet, 1);
  sink.log(L"text", kInfo, 1);
  ASSERT_EQ(outlet.messages.size(), 1U);
  EXPECT_EQ(outlet.messages[0].timestamp.substr(0, 24), L"2026-01-02 03:04:05:007 ");
}

TEST_F(LogSinkTest, stampsWithTheThreadInSixteenHexadecimalDigitsAndABlank) {
  sink.attach(&outlet, 1);
  sink.log(L"text", kInfo, 1);
  ASSERT_EQ(outlet.messages.size(), 1U);
  const std::wstring thread = outlet.messages[0].timestamp.substr(24);
  ASSERT_EQ(thread.size(), 17U);
  EXPECT_EQ(thread[16], L' ');
  EXPECT_EQ(thread.find_first_not_of(L"0123456789abcdef"), 16U);
  EXPECT_EQ(std::stoul(thread, nullptr, 16), GetCurrentThreadId());
}

TEST_F(LogSinkTest, tellsThreadsApart) {
  sink.attach(&outlet, 1);
  sink.log(L"one", kInfo, 1);
  host::TestThread other([&] { sink.log(L"two", kInfo, 1); });
  other.join();
  ASSERT_EQ(outlet.messages.size(), 2U);
  EXPECT_NE(outlet.messages[0].timestamp.substr(24), outlet.messages[1].timestamp.substr(24));
}

TEST_F(LogSinkTest, readsTheClockOnceForAllOutlets) {
  RecordingOutlet second;
  sink.attach(&outlet, 1);
  sink.attach(&second, 1);
  sink.log(L"text", kInfo, 1);
  EXPECT_EQ(journal().namesOf({"GetLocalTime", "GetCurrentThreadId"}),
            (std::vector<std::string>{"GetLocalTime", "GetCurrentThreadId"}));
  EXPECT_EQ(outlet.messages.at(0).timestamp, second.messages.at(0).timestamp);
}

TEST_F(LogSinkTest, readsTheClockAlsoWhenNoOutletIsAttached) {
  sink.log(L"text", kInfo, 1);
  EXPECT_EQ(journal().calls("GetLocalTime").size(), 1U);
}

TEST_F(LogSinkTest, deliversInTheOrderOfAttachment) {
  std::vector<int> order;
  RecordingOutlet second;
  outlet.onLog = [&] { order.push_back(1); };
  second.onLog = [&] { order.push_back(2); };
  sink.attach(&second, 1);
  sink.attach(&outlet, 1);
  sink.log(L"text", kInfo, 1);
  EXPECT_EQ(order, (std::vector<int>{2, 1}));
}

TEST_F(LogSinkTest, throwsAtAnOutletThatIsNull) {
  sink.attach(nullptr, 1);
  EXPECT_EQ(thrownBy<AssertException>([&] { sink.log(L"text", kInfo, 1); }), "Outlet is NULL");
}

TEST_F(LogSinkTest, deliversToTheOutletsBeforeOneThatIsNull) {
  sink.attach(&outlet, 1);
  sink.attach(nullptr, 1);
  EXPECT_THROW(sink.log(L"text", kInfo, 1), AssertException);
  EXPECT_EQ(outlet.messages.size(), 1U);
}

TEST_F(LogSinkTest, looksAtTheChannelBeforeThePointer) {
  sink.attach(nullptr, 0);
  EXPECT_NO_THROW(sink.log(L"text", kInfo, 1));
}

TEST_F(LogSinkTest, dropsNothingByItself) {
  sink.attach(&outlet, 1);
  for (int level = 0; level <= 6; ++level) sink.log(L"text", level, 1);
  EXPECT_EQ(outlet.messages.size(), 7U);
}

TEST_F(LogSinkTest, deliversNothingToADetachedOutlet) {
  sink.attach(&outlet, 1);
  sink.attach(&outlet, 0);
  sink.detach(&outlet);
  sink.log(L"text", kInfo, 1);
  sink.log(L"text", kInfo, 0);
  EXPECT_TRUE(outlet.messages.empty());
}

TEST_F(LogSinkTest, keepsTheOtherOutletsWhenOneIsDetached) {
  RecordingOutlet second;
  sink.attach(&outlet, 1);
  sink.attach(&second, 1);
  sink.detach(&outlet);
  sink.log(L"text", kInfo, 1);
  EXPECT_EQ(second.messages.size(), 1U);
}

TEST_F(LogSinkTest, isEmptiedAtOnce) {
  sink.attach(&outlet, 1);
  sink.detachAll();
  sink.log(L"text", kInfo, 1);
  EXPECT_TRUE(outlet.messages.empty());
}

TEST_F(LogSinkTest, hasTheServicesTagInTheProcess) {
  const AttachedOutlet attached(outlet, 1);
  LogSink::process().log(L"text", kInfo);
  ASSERT_EQ(outlet.messages.size(), 1U);
  EXPECT_EQ(outlet.messages[0].tag, L"TPMEnrollmentService: ");
}

TEST_F(LogSinkTest, hasBothFormsOfLogBeforeItsDestructor) {
  using Short = void (LogSink::*)(const vusl::string_t&, int);
  using Long = void (LogSink::*)(const vusl::string_t&, int, int32_t);
  EXPECT_EQ(slotOf(static_cast<Short>(&LogSink::log)), 0U);
  EXPECT_EQ(slotOf(static_cast<Long>(&LogSink::log)), 1U);
}

}  // namespace
