#include <string>

#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/LogSink.h"
#include "VUSL/Support/LogTag.h"
#include "VUSL/Support/OutletBase.h"
#include "tests/support/MachineTest.h"
#include "tests/unit/diagnostics/RecordingOutlet.h"
#include "tests/unit/runtime/FailingAllocation.h"

namespace {

class CountingOutlet : public OutletBase<CountingOutlet> {
 public:
  void Dump(const vusl::string_t& message) override {
    ++lines;
    lastLength = message.size();
  }

  int lines = 0;
  size_t lastLength = 0;
};

constexpr const char* kSixtyCharacters =
    "The transaction of this method has come to its end, status: ";

// In real time and with no journal kept the model itself takes no memory for what an item calls.
class LogItemMemoryTest : public host::MachineTest {
 protected:
  LogItemMemoryTest() {
    host::resetMachine(host::Scheduler::Mode::kReal);
    journal().keepEntries(false);
    logOne();  // takes what is taken once for the process
  }

  void logOne() { LogItem().info() << LogAddress(this) << kSixtyCharacters << 7; }

  CountingOutlet outlet;
  const AttachedOutlet first{outlet, LogSink::kOutletChannel};
  const AttachedOutlet second{outlet, LogSink::kConsoleChannel};
};

// Two messages and two lines.
TEST_F(LogItemMemoryTest, anItemWhoseDeliveriesBothMakeALineTakesMemoryFourTimes) {
  outlet.lines = 0;
  const CountedAllocation counted;
  for (int i = 0; i < 10; ++i) logOne();
  EXPECT_EQ(counted.requests(), 40U);
  EXPECT_EQ(outlet.lines, 20);
  EXPECT_GT(outlet.lastLength, 130U);
}

TEST_F(LogItemMemoryTest, anItemBelowTheThresholdTakesMemoryForItsTwoMessages) {
  CountingOutlet::level = 5;
  const CountedAllocation counted;
  logOne();
  EXPECT_EQ(counted.requests(), 2U);
  CountingOutlet::level = 1;
}

}  // namespace
