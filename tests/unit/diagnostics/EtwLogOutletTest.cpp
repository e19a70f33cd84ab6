#include "VUSL/Support/EtwLogOutlet.h"

#include <memory>
#include <string>
#include <vector>

#include "VUSL/Support/Exception.h"
#include "tests/support/MachineTest.h"

namespace {

constexpr GUID kId = {0x590DE0FF, 0xDC7D, 0x4731, {0xAC, 0x4F, 0xA9, 0x61, 0xAF, 0, 0xE9, 0xDA}};
constexpr uint8_t kMetadata[] = {5, 0, 'A', 'B', 0};

class EtwLogOutletTest : public host::MachineTest {
 protected:
  EtwLogOutletTest() {
    provider.metadata = kMetadata;
    provider.id = kId;
  }
  ~EtwLogOutletTest() override { EtwLogOutlet::level = 1; }

  // Registers the provider with a session that wants events up to `sessionLevel`.
  void registerWithSession(UCHAR sessionLevel) {
    host::machine().trace.sessionWaiting = true;
    host::machine().trace.sessionLevel = sessionLevel;
    outlet->registerProvider(&provider);
  }

  void log(const std::wstring& message, int level) {
    outlet->Log(L"stamp ", L"tag: ", message, level);
  }

  static const std::vector<host::TraceEvent>& events() { return host::machine().trace.events; }

  TraceProvider provider{};
  std::unique_ptr<EtwLogOutlet> outlet = std::make_unique<EtwLogOutlet>();
};

TEST_F(EtwLogOutletTest, registersTheProviderAndHandsOverItsMetadata) {
  outlet->registerProvider(&provider);
  EXPECT_EQ(journal().namesOf({"EventRegister", "EventSetInformation"}),
            (std::vector<std::string>{"EventRegister", "EventSetInformation"}));
  ASSERT_EQ(host::machine().trace.providers.size(), 1U);
  EXPECT_EQ(host::machine().trace.providers[0].traits, std::string("\5\0AB\0", 5));
  EXPECT_EQ(host::machine().trace.providers[0].guid.Data1, 0x590DE0FFU);
  EXPECT_EQ(host::machine().trace.providers[0].handle, provider.handle);
}

TEST_F(EtwLogOutletTest, clearsTheKeywordsBeforeRegistering) {
  provider.keywordAny = 1;
  provider.keywordAll = 1;
  outlet->registerProvider(&provider);
  EXPECT_EQ(provider.keywordAny, 0U);
  EXPECT_EQ(provider.keywordAll, 0U);
}

TEST_F(EtwLogOutletTest, keepsWhatASessionEnablesWhileItRegisters) {
  registerWithSession(4);
  EXPECT_EQ(provider.levelPlus1, 5U);
}

TEST_F(EtwLogOutletTest, throwsAPointerWhenItCannotRegister) {
  faults().failOnce("EventRegister", 8);
  std::unique_ptr<Exception> thrown;
  try {
    outlet->registerProvider(&provider);
  } catch (Exception* exception) {
    thrown.reset(exception);
  }
  ASSERT_NE(thrown, nullptr);
  EXPECT_STREQ(thrown->what(), "TraceLoggingRegister failed:");
  EXPECT_TRUE(journal().calls("EventSetInformation").empty());
}

TEST_F(EtwLogOutletTest, ignoresThatTheMetadataIsRefused) {
  faults().failOnce("EventSetInformation", 87);
  EXPECT_NO_THROW(outlet->registerProvider(&provider));
}

TEST_F(EtwLogOutletTest, endsTheProcessAtAProviderThatIsRegisteredAlready) {
  provider.handle = 7;
  EXPECT_DEATH(outlet->registerProvider(&provider), "");
  EXPECT_TRUE(journal().calls("EventRegister").empty());
  provider.handle = 0;
}

TEST_F(EtwLogOutletTest, writesProviderEventLevelAndMessageByteForByte) {
  registerWithSession(5);
  log(L"a\u20AC", 3);
  ASSERT_EQ(events().size(), 1U);
  const host::TraceEvent& event = events()[0];
  EXPECT_EQ(event.provider, provider.handle);
  ASSERT_EQ(event.blocks.size(), 4U);
  EXPECT_EQ(event.blocks[0], std::string("\5\0AB\0", 5));
  EXPECT_EQ(event.blocks[1], std::string("\x1A\x00\x00\x4C\x6F\x67\x00\x6C\x6F\x67\x4C\x65\x76\x65"
                                         "\x6C\x00\x02\x4D\x65\x73\x73\x61\x67\x65\x00\x01",
                                         26));
  EXPECT_EQ(event.blocks[2], std::string("ERR\0", 4));
  EXPECT_EQ(event.blocks[3], std::string("a\0\xAC\x20\r\0\n\0\0\0", 10));
}

TEST_F(EtwLogOutletTest, hasTheDescriptorOfASelfDescribingEvent) {
  registerWithSession(5);
  log(L"a", 3);
  ASSERT_EQ(events().size(), 1U);
  const EVENT_DESCRIPTOR& descriptor = events()[0].descriptor;
  EXPECT_EQ(descriptor.Id, 0);
  EXPECT_EQ(descriptor.Version, 0);
  EXPECT_EQ(descriptor.Channel, 11);
  EXPECT_EQ(descriptor.Level, 2);
  EXPECT_EQ(descriptor.Opcode, 0);
  EXPECT_EQ(descriptor.Task, 0);
  EXPECT_EQ(descriptor.Keyword, 0U);
}

TEST_F(EtwLogOutletTest, hasAnEventLevelAndATextForEachLevel) {
  EtwLogOutlet::level = 0;
  registerWithSession(5);
  for (int level = 0; level <= 4; ++level) log(L"a", level);
  ASSERT_EQ(events().size(), 5U);
  std::vector<std::string> rows;
  for (const host::TraceEvent& event : events()) {
    rows.push_back(event.blocks.at(2).substr(0, 3) + std::to_string(event.descriptor.Level));
  }
  EXPECT_EQ(rows, (std::vector<std::string>{"VER5", "DBG5", "INF4", "ERR2", "FTL1"}));
}

TEST_F(EtwLogOutletTest, hasVerboseAndDebugEventsThatDifferInTheLevelTextOnly) {
  EtwLogOutlet::level = 0;
  registerWithSession(5);
  log(L"a", 0);
  log(L"a", 1);
  ASSERT_EQ(events().size(), 2U);
  EXPECT_EQ(events()[0].descriptor.Level, events()[1].descriptor.Level);
  EXPECT_EQ(events()[0].blocks[3], events()[1].blocks[3]);
  EXPECT_NE(events()[0].blocks[2], events()[1].blocks[2]);
}

TEST_F(EtwLogOutletTest, writesNoEventForTheLevelFive) {
  registerWithSession(5);
  log(L"a", 5);
  EXPECT_TRUE(journal().calls("EventWriteTransfer").empty());
}

TEST_F(EtwLogOutletTest, writesNothingBelowItsThreshold) {
  EtwLogOutlet::level = 3;
  registerWithSession(5);
  log(L"a", 2);
  log(L"b", 3);
  EXPECT_EQ(journal().calls("EventWriteTransfer").size(), 1U);
}

TEST_F(EtwLogOutletTest, writesNothingWithNoSessionEnabled) {
  outlet->registerProvider(&provider);
  log(L"a", 4);
  EXPECT_TRUE(journal().calls("EventWriteTransfer").empty());
}

TEST_F(EtwLogOutletTest, writesNothingThatTheSessionsLevelLeavesOut) {
  registerWithSession(2);
  log(L"info", 2);
  EXPECT_TRUE(journal().calls("EventWriteTransfer").empty());
  log(L"error", 3);
  EXPECT_EQ(journal().calls("EventWriteTransfer").size(), 1U);
}

TEST_F(EtwLogOutletTest, refusesToDump) {
  try {
    outlet->Dump(L"a");
    FAIL() << "nothing was thrown";
  } catch (const std::exception& e) {
    EXPECT_STREQ(e.what(),
                 "EtwLogOutlet: Dump(const vusl::string_t& message) should not be called");
  }
}

TEST_F(EtwLogOutletTest, wantsNoPrefix) {
  EXPECT_FALSE(outlet->wantsPrefix());
}

TEST_F(EtwLogOutletTest, unregistersItsProviderWhenItGoes) {
  registerWithSession(5);
  const REGHANDLE handle = provider.handle;
  ASSERT_NE(handle, 0U);
  outlet.reset();
  EXPECT_EQ(provider.handle, 0U);
  EXPECT_EQ(provider.levelPlus1, 0U);
  const auto calls = journal().calls("EventUnregister");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].args, std::to_string(handle));
}

TEST_F(EtwLogOutletTest, unregistersNothingWithoutAProvider) {
  outlet.reset();
  EXPECT_TRUE(journal().names().empty());
}

TEST_F(EtwLogOutletTest, faultsAtALineWithoutAProvider) {
  EXPECT_DEATH(log(L"a", 4), "");
}

TEST_F(EtwLogOutletTest, endsTheMessageAtAZeroCharacter) {
  registerWithSession(5);
  log(std::wstring(L"a\0b", 3), 3);
  ASSERT_EQ(events().size(), 1U);
  EXPECT_EQ(events()[0].blocks.at(3), std::string("a\0\0\0", 4));
}

TEST_F(EtwLogOutletTest, splitsACharacterBeyondTheFirstPlaneIntoTwoUnits) {
  registerWithSession(5);
  log(L"\U0001F600", 3);
  ASSERT_EQ(events().size(), 1U);
  EXPECT_EQ(events()[0].blocks.at(3), std::string("\x3D\xD8\x00\xDE\r\0\n\0\0\0", 10));
}

TEST_F(EtwLogOutletTest, doesNothingWhenReopened) {
  outlet->reopen();
  EXPECT_TRUE(journal().names().empty());
}

}  // namespace
