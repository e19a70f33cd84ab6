#include "tools/runner/RecordReader.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace runner {
namespace {

using host::ReportKind;

// Feeds pieces and keeps the records.
struct Reading {
  RecordReader reader;
  std::vector<Record> records;

  bool feed(std::string_view bytes) {
    return reader.feed(bytes, [this](const Record& record) {
      records.push_back(record);
      return true;
    });
  }
};

TEST(RecordReaderTest, RecordHasKindTimeAndText) {
  Reading reading;
  EXPECT_TRUE(reading.feed("N 1500000 5\nhello\n"));
  ASSERT_EQ(reading.records.size(), 1U);
  EXPECT_EQ(reading.records[0].kind, ReportKind::kNote);
  EXPECT_EQ(reading.records[0].at, 1'500'000);
  EXPECT_EQ(reading.records[0].text, "hello");
  EXPECT_EQ(reading.reader.fault(), "");
}

TEST(RecordReaderTest, TextMayHoldLineEndsAndWhatLooksLikeARecord) {
  Reading reading;
  EXPECT_TRUE(reading.feed("D 1 11\na\r\nN 1 1\nx\n\n"));
  ASSERT_EQ(reading.records.size(), 1U);
  EXPECT_EQ(reading.records[0].text, "a\r\nN 1 1\nx\n");
}

TEST(RecordReaderTest, TextMayBeEmpty) {
  Reading reading;
  EXPECT_TRUE(reading.feed("C 1 0\n\nE 2 7\nrunning\n"));
  ASSERT_EQ(reading.records.size(), 2U);
  EXPECT_EQ(reading.records[0].text, "");
  EXPECT_EQ(reading.records[1].text, "running");
}

TEST(RecordReaderTest, PiecesOfOneByteGiveTheSameRecords) {
  Reading reading;
  for (const char byte : std::string("D 1 3\nabc\nS 20 9\n2 1 0 0 5\n")) {
    EXPECT_TRUE(reading.feed({&byte, 1}));
  }
  ASSERT_EQ(reading.records.size(), 2U);
  EXPECT_EQ(reading.records[0].text, "abc");
  EXPECT_EQ(reading.records[1].kind, ReportKind::kStatus);
  EXPECT_EQ(reading.records[1].text, "2 1 0 0 5");
  EXPECT_EQ(reading.reader.fault(), "");
}

TEST(RecordReaderTest, RecordThatBreaksOffIsAFault) {
  Reading reading;
  EXPECT_TRUE(reading.feed("D 1 3\nabc\nD 1 30\nab"));
  EXPECT_EQ(reading.records.size(), 1U);
  EXPECT_EQ(reading.reader.fault(), "a record breaks off: \"D 1 30.ab\"");
}

TEST(RecordReaderTest, RecordThatLacksItsLastLineEndIsAFault) {
  Reading reading;
  EXPECT_TRUE(reading.feed("D 1 3\nabc"));
  EXPECT_EQ(reading.records.size(), 0U);
  EXPECT_EQ(reading.reader.fault(), "a record breaks off: \"D 1 3.abc\"");
}

TEST(RecordReaderTest, RecordLongerThanItSaysIsAFault) {
  Reading reading;
  EXPECT_FALSE(reading.feed("D 1 2\nabc\n"));
  EXPECT_EQ(reading.reader.fault(), "a record is longer than it says: \"abc.\"");
}

TEST(RecordReaderTest, NothingIsReadAfterAFault) {
  Reading reading;
  EXPECT_FALSE(reading.feed("garbage\n"));
  EXPECT_FALSE(reading.feed("N 1 5\nhello\n"));
  EXPECT_EQ(reading.records.size(), 0U);
  EXPECT_EQ(reading.reader.fault(), "no record begins with \"garbage\"");
}

TEST(RecordReaderTest, TakerThatWantsNoMoreEndsTheReadingWithoutAFault) {
  RecordReader reader;
  int taken = 0;
  const auto takeOne = [&taken](const Record&) { return ++taken < 1; };
  EXPECT_FALSE(reader.feed("N 1 1\na\nN 1 1\nb\n", takeOne));
  EXPECT_EQ(taken, 1);
  EXPECT_EQ(reader.fault(), "");
}

// Heads that no life writes.
class RecordReaderGarbageTest : public ::testing::TestWithParam<const char*> {};

TEST_P(RecordReaderGarbageTest, IsAFault) {
  Reading reading;
  EXPECT_FALSE(reading.feed(GetParam()));
  EXPECT_EQ(reading.records.size(), 0U);
  EXPECT_NE(reading.reader.fault(), "");
}

INSTANTIATE_TEST_SUITE_P(Heads, RecordReaderGarbageTest,
                         ::testing::Values("\n", "X 1 1\na\n", "D\n", "D \n", "D 1\n", "D 1 \n",
                                           "D  1 1\na\n", "D 1 1 1\na\n", "D a 1\na\n",
                                           "D 1 -1\na\n", "D 1 +1\na\n", "D 1 0x1\na\n",
                                           "D 99999999999999999999 1\na\n", "D 1 99999999999\n",
                                           "D1 1\na\n", " D 1 1\na\n", "d 1 1\na\n",
                                           "terminate called after throwing an instance of 'x'"));

}  // namespace
}  // namespace runner
