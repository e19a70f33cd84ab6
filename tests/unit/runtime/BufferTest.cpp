#include "VUSL/SupportCore/Buffer.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <type_traits>

#include "VUSL/Support/AssertException.h"
#include "tests/unit/runtime/FailingAllocation.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

static_assert(!std::is_copy_constructible_v<Buffer>);
static_assert(!std::is_copy_assignable_v<Buffer>);
static_assert(!std::is_polymorphic_v<Buffer>);

TEST(BufferTest, startsEmpty) {
  const Buffer buffer;
  EXPECT_EQ(buffer.data(), nullptr);
  EXPECT_EQ(buffer.size(), 0U);
}

TEST(BufferTest, allocGivesABlockOfTheSize) {
  Buffer buffer;
  buffer.Alloc(16);
  ASSERT_NE(buffer.data(), nullptr);
  EXPECT_EQ(buffer.size(), 16U);
  std::memset(buffer.data(), 0x5A, 16);
}

TEST(BufferTest, allocDoesNotClearTheBlock) {
  Buffer buffer;
  {
    const DirtyAllocation dirty;
    buffer.Alloc(3);
  }
  EXPECT_EQ(std::memcmp(buffer.data(), "\x5A\x5A\x5A", 3), 0);
}

TEST(BufferTest, secondAllocThrowsAndTheFirstBlockStaysValid) {
  Buffer buffer;
  buffer.Alloc(4);
  std::memcpy(buffer.data(), "abcd", 4);
  EXPECT_EQ(thrownBy<AssertException>([&] { buffer.Alloc(8); }),
            "Alloc may be called only on not initialized Buffer");
  EXPECT_EQ(buffer.size(), 4U);
  EXPECT_EQ(std::memcmp(buffer.data(), "abcd", 4), 0);
}

TEST(BufferTest, blockOfNoBytesIsABlockAllTheSame) {
  Buffer buffer;
  buffer.Alloc(0);
  EXPECT_NE(buffer.data(), nullptr);
  EXPECT_EQ(buffer.size(), 0U);
  EXPECT_EQ(thrownBy<AssertException>([&] { buffer.Alloc(1); }),
            "Alloc may be called only on not initialized Buffer");
}

TEST(BufferTest, blockThatCannotBeHadLeavesTheBufferEmptyWithTheSizeAskedFor) {
  Buffer buffer;
  {
    const FailingAllocation failing(4'294'967'295U);
    EXPECT_THROW(buffer.Alloc(4'294'967'295U), std::bad_alloc);
  }
  EXPECT_EQ(buffer.data(), nullptr);
  EXPECT_EQ(buffer.size(), 4'294'967'295U);
  buffer.Alloc(1);
  EXPECT_EQ(buffer.size(), 1U);
}

TEST(BufferTest, freeTwiceDoesNothingMore) {
  Buffer buffer;
  buffer.Alloc(4);
  buffer.Free();
  buffer.Free();
  EXPECT_EQ(buffer.data(), nullptr);
}

TEST(BufferTest, freeEmptiesTheBufferAndKeepsTheSize) {
  Buffer buffer;
  buffer.Alloc(4);
  buffer.Free();
  EXPECT_EQ(buffer.data(), nullptr);
  EXPECT_EQ(buffer.size(), 4U);
}

TEST(BufferTest, allocAfterFreeSucceeds) {
  Buffer buffer;
  buffer.Alloc(4);
  buffer.Free();
  buffer.Alloc(8);
  EXPECT_NE(buffer.data(), nullptr);
  EXPECT_EQ(buffer.size(), 8U);
}

TEST(BufferTest, freeOfAnEmptyBufferDoesNothing) {
  Buffer buffer;
  buffer.Free();
  EXPECT_EQ(buffer.data(), nullptr);
}

TEST(BufferTest, freeGivesTheBlockBack) {
  const CountedAllocation counted;
  Buffer buffer;
  buffer.Alloc(4);
  EXPECT_EQ(counted.blocksKept(), 1);
  buffer.Free();
  EXPECT_EQ(counted.blocksKept(), 0);
}

TEST(BufferTest, destructorGivesTheBlockBack) {
  const CountedAllocation counted;
  {
    Buffer buffer;
    buffer.Alloc(4);
  }
  EXPECT_EQ(counted.blocksKept(), 0);
}

}  // namespace
