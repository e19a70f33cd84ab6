// Event tracing. The calls answer with a status and leave the last error alone.

#include "tests/support/MachineTest.h"

namespace {

struct Told {
  ULONG enabled;
  UCHAR level;
  ULONGLONG any;
  ULONGLONG all;
  bool operator==(const Told&) const = default;
};
using AllTold = std::vector<Told>;

void remember(LPCGUID /*source*/, ULONG enabled, UCHAR level, ULONGLONG any, ULONGLONG all,
              PEVENT_FILTER_DESCRIPTOR /*filter*/, PVOID context) {
  static_cast<AllTold*>(context)->push_back({enabled, level, any, all});
}

class TraceTest : public host::MachineTest {
 protected:
  TraceTest() { host::setLastError(77); }
  ~TraceTest() override { EXPECT_EQ(host::lastError(), 77U); }

  REGHANDLE registerProvider() {
    REGHANDLE handle = 0;
    EXPECT_EQ(EventRegister(&guid, remember, &told, &handle), 0U);
    return handle;
  }

  const GUID guid{1, 2, 3, {4}};
  AllTold told;
  host::TraceSessions& trace = host::machine().trace;
};

TEST_F(TraceTest, AProviderIsAccountedUntilItIsUnregistered) {
  const REGHANDLE handle = registerProvider();
  EXPECT_NE(handle, 0U);
  EXPECT_EQ(ledger().open("provider"), 1U);
  ASSERT_EQ(trace.providers.size(), 1U);
  EXPECT_EQ(trace.providers[0].guid.Data1, 1U);
  EXPECT_TRUE(trace.providers[0].registered);
  EXPECT_EQ(EventUnregister(handle), 0U);
  EXPECT_EQ(ledger().open("provider"), 0U);
  EXPECT_FALSE(trace.providers[0].registered);
}

TEST_F(TraceTest, ASecondUnregistrationIs6AndAViolation) {
  const REGHANDLE handle = registerProvider();
  EventUnregister(handle);
  EXPECT_EQ(EventUnregister(handle), 6U);
  EXPECT_EQ(ledger().violations().size(), 1U);
}

TEST_F(TraceTest, ASessionThatWaitsIsToldWithinTheRegistration) {
  trace.sessionWaiting = true;
  trace.sessionLevel = 4;
  const REGHANDLE handle = registerProvider();
  EXPECT_EQ(told, (AllTold{{1, 4, 0xFFFFFFFFFFFFFFFF, 0}}));
  EventUnregister(handle);
}

TEST_F(TraceTest, WithoutASessionNothingIsTold) {
  const REGHANDLE handle = registerProvider();
  EXPECT_TRUE(told.empty());
  EventUnregister(handle);
}

TEST_F(TraceTest, ASessionEnablesAndDisables) {
  const REGHANDLE handle = registerProvider();
  trace.enable(handle, 3, 0x10, 0x20);
  trace.disable(handle);
  EXPECT_EQ(told, (AllTold{{1, 3, 0x10, 0x20}, {0, 0, 0, 0}}));
  EventUnregister(handle);
  trace.enable(handle, 3, 0x10, 0x20);
  EXPECT_EQ(told.size(), 2U) << "an unregistered provider hears nothing";
}

TEST_F(TraceTest, TraitsAreKept) {
  const REGHANDLE handle = registerProvider();
  char traits[] = {4, 0, 'x', 0};
  EXPECT_EQ(EventSetInformation(handle, EventProviderSetTraits, traits, 4), 0U);
  EXPECT_EQ(trace.providers[0].traits, std::string(traits, 4));
  EXPECT_EQ(EventSetInformation(handle, EventProviderBinaryTrackInfo, traits, 4), 87U);
  EventUnregister(handle);
}

TEST_F(TraceTest, AnEventIsKeptWithTheBytesOfItsBlocks) {
  const REGHANDLE handle = registerProvider();
  const EVENT_DESCRIPTOR descriptor{0, 0, 11, 2, 0, 0, 0};
  std::string bytes("ab\0", 3);
  EVENT_DATA_DESCRIPTOR data[] = {
      {reinterpret_cast<std::uintptr_t>(bytes.data()), 3, 2},
      {reinterpret_cast<std::uintptr_t>(bytes.data()), 1, 0},
  };
  EXPECT_EQ(EventWriteTransfer(handle, &descriptor, nullptr, nullptr, 2, data), 0U);
  bytes = "zz";
  ASSERT_EQ(trace.events.size(), 1U);
  EXPECT_EQ(trace.events[0].provider, handle);
  EXPECT_EQ(trace.events[0].descriptor.Channel, 11);
  EXPECT_EQ(trace.events[0].blocks, (std::vector<std::string>{std::string("ab\0", 3), "a"}));
  EventUnregister(handle);
}

TEST_F(TraceTest, AnUnregisteredProviderWritesNothing) {
  const REGHANDLE handle = registerProvider();
  EventUnregister(handle);
  const EVENT_DESCRIPTOR descriptor{};
  EXPECT_EQ(EventWriteTransfer(handle, &descriptor, nullptr, nullptr, 0, nullptr), 6U);
  EXPECT_EQ(EventSetInformation(handle, EventProviderSetTraits, this, 4), 6U);
  EXPECT_TRUE(trace.events.empty());
  EXPECT_EQ(ledger().violations().size(), 2U);
}

TEST_F(TraceTest, AFaultIsTheStatus) {
  faults().failOnce("EventRegister", 1450);
  REGHANDLE handle = 0;
  EXPECT_EQ(EventRegister(&guid, remember, &told, &handle), 1450U);
  EXPECT_EQ(handle, 0U);
  EXPECT_TRUE(trace.providers.empty());
}

}  // namespace
