#include "tests/support/LogRecorder.h"

#include <cstdint>

#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/LogTag.h"
#include "tests/support/MachineTest.h"

namespace {

using Texts = std::vector<std::string>;
using LogRecorderTest = host::MachineTest;

TEST_F(LogRecorderTest, recordsEveryLevelWithItsTag) {
  const LogRecorder log;
  LogItem() << "a";
  LogItem().fatal() << "b";
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] a", "[FTL] [TPM] b"}));
}

TEST_F(LogRecorderTest, recordsNothingAfterItsScope) {
  LogRecorder outer;
  { const LogRecorder inner; }
  LogItem() << "a";
  EXPECT_EQ(outer.texts().size(), 1U);
}

TEST_F(LogRecorderTest, takesAddressesOut) {
  const LogRecorder log;
  LogItem() << LogTag(reinterpret_cast<const void*>(uintptr_t{0xABC}), "Run") << "[0x] [0xg] 0x12";
  EXPECT_EQ(log.withoutAddresses(), Texts{"[DBG] [TPM] [0x] [Run] [0x] [0xg] 0x12"});
}

TEST_F(LogRecorderTest, findsPartsOfAMessage) {
  const LogRecorder log;
  LogItem() << "Stopping service...";
  EXPECT_TRUE(log.contains("Stopping"));
  EXPECT_FALSE(log.contains("Starting"));
}

TEST_F(LogRecorderTest, forgets) {
  LogRecorder log;
  LogItem() << "a";
  log.clear();
  EXPECT_TRUE(log.texts().empty());
}

}  // namespace
