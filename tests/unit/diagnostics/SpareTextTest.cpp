#include "VUSL/Support/SpareText.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

#include "tests/unit/runtime/FailingAllocation.h"

namespace {

constexpr uint32_t kThread = 4;
const std::wstring kLong(100, L'a');

TEST(SpareTextTest, isEmptyAlsoWhereTheOneBeforeWasNot) {
  { vusl::SpareText(kThread).text() = L"text"; }
  EXPECT_EQ(vusl::SpareText(kThread).text(), L"");
}

TEST(SpareTextTest, takesNoMemoryForWhatTheOneBeforeHadRoomFor) {
  { vusl::SpareText(kThread).text() = kLong; }
  const CountedAllocation counted;
  { vusl::SpareText(kThread).text() = kLong; }
  EXPECT_EQ(counted.requests(), 0U);
}

TEST(SpareTextTest, isAnotherTextWithinTheLifeOfOne) {
  vusl::SpareText outer(kThread);
  outer.text() = L"outer";
  {
    vusl::SpareText inner(kThread);
    inner.text() = L"inner";
  }
  vusl::SpareText later(kThread);
  later.text() = L"later";
  EXPECT_EQ(outer.text(), L"outer");
}

TEST(SpareTextTest, servesThreadsThatShareAPlace) {
  const auto work = [](uint32_t thread, const std::wstring& own, int& wrong) {
    for (int i = 0; i < 10'000; ++i) {
      vusl::SpareText spare(thread);
      spare.text() += own;
      wrong += spare.text() == own ? 0 : 1;
    }
  };
  int wrongHere = 0;
  int wrongThere = 0;
  std::thread other(work, 4 + 32, std::wstring(50, L'b'), std::ref(wrongThere));
  work(4, std::wstring(50, L'a'), wrongHere);
  other.join();
  EXPECT_EQ(wrongHere, 0);
  EXPECT_EQ(wrongThere, 0);
}

}  // namespace
