// Event tracing. The calls answer with a status and leave the last error alone.

#include <cstdint>
#include <vector>

#include "tests/contract/Contract.h"

namespace {

constexpr char kNoTracing[] = "Wine's calls of tracing look at nothing and succeed";
constexpr GUID kProvider{0x7D0B5F61, 0x8A43, 0x4C1D, {0x9E, 0x2A, 0x31, 0x54, 0x76, 0x98, 0xBA, 1}};

class Provider {
 public:
  Provider() { EXPECT_EQ(EventRegister(&kProvider, nullptr, nullptr, &handle_), 0U); }
  ~Provider() { EXPECT_EQ(EventUnregister(handle_), 0U); }
  Provider(const Provider&) = delete;
  Provider& operator=(const Provider&) = delete;

  REGHANDLE handle() const { return handle_; }

 private:
  REGHANDLE handle_ = 0;
};

TEST(EventRegister, GivesAHandleAndLeavesTheLastErrorAlone) {
  const Provider provider;
  EXPECT_NE(provider.handle(), 0U);
  EXPECT_EQ(GetLastError(), contract::kUntouched);
}

TEST(EventUnregister, OfAHandleThatIsGoneIs6) {
  REGHANDLE handle = 0;
  EventRegister(&kProvider, nullptr, nullptr, &handle);
  EXPECT_EQ(EventUnregister(handle), 0U);
  EXPECT_EQ(EventUnregister(handle), contract::butUnderWine<ULONG>(6, 0, kNoTracing));
}

// Not every header of the platform has a name for 2, a provider's traits.
EVENT_INFO_CLASS informationClass(ULONG number) {
  return static_cast<EVENT_INFO_CLASS>(number);
}

TEST(EventSetInformation, TakesTheBlobOfAProvidersName) {
  const Provider provider;
  char traits[] = {4, 0, 'x', 0};
  EXPECT_EQ(EventSetInformation(provider.handle(), informationClass(2), traits, 4), 0U);
}

TEST(EventSetInformation, RefusesABlobWhoseLengthIsNotItsFirstWord) {
  const Provider provider;
  char traits[] = {4, 0, 'x', 0};
  EXPECT_EQ(EventSetInformation(provider.handle(), informationClass(2), traits, 3),
            contract::butUnderWine<ULONG>(87, 0, kNoTracing));
}

EVENT_DESCRIPTOR eventOf(UCHAR level) {
  EVENT_DESCRIPTOR descriptor{};
  descriptor.Channel = 11;
  descriptor.Level = level;
  return descriptor;
}

TEST(EventWriteTransfer, SucceedsWhereNobodyListens) {
  const Provider provider;
  const EVENT_DESCRIPTOR event = eventOf(2);
  EXPECT_EQ(EventWriteTransfer(provider.handle(), &event, nullptr, nullptr, 0, nullptr), 0U);
  EXPECT_EQ(GetLastError(), contract::kUntouched);
}

TEST(EventWriteTransfer, RefusesMoreThan128BlocksAndBlocksThatAreNotThere) {
  const Provider provider;
  const EVENT_DESCRIPTOR event = eventOf(2);
  std::vector<EVENT_DATA_DESCRIPTOR> data(129);
  EXPECT_EQ(EventWriteTransfer(provider.handle(), &event, nullptr, nullptr, 129, data.data()),
            contract::butUnderWine<ULONG>(87, 0, kNoTracing));
  EXPECT_EQ(EventWriteTransfer(provider.handle(), &event, nullptr, nullptr, 1, nullptr),
            contract::butUnderWine<ULONG>(87, 0, kNoTracing));
}

TEST(EventWriteTransfer, OfAHandleThatIsGoneIs6) {
  REGHANDLE handle = 0;
  EventRegister(&kProvider, nullptr, nullptr, &handle);
  EventUnregister(handle);
  const EVENT_DESCRIPTOR event = eventOf(2);
  EXPECT_EQ(EventWriteTransfer(handle, &event, nullptr, nullptr, 0, nullptr),
            contract::butUnderWine<ULONG>(6, 0, kNoTracing));
}

}  // namespace
