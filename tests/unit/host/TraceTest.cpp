// Event tracing. The calls answer with a status and leave the last error alone.

#include "tests/support/MachineTest.h"

namespace {

using host::TraceFilter;

struct Told {
  ULONG control;
  UCHAR level;
  ULONGLONG any;
  ULONGLONG all;
  bool operator==(const Told&) const = default;
};
using AllTold = std::vector<Told>;

constexpr ULONGLONG kEvery = 0xFFFFFFFFFFFFFFFF;
constexpr GUID kProvider{1, 2, 3, {4}};
constexpr GUID kOther{1, 2, 3, {5}};

void remember(LPCGUID /*source*/, ULONG control, UCHAR level, ULONGLONG any, ULONGLONG all,
              PEVENT_FILTER_DESCRIPTOR /*filter*/, PVOID context) {
  static_cast<AllTold*>(context)->push_back({control, level, any, all});
}

EVENT_DESCRIPTOR eventOf(UCHAR level, ULONGLONG keyword = 0) {
  EVENT_DESCRIPTOR descriptor{};
  descriptor.Channel = 11;
  descriptor.Level = level;
  descriptor.Keyword = keyword;
  return descriptor;
}

class TraceTest : public host::MachineTest {
 protected:
  TraceTest() { host::setLastError(77); }
  ~TraceTest() override { EXPECT_EQ(host::lastError(), 77U); }

  REGHANDLE registerProvider() {
    REGHANDLE handle = 0;
    EXPECT_EQ(EventRegister(&kProvider, remember, &told, &handle), 0U);
    return handle;
  }

  static ULONG write(REGHANDLE handle, const EVENT_DESCRIPTOR& event) {
    return EventWriteTransfer(handle, &event, nullptr, nullptr, 0, nullptr);
  }

  // Writes an event with one block of data.
  static ULONG writeBlock(REGHANDLE handle, const void* bytes, ULONG size, ULONG type = 0) {
    EVENT_DATA_DESCRIPTOR data{reinterpret_cast<std::uintptr_t>(bytes), size, type};
    const EVENT_DESCRIPTOR event = eventOf(2);
    return EventWriteTransfer(handle, &event, nullptr, nullptr, 1, &data);
  }

  // The levels of the events that the session received.
  std::vector<int> levelsIn(const std::string& session) const {
    std::vector<int> levels;
    for (const host::TraceEvent& event : trace.received(session)) {
      levels.push_back(event.descriptor.Level);
    }
    return levels;
  }

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

TEST_F(TraceTest, ARegistrationNeedsAnIdAndAPlaceForTheHandle) {
  REGHANDLE handle = 0;
  EXPECT_EQ(EventRegister(nullptr, remember, &told, &handle), 87U);
  EXPECT_EQ(EventRegister(&kProvider, remember, &told, nullptr), 87U);
  EXPECT_TRUE(trace.providers.empty());
}

TEST_F(TraceTest, ASecondUnregistrationIs6AndAViolation) {
  const REGHANDLE handle = registerProvider();
  EventUnregister(handle);
  EXPECT_EQ(EventUnregister(handle), 6U);
  EXPECT_EQ(ledger().violations().size(), 1U);
}

// Sessions

TEST_F(TraceTest, ASessionThatWaitsIsToldWithinTheRegistration) {
  trace.enable("s", kProvider, {4});
  const REGHANDLE handle = registerProvider();
  EXPECT_EQ(told, (AllTold{{1, 4, kEvery, 0}}));
  EventUnregister(handle);
}

TEST_F(TraceTest, WithoutASessionNothingIsTold) {
  trace.enable("s", kOther, {4});
  const REGHANDLE handle = registerProvider();
  EXPECT_TRUE(told.empty());
  EventUnregister(handle);
}

TEST_F(TraceTest, AProviderWithoutACallbackIsRegisteredAndHeard) {
  trace.enable("s", kProvider, {5});
  REGHANDLE handle = 0;
  EXPECT_EQ(EventRegister(&kProvider, nullptr, nullptr, &handle), 0U);
  EXPECT_EQ(write(handle, eventOf(2)), 0U);
  EXPECT_EQ(levelsIn("s"), std::vector<int>{2});
  EventUnregister(handle);
}

TEST_F(TraceTest, ASessionEnablesChangesAndDisables) {
  const REGHANDLE handle = registerProvider();
  trace.enable("s", kProvider, {3, 0x10, 0x20});
  trace.enable("s", kProvider, {2, 0x10, 0x20});
  trace.disable("s");
  trace.disable("s");
  trace.disable("another");
  EXPECT_EQ(told, (AllTold{{1, 3, 0x10, 0x20}, {1, 2, 0x10, 0x20}, {0, 0, 0, 0}}));
  EventUnregister(handle);
  trace.enable("s", kProvider, {3});
  EXPECT_EQ(told.size(), 3U) << "an unregistered provider hears nothing";
}

TEST_F(TraceTest, AProviderHearsOfAllItsSessionsAsOfOne) {
  const REGHANDLE handle = registerProvider();
  trace.enable("a", kProvider, {2, 0x30, 0x11});
  trace.enable("b", kProvider, {4, 0x0F, 0x12});
  trace.enable("c", kProvider, {0, 0x100, 0x10});
  trace.disable("c");
  trace.disable("b");
  trace.disable("a");
  EXPECT_EQ(told, (AllTold{{1, 2, 0x30, 0x11},
                           {1, 4, 0x3F, 0x10},
                           {1, 0, 0x13F, 0x10},
                           {1, 4, 0x3F, 0x10},
                           {1, 2, 0x30, 0x11},
                           {0, 0, 0, 0}}));
  EventUnregister(handle);
}

TEST_F(TraceTest, ASessionCanAskForTheState) {
  const REGHANDLE handle = registerProvider();
  trace.captureState("s");
  trace.enable("s", kProvider, {3, 1, 0});
  trace.captureState("s");
  trace.disable("s");
  trace.captureState("s");
  EXPECT_EQ(told, (AllTold{{1, 3, 1, 0}, {2, 3, 1, 0}, {0, 0, 0, 0}}));
  EventUnregister(handle);
}

TEST_F(TraceTest, EachSessionReceivesWhatItsOwnLevelAllows) {
  trace.enable("errors", kProvider, {2});
  trace.enable("all", kProvider, {0});
  trace.enable("others", kOther, {0});
  const REGHANDLE handle = registerProvider();
  for (const UCHAR level : std::initializer_list<UCHAR>{1, 2, 3, 255}) {
    EXPECT_EQ(write(handle, eventOf(level)), 0U);
  }
  EXPECT_EQ(levelsIn("errors"), (std::vector<int>{1, 2}));
  EXPECT_EQ(levelsIn("all"), (std::vector<int>{1, 2, 3, 255}));
  EXPECT_EQ(levelsIn("others"), std::vector<int>{});
  EventUnregister(handle);
}

TEST_F(TraceTest, AnEventWithKeywordsNeedsOneOfAnyAndAllOfAll) {
  trace.enable("s", kProvider, {5, 0x6, 0x2});
  const REGHANDLE handle = registerProvider();
  UCHAR level = 1;
  for (const ULONGLONG keyword : std::initializer_list<ULONGLONG>{0x2, 0x4, 0x6, 0x8, 0x0}) {
    write(handle, eventOf(level++, keyword));
  }
  EXPECT_EQ(levelsIn("s"), (std::vector<int>{1, 3, 5}));
  EventUnregister(handle);
}

TEST_F(TraceTest, ADisabledSessionReceivesNothing) {
  trace.enable("s", kProvider, {5});
  const REGHANDLE handle = registerProvider();
  write(handle, eventOf(1));
  trace.disable("s");
  EXPECT_EQ(write(handle, eventOf(2)), 0U) << "that nobody listens is no failure";
  EXPECT_EQ(levelsIn("s"), std::vector<int>{1});
  EventUnregister(handle);
}

// Traits

TEST_F(TraceTest, TraitsAreKept) {
  const REGHANDLE handle = registerProvider();
  char traits[] = {4, 0, 'x', 0};
  EXPECT_EQ(EventSetInformation(handle, EventProviderSetTraits, traits, 4), 0U);
  EXPECT_EQ(trace.providers[0].traits, std::string(traits, 4));
  EventUnregister(handle);
}

TEST_F(TraceTest, TraitsThatAreNoneAreRefused) {
  const REGHANDLE handle = registerProvider();
  char traits[] = {4, 0, 'x', 0};
  char unended[] = {4, 0, 'x', 'y'};
  EXPECT_EQ(EventSetInformation(handle, EventProviderBinaryTrackInfo, traits, 4), 87U);
  EXPECT_EQ(EventSetInformation(handle, EventProviderSetTraits, nullptr, 4), 87U);
  EXPECT_EQ(EventSetInformation(handle, EventProviderSetTraits, traits, 3), 87U);
  EXPECT_EQ(EventSetInformation(handle, EventProviderSetTraits, traits, 2), 87U);
  EXPECT_EQ(EventSetInformation(handle, EventProviderSetTraits, unended, 4), 87U);
  EXPECT_EQ(trace.providers[0].traits, "");
  EventUnregister(handle);
}

// Events

TEST_F(TraceTest, AnEventIsKeptWithTypesAndBytesOfItsBlocks) {
  trace.enable("s", kProvider);
  const REGHANDLE handle = registerProvider();
  const EVENT_DESCRIPTOR descriptor = eventOf(2);
  std::string bytes("ab\0", 3);
  EVENT_DATA_DESCRIPTOR data[] = {
      {reinterpret_cast<std::uintptr_t>(bytes.data()), 3, 2},
      {reinterpret_cast<std::uintptr_t>(bytes.data()), 1, 0},
      {0, 0, 0},
  };
  EXPECT_EQ(EventWriteTransfer(handle, &descriptor, nullptr, nullptr, 3, data), 0U);
  bytes = "zz";
  const auto events = trace.received("s");
  ASSERT_EQ(events.size(), 1U);
  EXPECT_EQ(events[0].provider, handle);
  EXPECT_EQ(events[0].descriptor.Channel, 11);
  EXPECT_FALSE(events[0].hasActivity);
  const std::vector<host::TraceEvent::Block> blocks = {
      {2, std::string("ab\0", 3)}, {0, "a"}, {0, ""}};
  EXPECT_EQ(events[0].blocks, blocks);
  EventUnregister(handle);
}

TEST_F(TraceTest, AnActivityOfAnEventIsNoticed) {
  trace.enable("s", kProvider);
  const REGHANDLE handle = registerProvider();
  const EVENT_DESCRIPTOR event = eventOf(2);
  EventWriteTransfer(handle, &event, &kOther, nullptr, 0, nullptr);
  EventWriteTransfer(handle, &event, nullptr, &kOther, 0, nullptr);
  const auto events = trace.received("s");
  ASSERT_EQ(events.size(), 2U);
  EXPECT_TRUE(events[0].hasActivity);
  EXPECT_TRUE(events[1].hasActivity);
  EventUnregister(handle);
}

TEST_F(TraceTest, AnUnregisteredProviderWritesNothing) {
  trace.enable("s", kProvider);
  const REGHANDLE handle = registerProvider();
  EventUnregister(handle);
  EXPECT_EQ(write(handle, eventOf(1)), 6U);
  EXPECT_EQ(EventSetInformation(handle, EventProviderSetTraits, this, 4), 6U);
  EXPECT_TRUE(trace.received("s").empty());
  EXPECT_EQ(ledger().violations().size(), 2U);
}

TEST_F(TraceTest, AnEventWithoutADescriptorOrItsDataIsRefused) {
  trace.enable("s", kProvider);
  const REGHANDLE handle = registerProvider();
  const EVENT_DESCRIPTOR event = eventOf(1);
  std::vector<EVENT_DATA_DESCRIPTOR> data(129);
  EXPECT_EQ(EventWriteTransfer(handle, nullptr, nullptr, nullptr, 0, nullptr), 87U);
  EXPECT_EQ(EventWriteTransfer(handle, &event, nullptr, nullptr, 1, nullptr), 87U);
  EXPECT_EQ(EventWriteTransfer(handle, &event, nullptr, nullptr, 129, data.data()), 87U);
  EXPECT_TRUE(trace.received("s").empty());
  EXPECT_EQ(EventWriteTransfer(handle, &event, nullptr, nullptr, 128, data.data()), 0U);
  EventUnregister(handle);
}

TEST_F(TraceTest, ABlockOfAnUnknownTypeOrWithoutMemoryIsRefused) {
  trace.enable("s", kProvider);
  const REGHANDLE handle = registerProvider();
  EXPECT_EQ(writeBlock(handle, "a", 1, 3), 87U);
  EXPECT_EQ(writeBlock(handle, nullptr, 1), 998U);
  EXPECT_TRUE(trace.received("s").empty());
  EventUnregister(handle);
}

TEST_F(TraceTest, AnEventHasNoRoomForMoreThan64KiBWithItsHeader) {
  trace.enable("s", kProvider);
  const REGHANDLE handle = registerProvider();
  const std::string bytes(0x10000, 'x');
  EXPECT_EQ(writeBlock(handle, bytes.data(), 65535 - 80), 0U);
  EXPECT_EQ(writeBlock(handle, bytes.data(), 65535 - 80 + 1), 534U);
  EXPECT_EQ(trace.received("s").size(), 1U);
  EventUnregister(handle);
}

TEST_F(TraceTest, WhereNobodyListensTheDataIsNotLookedAt) {
  const REGHANDLE handle = registerProvider();
  EXPECT_EQ(writeBlock(handle, nullptr, 1), 0U);
  EventUnregister(handle);
}

TEST_F(TraceTest, AFaultIsTheStatus) {
  faults().failOnce("EventRegister", 1450);
  REGHANDLE handle = 0;
  EXPECT_EQ(EventRegister(&kProvider, remember, &told, &handle), 1450U);
  EXPECT_EQ(handle, 0U);
  EXPECT_TRUE(trace.providers.empty());
}

}  // namespace
