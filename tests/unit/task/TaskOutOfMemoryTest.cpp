#include <functional>

#include "task/ComError.h"
#include "tests/unit/task/LifecycleFixture.h"

namespace {

// A platform string that cannot be allocated.

struct FailedString {
  unsigned nth;
  std::size_t left;  // references that are never given back
};

std::string nameOf(const ::testing::TestParamInfo<FailedString>& row) {
  return "String" + std::to_string(row.param.nth);
}

class OutOfMemoryTest : public LifecycleTest, public ::testing::WithParamInterface<FailedString> {
 protected:
  // The operation must end in the exception, with nothing released on its way out and COM open.
  void expectThrown(const std::function<void()>& operation) {
    faults().failOnce("SysAllocString", 8, GetParam().nth);
    try {
      operation();
      ADD_FAILURE() << "nothing was thrown";
    } catch (const ComError& e) {
      EXPECT_EQ(static_cast<DWORD>(e.Error()), 0x8007000EU);
    }
    EXPECT_EQ(comCallsAfterTheFault(), Texts{});
    EXPECT_EQ(ledger().open("bstr"), 0U);
    EXPECT_EQ(ledger().open("reference"), GetParam().left);
    EXPECT_EQ(ledger().open("com"), 1U);
    EXPECT_EQ(ledger().violations(), Texts{});
    CoUninitialize();
  }
};

class OutOfMemoryInCreationTest : public OutOfMemoryTest {};

TEST_P(OutOfMemoryInCreationTest, isThrownAndNothingIsReleased) {
  expectThrown([] { EnsureTask(L"C:\\x"); });
  EXPECT_EQ(log.texts(), Texts{});
  EXPECT_EQ(storedPath(), L"no task");
}

// The names of folder and task; date and author; two of the settings; two of the idle settings;
// query; path; name, account and descriptor.
INSTANTIATE_TEST_SUITE_P(Strings, OutOfMemoryInCreationTest,
                         ::testing::Values(FailedString{1, 1}, FailedString{2, 2},
                                           FailedString{3, 3}, FailedString{4, 3},
                                           FailedString{5, 3}, FailedString{6, 3},
                                           FailedString{7, 4}, FailedString{8, 4},
                                           FailedString{9, 3}, FailedString{10, 3},
                                           FailedString{11, 2}, FailedString{12, 2},
                                           FailedString{13, 2}),
                         nameOf);

class AllocationTest : public LifecycleTest {};

TEST_F(AllocationTest, creationAllocatesThirteenStrings) {
  EnsureTask(L"C:\\x");
  EXPECT_EQ(journal().calls("SysAllocString").size(), 13U);
  EXPECT_EQ(journal().calls("SysFreeString").size(), 13U);
}

class OutOfMemoryInRepointingTest : public OutOfMemoryTest {};

TEST_P(OutOfMemoryInRepointingTest, isThrownAndNothingIsReleased) {
  makeTask(L"C:\\old");
  expectThrown([] { EnsureTask(L"C:\\new"); });
  const Texts compared = {"[DBG] [TPM] Compare: C:\\oldandC:\\new"};
  EXPECT_EQ(log.texts(), GetParam().nth < 3 ? Texts{} : compared);
  EXPECT_EQ(storedPath(), L"\"C:\\old\\OrvixVTMEKRecertification.exe\"");
}

// The names of folder and task; path; name, account and descriptor.
INSTANTIATE_TEST_SUITE_P(Strings, OutOfMemoryInRepointingTest,
                         ::testing::Values(FailedString{1, 1}, FailedString{2, 2},
                                           FailedString{3, 4}, FailedString{4, 3},
                                           FailedString{5, 3}, FailedString{6, 3}),
                         nameOf);

class OutOfMemoryInDeletionTest : public OutOfMemoryTest {};

TEST_P(OutOfMemoryInDeletionTest, isThrownAndNothingIsReleased) {
  expectThrown([] { DeleteTask(); });
  EXPECT_EQ(log.texts(), Texts{});
}

// The names of folder and task.
INSTANTIATE_TEST_SUITE_P(Strings, OutOfMemoryInDeletionTest,
                         ::testing::Values(FailedString{1, 1}, FailedString{2, 2}), nameOf);

}  // namespace
