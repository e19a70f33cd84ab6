#include "VUSL/Support/Event.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "VUSL/Support/Exception.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/MachineTest.h"
#include "tests/unit/runtime/PointerText.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

using vusl::Event;
using vusl::WaitResult;

class EventTest : public host::MachineTest {};

TEST_F(EventTest, isCreatedUnnamedManualResetAndNotSignalled) {
  const Event event;
  ASSERT_EQ(journal().calls("CreateEventW").size(), 1U);
  EXPECT_EQ(journal().calls("CreateEventW")[0].args, "null, 1, 0, null");
}

TEST_F(EventTest, failedCreationThrowsWithTheErrorInDecimal) {
  faults().failOnce("CreateEventW", 8);
  EXPECT_EQ(thrownBy<Exception>([] { Event event; }), "Event::Event:Create event failed 8");
}

TEST_F(EventTest, signalledEventLetsEveryWaitThrough) {
  Event event;
  event.signal();
  EXPECT_EQ(event.Lock(0), WaitResult::kDone);
  EXPECT_EQ(event.Lock(0), WaitResult::kDone);
}

TEST_F(EventTest, waitEndsWithATimeoutWhenTheCallersTimeIsUp) {
  LogRecorder log;
  Event event;
  EXPECT_EQ(event.Lock(2500), WaitResult::kTimeout);
  EXPECT_GE(clockMs(), 2500);
  EXPECT_LT(clockMs(), 2600);
  EXPECT_EQ(log.texts(), std::vector<std::string>{});
}

TEST_F(EventTest, failedWaitIsLoggedWithTheObjectsAddress) {
  LogRecorder log;
  Event event;
  faults().failOnce("WaitForSingleObject", 6);
  EXPECT_EQ(event.Lock(0), WaitResult::kError);
  EXPECT_EQ(log.texts(), std::vector<std::string>{"[ERR] [TPM] [" + pointerText(&event) +
                                                  "] Event::Lock: Wait complete - error."});
}

TEST_F(EventTest, unlockDoesNothing) {
  Event event;
  event.signal();
  const std::size_t before = journal().names().size();
  EXPECT_EQ(event.Unlock(), WaitResult::kDone);
  EXPECT_EQ(journal().names().size(), before);
  EXPECT_EQ(event.Lock(0), WaitResult::kDone);
}

TEST_F(EventTest, failedSignalThrowsWithTheErrorAndTheObjectsAddress) {
  Event event;
  faults().failOnce("SetEvent", 6);
  EXPECT_EQ(thrownBy<Exception>([&] { event.signal(); }),
            "Event::signal:SetEvent failed, err: 6 for:" + pointerText(&event));
}

TEST_F(EventTest, destructorSignalsAndThenCloses) {
  { const Event event; }
  EXPECT_EQ(journal().namesOf({"SetEvent", "CloseHandle"}),
            (std::vector<std::string>{"SetEvent", "CloseHandle"}));
  EXPECT_EQ(ledger().open("event"), 0U);
}

TEST_F(EventTest, destructorReleasesAThreadThatStillWaits) {
  auto event = std::make_unique<Event>();
  WaitResult result = WaitResult::kError;
  host::TestThread waiter(
      [&result, waited = event.get()] { result = waited->Lock(vusl::kInfiniteMs); });
  Sleep(1000);
  event.reset();
  waiter.join();
  EXPECT_EQ(result, WaitResult::kDone);
}

TEST_F(EventTest, failedCloseIsNotLookedAt) {
  LogRecorder log;
  {
    const Event event;
    faults().failOnce("CloseHandle", 6);
  }
  EXPECT_EQ(log.texts(), std::vector<std::string>{});
}

TEST_F(EventTest, tryOfAnEventThatIsNotSignalledIsATimeout) {
  Event event;
  EXPECT_EQ(event.Lock(0), WaitResult::kTimeout);
  EXPECT_EQ(clockMs(), 0);
}

TEST_F(EventTest, tenThousandLeaveNoHandle) {
  for (int i = 0; i < 10'000; ++i) {
    Event event;
    event.signal();
    event.Lock(0);
  }
  EXPECT_TRUE(ledger().stillOpen().empty());
  EXPECT_EQ(journal().count("CloseHandle"), 10'000U);
}

TEST_F(EventTest, destructorLogsAFailedSignalAndClosesAllTheSame) {
  LogRecorder log;
  std::string address;
  {
    const Event event;
    address = pointerText(&event);
    faults().failOnce("SetEvent", 5);
  }
  EXPECT_EQ(log.texts(),
            std::vector<std::string>{
                "[ERR] [TPM] ~Event Unexpected error occured: Event::signal:SetEvent failed, err: "
                "5 for:" +
                address});
  EXPECT_EQ(ledger().open("event"), 0U);
}

}  // namespace
