#include "VUSL/SupportCore/BufferWriter.h"

#include <cstring>
#include <exception>
#include <string>
#include <type_traits>
#include <vector>

#include "VUSL/Support/AssertException.h"
#include "VUSL/Support/BufferWriterException.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/MachineTest.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

using Texts = std::vector<std::string>;

static_assert(!std::is_polymorphic_v<BufferWriter>);

class BufferWriterTest : public host::MachineTest {
 protected:
  BufferWriterTest() {
    buffer.Alloc(8);
    std::memset(buffer.data(), '.', 8);
  }
  std::string content() const {
    return std::string(reinterpret_cast<const char*>(buffer.data()), buffer.size());
  }

  Buffer buffer;
};

TEST_F(BufferWriterTest, writesOneBehindTheOther) {
  BufferWriter writer(buffer);
  EXPECT_EQ(&writer.writeRaw("ab", 2).writeRaw("cd", 2), &writer);
  EXPECT_EQ(writer.currentPos(), 4U);
  EXPECT_EQ(content(), "abcd....");
}

TEST_F(BufferWriterTest, sizeEqualToTheRoomFits) {
  BufferWriter writer(buffer);
  writer.writeRaw("abcdefgh", 8);
  EXPECT_EQ(content(), "abcdefgh");
}

TEST_F(BufferWriterTest, fullBlockHasRoomForNothingMore) {
  BufferWriter writer(buffer);
  writer.writeRaw("abcdefgh", 8);
  EXPECT_EQ(thrownBy<vusl::BufferWriterException>([&] { writer.writeRaw("i", 1); }),
            "VUSL\\SupportCore\\Buffer:26:Unable to write data (space required:1, space "
            "available:0)");
  writer.writeRaw("", 0);
  EXPECT_EQ(writer.currentPos(), 8U);
}

TEST_F(BufferWriterTest, tooLargeWriteThrowsAndChangesAndLogsNothing) {
  LogRecorder log;
  BufferWriter writer(buffer);
  writer.writeRaw("abcd", 4);
  EXPECT_EQ(thrownBy<vusl::BufferWriterException>([&] { writer.writeRaw("12345678", 8); }),
            "VUSL\\SupportCore\\Buffer:26:Unable to write data (space required:8, space "
            "available:4)");
  EXPECT_EQ(writer.currentPos(), 4U);
  EXPECT_EQ(content(), "abcd....");
  EXPECT_EQ(log.texts(), Texts{});
}

TEST_F(BufferWriterTest, positionBeyondTheEndIsAnAssertionAheadOfTheMissingRoom) {
  BufferWriter writer(buffer);
  writer.setCurrentPos(9);
  EXPECT_EQ(thrownBy<AssertException>([&] { writer.writeRaw("a", 1); }), "Invalid currentPos");
  EXPECT_EQ(thrownBy<AssertException>([&] { writer.writeRaw("", 0); }), "Invalid currentPos");
  EXPECT_EQ(writer.currentPos(), 9U);
  EXPECT_EQ(content(), "........");
}

TEST_F(BufferWriterTest, nullSourceIsLoggedAndThrowsAPlainException) {
  LogRecorder log;
  BufferWriter writer(buffer);
  EXPECT_EQ(thrownBy<std::exception>([&] { writer.writeRaw(nullptr, 1); }),
            std::string(std::exception().what()));
  EXPECT_EQ(log.texts(), Texts{"[ERR] [TPM] writeRaw memcpy_s failed"});
  EXPECT_EQ(writer.currentPos(), 0U);
}

TEST_F(BufferWriterTest, nullSourceClearsTheRoomAndNothingAheadOfIt) {
  BufferWriter writer(buffer);
  writer.writeRaw("abc", 3);
  EXPECT_ANY_THROW(writer.writeRaw(nullptr, 1));
  EXPECT_EQ(content(), std::string("abc\0\0\0\0\0", 8));
}

TEST_F(BufferWriterTest, nullSourceOfNoBytesSucceeds) {
  LogRecorder log;
  BufferWriter writer(buffer);
  writer.writeRaw(nullptr, 0);
  EXPECT_EQ(writer.currentPos(), 0U);
  EXPECT_EQ(content(), "........");
  EXPECT_EQ(log.texts(), Texts{});
}

TEST_F(BufferWriterTest, largestSizeDoesNotWrapAround) {
  BufferWriter writer(buffer);
  writer.writeRaw("a", 1);
  EXPECT_EQ(thrownBy<vusl::BufferWriterException>([&] { writer.writeRaw("b", 4'294'967'295U); }),
            "VUSL\\SupportCore\\Buffer:26:Unable to write data (space required:4294967295, space "
            "available:7)");
  EXPECT_EQ(content(), "a.......");
}

TEST_F(BufferWriterTest, positionNearTheLargestCapacityDoesNotWrapAround) {
  BufferWriter writer(buffer.data(), 4'294'967'295U);
  writer.setCurrentPos(4'294'967'294U);
  EXPECT_EQ(thrownBy<vusl::BufferWriterException>([&] { writer.writeRaw("ab", 2); }),
            "VUSL\\SupportCore\\Buffer:26:Unable to write data (space required:2, space "
            "available:1)");
}

TEST_F(BufferWriterTest, emptyBufferTakesNothingButNothing) {
  Buffer empty;
  BufferWriter writer(empty);
  writer.writeRaw("", 0);
  EXPECT_EQ(thrownBy<vusl::BufferWriterException>([&] { writer.writeRaw("a", 1); }),
            "VUSL\\SupportCore\\Buffer:26:Unable to write data (space required:1, space "
            "available:0)");
}

// A freed buffer keeps its size, and so there seems to be room.
TEST_F(BufferWriterTest, freedBufferIsLoggedAndThrowsAPlainException) {
  LogRecorder log;
  buffer.Free();
  BufferWriter writer(buffer);
  EXPECT_EQ(thrownBy<std::exception>([&] { writer.writeRaw("a", 1); }),
            std::string(std::exception().what()));
  EXPECT_EQ(log.texts(), Texts{"[ERR] [TPM] writeRaw memcpy_s failed"});
  EXPECT_EQ(writer.currentPos(), 0U);
}

TEST_F(BufferWriterTest, writesIntoABlockOfAnother) {
  char block[4] = {'.', '.', '.', '.'};
  BufferWriter(block, 4).writeRaw("ab", 2);
  EXPECT_EQ(std::string(block, 4), "ab..");
}

}  // namespace
