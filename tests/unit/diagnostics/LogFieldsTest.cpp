// Where the fields of the log's objects lie, as the native build lays them out. The eight bytes of
// a class with virtual operations come first.

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/LogSetup.h"
#include "VUSL/Support/LogSink.h"
#include "VUSL/Support/UseCaseIdentifier.h"
#include "tests/support/MachineTest.h"
#include "tests/unit/diagnostics/RecordingOutlet.h"

namespace {

class LogFieldsTest : public host::MachineTest {};

template <class Field, class Object>
Field& partOf(Object& object, std::size_t offset) {
  return *reinterpret_cast<Field*>(reinterpret_cast<unsigned char*>(&object) + offset);
}

template <class Field, class Object>
std::size_t offsetIn(const Object& object, const Field& field) {
  return static_cast<std::size_t>(reinterpret_cast<const unsigned char*>(&field) -
                                  reinterpret_cast<const unsigned char*>(&object));
}

// What the sink keeps of each outlet.
struct KeptOutlet {
  std::int32_t channel;
  LogOutlet* outlet;
};

constexpr std::size_t kTextSize = sizeof(std::string);
static_assert(sizeof(std::wstring) == kTextSize);

constexpr std::size_t kSinkTag = 8;
constexpr std::size_t kSinkOutlets = kSinkTag + kTextSize;

TEST_F(LogFieldsTest, useCaseHasItsTextAlone) {
  static_assert(sizeof(UseCaseIdentifier) == kTextSize);
  EXPECT_EQ(partOf<std::string>(UseCaseIdentifier::getInstance(), 0), "[TPM] ");
}

// Both messages are the same until one is changed from outside, which shows whose is which.
TEST_F(LogFieldsTest, itemHasItsPrefixThenBothMessagesThenBaseAndLevel) {
  constexpr std::size_t kMessages = 8 + kTextSize;
  constexpr std::size_t kNumbers = kMessages + 2 * kTextSize;
  static_assert(sizeof(LogItem) == kNumbers + 8);
  RecordingOutlet console;
  RecordingOutlet outlet;
  const AttachedOutlet first(console, LogSink::kConsoleChannel);
  const AttachedOutlet second(outlet, LogSink::kOutletChannel);
  {
    LogItem item;
    EXPECT_EQ(partOf<std::string>(item, 8), "[TPM] ");
    EXPECT_EQ(partOf<std::int32_t>(item, kNumbers), 1);
    EXPECT_EQ(partOf<std::int32_t>(item, kNumbers + 4), 1);
    item.error() << LogBase::kHexadecimal;
    EXPECT_EQ(partOf<std::int32_t>(item, kNumbers), 0);
    EXPECT_EQ(partOf<std::int32_t>(item, kNumbers + 4), 3);
    partOf<std::wstring>(item, kMessages) = L"for the outlets";
    partOf<std::wstring>(item, kMessages + kTextSize) = L"for the console";
  }
  ASSERT_EQ(outlet.messages.size(), 1U);
  EXPECT_EQ(outlet.messages[0].text, L"for the outlets");
  ASSERT_EQ(console.messages.size(), 1U);
  EXPECT_EQ(console.messages[0].text, L"for the console");
}

TEST_F(LogFieldsTest, sinkHasItsTagAndThenItsOutlets) {
  LogSink sink("tag: ");
  RecordingOutlet outlet;
  sink.attach(&outlet, 7);
  EXPECT_EQ(partOf<std::string>(sink, kSinkTag), "tag: ");
  const auto& kept = partOf<std::vector<KeptOutlet>>(sink, kSinkOutlets);
  ASSERT_EQ(kept.size(), 1U);
  EXPECT_EQ(kept[0].channel, 7);
  EXPECT_EQ(kept[0].outlet, &outlet);
}

struct OpenFields : RollingFileLogOutlet {
  using RollingFileLogOutlet::RollingFileLogOutlet;

  std::vector<std::size_t> offsets() const {
    return {offsetIn(*this, currentSize), offsetIn(*this, file),
            offsetIn(*this, maxFileSize), offsetIn(*this, maxArchiveNumber),
            offsetIn(*this, listener),    offsetIn(*this, lastWriteOk),
            offsetIn(*this, rollFlagA),   offsetIn(*this, rollFlagB)};
  }
};

TEST_F(LogFieldsTest, fileOutletHasItsFieldsInOrder) {
  constexpr std::size_t kFile = 16;
  constexpr std::size_t kLimits = kFile + sizeof(vusl::File);
  constexpr std::size_t kFlags = kLimits + 16;
  const OpenFields outlet("C:\\logs\\x.log");
  EXPECT_EQ(outlet.offsets(), (std::vector<std::size_t>{8, kFile, kLimits, kLimits + 4, kLimits + 8,
                                                        kFlags, kFlags + 1, kFlags + 2}));
}

TEST_F(LogFieldsTest, fileOutletByDateAddsNoField) {
  EXPECT_EQ(sizeof(RollingDateFileLogOutlet), sizeof(RollingFileLogOutlet));
}

TEST_F(LogFieldsTest, setupHasWhatItWasGivenThenItsSwitchAndThenItsOutlets) {
  constexpr std::size_t kSwitch = 3 * kTextSize;
  constexpr std::size_t kDebugOutlet = kSwitch + 8;
  constexpr std::size_t kFileOutlet = kDebugOutlet + sizeof(DebugLogOutlet);
  constexpr std::size_t kBehindTheFileOutlet = kFileOutlet + sizeof(RollingDateFileLogOutlet);
  host::machine().environment[L"TALS_CONFDIR_PATH"] = L"C:\\conf";
  LogSetup setup("TPMEnrollmentService.log", "DEBUG", "TPMEnrollmentService.conf");
  EXPECT_EQ(partOf<std::string>(setup, 0), "TPMEnrollmentService.log");
  EXPECT_EQ(partOf<std::string>(setup, kTextSize), "DEBUG");
  EXPECT_EQ(partOf<std::string>(setup, 2 * kTextSize), "TPMEnrollmentService.conf");
  EXPECT_EQ(partOf<unsigned char>(setup, kSwitch), 1);
  EXPECT_NE(dynamic_cast<RollingDateFileLogOutlet*>(&partOf<LogOutlet>(setup, kFileOutlet)),
            nullptr);
  const auto& attached = partOf<std::vector<KeptOutlet>>(LogSink::process(), kSinkOutlets);
  ASSERT_EQ(attached.size(), 2U);
  EXPECT_EQ(offsetIn(setup, *attached[0].outlet), kDebugOutlet);
  const std::size_t trace = offsetIn(setup, *attached[1].outlet);
  EXPECT_GE(trace, kBehindTheFileOutlet);
  EXPECT_EQ(trace + sizeof(EtwLogOutlet), sizeof(setup));
}

}  // namespace
