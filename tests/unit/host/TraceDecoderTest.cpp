#include "platform/host/TraceDecoder.h"

#include <gtest/gtest.h>

namespace host {
namespace {

using namespace std::string_literals;
using Blocks = std::vector<TraceEvent::Block>;

// An event as the platform's documentation lays it out, byte by byte.
const std::string kProviderBytes = "\x05\0AB\0"s;
const std::string kEventBytes =
    "\x1A\x00\x00\x4C\x6F\x67\x00\x6C\x6F\x67\x4C\x65\x76\x65\x6C\x00\x02"
    "\x4D\x65\x73\x73\x61\x67\x65\x00\x01"s;
const std::string kLevelBytes = "ERR\0"s;
const std::string kMessageBytes = "a\0\xAC\x20\0\0"s;

TraceEvent good() {
  TraceEvent event;
  event.descriptor.Level = 2;
  event.blocks = {{2, kProviderBytes}, {1, kEventBytes}, {0, kLevelBytes}, {0, kMessageBytes}};
  return event;
}

// Why the event cannot be read.
std::string faultOf(const TraceEvent& event) {
  const auto result = decode(event);
  const auto* fault = std::get_if<TraceFault>(&result);
  return fault == nullptr ? "none" : fault->reason;
}

std::string faultWith(std::size_t block, const std::string& bytes) {
  TraceEvent event = good();
  event.blocks[block].bytes = bytes;
  return faultOf(event);
}

TEST(TraceDecoderTest, AnEventIsReadOutOfItsBytes) {
  const auto result = decode(good());
  ASSERT_TRUE(std::holds_alternative<DecodedEvent>(result)) << faultOf(good());
  const auto& event = std::get<DecodedEvent>(result);
  EXPECT_EQ(event.provider, "AB");
  EXPECT_EQ(event.name, "Log");
  const std::vector<DecodedEvent::Field> fields = {{"logLevel", 2, u"ERR"},
                                                   {"Message", 1, u"a\u20AC"}};
  EXPECT_EQ(event.fields, fields);
}

TEST(TraceDecoderTest, TagsOfAnEventAreSkipped) {
  TraceEvent event = good();
  event.blocks[1].bytes = "\x07\0\x81\x01X\0"s;
  EXPECT_EQ(faultOf(event), "the event says that it has 7 bytes and has 6");
  event.blocks[1].bytes = "\x06\0\x81\x01X\0"s;
  event.blocks.resize(2);
  EXPECT_EQ(describe(event), "AB X, level 2");
}

TEST(TraceDecoderTest, AWrongLengthIsAFault) {
  EXPECT_EQ(faultWith(0, "\x06\0AB\0"s), "the provider says that it has 6 bytes and has 5");
  EXPECT_EQ(faultWith(1, "\x05\0\0X\0X"s), "the event says that it has 5 bytes and has 6");
  EXPECT_EQ(faultWith(0, ""), "the provider ends too early");
  EXPECT_EQ(faultWith(0, "\x01"), "the provider ends too early");
}

TEST(TraceDecoderTest, ATextWithoutItsEndIsAFault) {
  EXPECT_EQ(faultWith(0, "\x04\0AB"s), "the provider ends too early");
  EXPECT_EQ(faultWith(1, "\x03\0\0"s), "the event ends too early");
  EXPECT_EQ(faultWith(2, "ERR"), "the field logLevel ends too early");
  EXPECT_EQ(faultWith(3, "a\0\0"s), "the field Message ends too early");
  EXPECT_EQ(faultWith(3, "a\0"s), "the field Message ends too early");
}

TEST(TraceDecoderTest, AByteLeftOverIsAFault) {
  EXPECT_EQ(faultWith(0, "\x06\0AB\0\0"s), "1 bytes are left over in the provider");
  EXPECT_EQ(faultWith(2, "ERR\0x"s), "1 bytes are left over in the field logLevel");
  EXPECT_EQ(faultWith(3, kMessageBytes + "\0\0"s), "2 bytes are left over in the field Message");
}

TEST(TraceDecoderTest, AnUnknownTypeIsAFault) {
  std::string bytes = kEventBytes;
  bytes.back() = 7;
  EXPECT_EQ(faultWith(1, bytes), "the field Message is of an unknown type, 7");
}

TEST(TraceDecoderTest, EachFieldHasAValueOfItsOwn) {
  TraceEvent event = good();
  event.blocks.pop_back();
  EXPECT_EQ(faultOf(event), "2 fields have 1 values");
  event = good();
  event.blocks.push_back({0, "x\0"s});
  EXPECT_EQ(faultOf(event), "2 fields have 3 values");
}

TEST(TraceDecoderTest, ABlockOfAnotherTypeIsAFault) {
  for (const std::size_t block : {0U, 1U, 2U, 3U}) {
    TraceEvent event = good();
    event.blocks[block].type = 9;
    const std::string what = block == 0 ? "the provider" : block == 1 ? "the event" : "a value";
    EXPECT_EQ(faultOf(event), "block " + std::to_string(block) + " is not " + what);
  }
  EXPECT_EQ(faultOf(TraceEvent{}), "block 0 is not the provider");
}

TEST(TraceDecoderTest, AnEventCutShortAnywhereIsAFault) {
  const TraceEvent whole = good();
  for (std::size_t block = 0; block < whole.blocks.size(); ++block) {
    for (std::size_t length = 0; length < whole.blocks[block].bytes.size(); ++length) {
      EXPECT_NE(faultWith(block, whole.blocks[block].bytes.substr(0, length)), "none")
          << block << " " << length;
    }
  }
}

TEST(TraceDecoderTest, AnEventIsDescribedInOneLine) {
  EXPECT_EQ(describe(good()), "AB Log, level 2, logLevel \"ERR\", Message \"a\u20AC\"");
  TraceEvent event = good();
  event.blocks[3].bytes = "C\0:\0\\\0x\0\r\0\n\0\x1B\0\x3D\xD8\x00\xDE\x3D\xD8\0\0"s;
  EXPECT_EQ(describe(event),
            "AB Log, level 2, logLevel \"ERR\", Message \"C:\\x\\r\\n\\x1b\U0001F600\uFFFD\"");
}

TEST(TraceDecoderTest, NamesOfAnyBytesAreDescribedInOneLineOfText) {
  TraceEvent event = good();
  event.blocks[0].bytes = "\x06\0A\n\xFF\0"s;
  event.blocks[1].bytes = "\x0A\0\0X\x1B\0f\r\0\x02"s;
  event.blocks.pop_back();
  EXPECT_EQ(describe(event), "A\\n\uFFFD X\\x1b, level 2, f\\r \"ERR\"");
  event.blocks[2].bytes = "ERR";
  EXPECT_EQ(describe(event), "an event that cannot be read: the field f\\r ends too early");
}

TEST(TraceDecoderTest, AnUnreadableEventIsDescribedByItsFault) {
  TraceEvent event = good();
  event.blocks.pop_back();
  EXPECT_EQ(describe(event), "an event that cannot be read: 2 fields have 1 values");
}

}  // namespace
}  // namespace host
