#include <functional>

#include "task/ComError.h"
#include "tests/unit/task/LifecycleFixture.h"

namespace {

// A platform string that cannot be allocated.

class OutOfMemoryTest : public LifecycleTest, public ::testing::WithParamInterface<unsigned> {
 protected:
  // The operation must end in the exception, with nothing logged or released on its way out.
  void expectThrown(const std::function<void()>& operation) {
    faults().failOnce("SysAllocString", 8, GetParam());
    const Texts before = log.texts();
    try {
      operation();
      ADD_FAILURE() << "nothing was thrown";
    } catch (const ComError& e) {
      EXPECT_EQ(static_cast<DWORD>(e.Error()), 0x8007000EU);
    }
    EXPECT_EQ(comCallsAfterTheFault(), Texts{});
    EXPECT_EQ(ledger().open("bstr"), 0U);
    CoUninitialize();
  }
};

// Folder, name, date, author, two settings, two idle settings, query, path, name, account,
// descriptor.
class OutOfMemoryInCreationTest : public OutOfMemoryTest {};

TEST_P(OutOfMemoryInCreationTest, isThrownAndNothingIsReleased) {
  expectThrown([] { EnsureTask(L"C:\\x"); });
  EXPECT_EQ(log.texts(), Texts{});
}

INSTANTIATE_TEST_SUITE_P(Strings, OutOfMemoryInCreationTest, ::testing::Range(1U, 14U));

class AllocationTest : public LifecycleTest {};

TEST_F(AllocationTest, creationAllocatesThirteenStrings) {
  EnsureTask(L"C:\\x");
  EXPECT_EQ(journal().calls("SysAllocString").size(), 13U);
  EXPECT_EQ(journal().calls("SysFreeString").size(), 13U);
}

// Folder, name, path, name, account, descriptor.
class OutOfMemoryInRepointingTest : public OutOfMemoryTest {};

TEST_P(OutOfMemoryInRepointingTest, isThrownAndNothingIsReleased) {
  makeTask(L"C:\\old");
  expectThrown([] { EnsureTask(L"C:\\new"); });
  EXPECT_FALSE(log.contains("Task has beed updated"));
  EXPECT_EQ(storedPath(), L"\"C:\\old\\OrvixVTMEKRecertification.exe\"");
}

INSTANTIATE_TEST_SUITE_P(Strings, OutOfMemoryInRepointingTest, ::testing::Range(1U, 7U));

// Folder, name.
class OutOfMemoryInDeletionTest : public OutOfMemoryTest {};

TEST_P(OutOfMemoryInDeletionTest, isThrownAndNothingIsReleased) {
  expectThrown([] { DeleteTask(); });
  EXPECT_EQ(log.texts(), Texts{});
}

INSTANTIATE_TEST_SUITE_P(Strings, OutOfMemoryInDeletionTest, ::testing::Range(1U, 3U));

}  // namespace
