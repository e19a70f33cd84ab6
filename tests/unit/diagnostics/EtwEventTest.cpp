// What an event of the outlet is made of. The bytes are those that the platform's documentation
// gives; the decoder is the model's and knows nothing of the code that wrote them.

#include <map>

#include "platform/host/TraceDecoder.h"
#include "tests/unit/diagnostics/TraceFixture.h"

namespace {

using namespace std::string_literals;
using Blocks = std::vector<host::TraceEvent::Block>;

class EtwEventTest : public TraceFixture {
 protected:
  // Writes the message, and gives the one event that comes of it.
  host::TraceEvent eventOf(const std::wstring& message, int level = 3) {
    registerWithSession(5);
    log(message, level);
    const auto written = events();
    EXPECT_EQ(written.size(), 1U);
    return written.empty() ? host::TraceEvent{} : written[0];
  }

  std::string bytesOfMessage(const std::wstring& message) {
    const host::TraceEvent event = eventOf(message);
    return event.blocks.size() == 4 ? event.blocks[3].bytes : "not four blocks";
  }
};

TEST_F(EtwEventTest, isProviderEventLevelAndMessageByteForByte) {
  const host::TraceEvent event = eventOf(L"a\u20AC");
  EXPECT_EQ(event.provider, provider.handle);
  const Blocks expected = {
      {2, "\5\0AB\0"s},
      {1,
       "\x1A\x00\x00\x4C\x6F\x67\x00\x6C\x6F\x67\x4C\x65\x76\x65\x6C\x00\x02\x4D\x65\x73\x73\x61"
       "\x67\x65\x00\x01"s},
      {0, "ERR\0"s},
      {0, "a\0\xAC\x20\r\0\n\0\0\0"s},
  };
  EXPECT_EQ(event.blocks, expected);
}

TEST_F(EtwEventTest, hasTheDescriptorOfASelfDescribingEventByteForByte) {
  const host::TraceEvent event = eventOf(L"a");
  const std::string bytes(reinterpret_cast<const char*>(&event.descriptor),
                          sizeof(event.descriptor));
  EXPECT_EQ(bytes, "\x00\x00\x00\x0B\x02\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00\x00"s);
}

TEST_F(EtwEventTest, isWrittenWithoutActivities) {
  EXPECT_FALSE(eventOf(L"a").hasActivity);
  ASSERT_EQ(journal().calls("EventWriteTransfer").size(), 1U);
  EXPECT_EQ(journal().calls("EventWriteTransfer")[0].args,
            std::to_string(provider.handle) + ", 2, null, null, 4");
}

TEST_F(EtwEventTest, isReadBackAsExactlyTwoFieldsWithNoByteLeftOver) {
  const auto result = host::decode(eventOf(L"[TPM] Started."));
  ASSERT_TRUE(std::holds_alternative<host::DecodedEvent>(result))
      << std::get<host::TraceFault>(result).reason;
  const auto& event = std::get<host::DecodedEvent>(result);
  EXPECT_EQ(event.provider, "AB");
  EXPECT_EQ(event.name, "Log");
  const std::vector<host::DecodedEvent::Field> fields = {{"logLevel", 2, u"ERR"},
                                                         {"Message", 1, u"[TPM] Started.\r\n"}};
  EXPECT_EQ(event.fields, fields);
}

TEST_F(EtwEventTest, isReadableAtEveryLevelFromEachProviderOfTheTable) {
  const std::map<std::string, std::string> names = {
      {"TPMEnrollmentService.log", "TPMEnrollmentService"},
      {"OrvixVTMEKRecertification.log", "OrvixVTMEKRecertification"}};
  EtwLogOutlet::level = 0;
  const char* const levels[] = {"5, logLevel \"VER\"", "5, logLevel \"DBG\"", "4, logLevel \"INF\"",
                                "2, logLevel \"ERR\"", "1, logLevel \"FTL\""};
  for (const auto& [file, name] : names) {
    TraceProvider& record = *FindTraceProvider(file);
    host::machine().trace.enable(name, record.id);
    EtwLogOutlet writer;
    writer.registerProvider(&record);
    for (int level = 0; level <= 4; ++level) writer.Log(L"", L"", L"text", level);
    const auto written = host::machine().trace.received(name);
    ASSERT_EQ(written.size(), 5U);
    for (size_t level = 0; level < 5; ++level) {
      EXPECT_EQ(host::describe(written[level]),
                name + " Log, level " + levels[level] + ", Message \"text\\r\\n\"");
    }
  }
}

TEST_F(EtwEventTest, hasVerboseAndDebugEventsThatDifferInTheLevelTextOnly) {
  EtwLogOutlet::level = 0;
  registerWithSession(5);
  log(L"a", 0);
  log(L"a", 1);
  const auto written = events();
  ASSERT_EQ(written.size(), 2U);
  EXPECT_EQ(std::memcmp(&written[0].descriptor, &written[1].descriptor, sizeof(EVENT_DESCRIPTOR)),
            0);
  Blocks verbose = written[0].blocks;
  ASSERT_EQ(verbose.size(), 4U);
  EXPECT_EQ(verbose[2].bytes, "VER\0"s);
  verbose[2].bytes = "DBG\0"s;
  EXPECT_EQ(verbose, written[1].blocks);
}

TEST_F(EtwEventTest, hasTheLineEndAsItsMessageWhereThereIsNoText) {
  EXPECT_EQ(bytesOfMessage(L""), "\r\0\n\0\0\0"s);
}

TEST_F(EtwEventTest, endsTheMessageAtAZeroCharacter) {
  EXPECT_EQ(bytesOfMessage(L"a\0b"s), "a\0\0\0"s);
}

TEST_F(EtwEventTest, splitsACharacterBeyondTheFirstPlaneIntoTwoUnits) {
  EXPECT_EQ(bytesOfMessage(L"\U0001F600"), "\x3D\xD8\x00\xDE\r\0\n\0\0\0"s);
}

TEST_F(EtwEventTest, keepsALoneSurrogateAsItIs) {
  const std::wstring lone = {static_cast<wchar_t>(0xDC00), L'x', static_cast<wchar_t>(0xD800)};
  EXPECT_EQ(bytesOfMessage(lone), "\x00\xDCx\0\x00\xD8\r\0\n\0\0\0"s);
}

TEST_F(EtwEventTest, holdsAMessageUpToThePlatformsLimit) {
  // 64 KiB less one, without the header of 80 bytes, the two descriptions, the level's text, and
  // line end and zero of the message.
  constexpr size_t kMost = (65535 - 80 - 5 - 26 - 4 - 6) / 2;
  registerWithSession(5);
  log(std::wstring(kMost, L'x'), 3);
  EXPECT_EQ(events().size(), 1U);
  log(std::wstring(kMost + 1, L'x'), 3);
  EXPECT_EQ(events().size(), 1U);
  EXPECT_EQ(journal().calls("EventWriteTransfer").back().result, "534");
}

TEST_F(EtwEventTest, isLostWhereALineHasAMillionCharactersAndTheNextOneIsNot) {
  registerWithSession(5);
  EXPECT_NO_THROW(log(std::wstring(1'000'000, L'x'), 3));
  log(L"next", 3);
  ASSERT_EQ(events().size(), 1U);
  EXPECT_EQ(events()[0].blocks.at(3).bytes, "n\0e\0x\0t\0\r\0\n\0\0\0"s);
}

}  // namespace
