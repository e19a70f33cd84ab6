#include "client/ErrorString.h"

#include "VUSL/Support/LogOutlet.h"
#include "VUSL/Support/LogSink.h"
#include "tests/unit/client/ClientTest.h"

namespace {

using client_test::argument;
using client_test::Texts;

class ErrorStringTest : public host::MachineTest {};

// The log's messages as they reach an outlet, not narrowed. Attached while it lives.
class WideMessages : private LogOutlet {
 public:
  WideMessages() { LogSink::process().attach(this, LogSink::kOutletChannel); }
  ~WideMessages() override { LogSink::process().detach(this); }

  std::vector<vusl::string_t> messages;

 private:
  void Log(const vusl::string_t&, const vusl::string_t&, const vusl::string_t& message,
           int) override {
    messages.push_back(message);
  }
};

TEST_F(ErrorStringTest, AKnownCodeGivesTheSystemsTextWithItsLineEnd) {
  EXPECT_EQ(GetErrorString(5), "Access is denied.\r\n");
}

TEST_F(ErrorStringTest, AKnownCodeIsLoggedAsAnError) {
  const LogRecorder log;
  GetErrorString(5);
  EXPECT_EQ(log.texts(), Texts{"[ERR] [TPM] GetErrorString Access is denied.\r\n"});
}

TEST_F(ErrorStringTest, WhatHasNoNarrowFormIsAQuestionMarkInTheTextAndInTheLog) {
  host::machine().errorTexts[5] = L"Odmowa dost\u0119pu.\r\n";
  const WideMessages log;
  EXPECT_EQ(GetErrorString(5), "Odmowa dost?pu.\r\n");
  EXPECT_EQ(log.messages, std::vector<vusl::string_t>{L"[TPM] GetErrorString Odmowa dost?pu.\r\n"});
}

TEST_F(ErrorStringTest, AnUnknownCodeGivesItsNumberAndLogsNothing) {
  const LogRecorder log;
  EXPECT_EQ(GetErrorString(12345), "Error 12345(no message found)");
  EXPECT_EQ(log.texts(), Texts{});
}

TEST_F(ErrorStringTest, ACodeWithTheHighestBitPrintsUnsigned) {
  faults().failOnce("FormatMessageW", ERROR_MR_MID_NOT_FOUND);
  EXPECT_EQ(GetErrorString(0x80070005), "Error 2147942405(no message found)");
}

TEST_F(ErrorStringTest, AsksTheSystemsTableInNoParticularLanguage) {
  GetErrorString(5);
  const auto calls = journal().calls("FormatMessageW");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(argument(calls[0], 0), "4864");
  EXPECT_EQ(argument(calls[0], 1), "null");
  EXPECT_EQ(argument(calls[0], 2), "5");
  EXPECT_EQ(argument(calls[0], 3), "0");
  EXPECT_EQ(argument(calls[0], 4), "0");
}

TEST_F(ErrorStringTest, FreesTheSystemsBufferWithTheProcessHeap) {
  GetErrorString(5);
  ASSERT_EQ(journal().count("HeapFree"), 1U);
  EXPECT_EQ(argument(journal().calls("HeapFree")[0], 1), "0");
  EXPECT_EQ(ledger().open("allocation"), 0U);
}

// Whoever reads the log learns of the error also where the heap then ends the process.
TEST_F(ErrorStringTest, LogsTheTextBeforeTheBufferIsFreed) {
  GetErrorString(5);
  const auto calls = journal().namesOf({"GetLocalTime", "HeapFree"});
  ASSERT_GE(calls.size(), 2U);
  EXPECT_EQ(calls.front(), "GetLocalTime");
  EXPECT_EQ(calls.back(), "HeapFree");
}

}  // namespace
