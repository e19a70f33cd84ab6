#include "task/PlatformString.h"

#include <string>
#include <vector>

#include "task/ComError.h"
#include "tests/support/MachineTest.h"
#include "tests/unit/runtime/FailingAllocation.h"

namespace {

using Texts = std::vector<std::string>;

class PlatformStringTest : public host::MachineTest {
 protected:
  static Texts calls() { return journal().namesOf({"SysAllocString", "SysFreeString"}); }

  static void expectEveryTextFreedOnce(std::size_t texts) {
    EXPECT_EQ(journal().count("SysFreeString"), texts);
    EXPECT_EQ(ledger().open("bstr"), 0U);
    EXPECT_EQ(ledger().violations(), Texts{});
  }
};

TEST_F(PlatformStringTest, textIsAllocatedOnceAndFreedOnce) {
  { const PlatformString text(L"one"); }
  EXPECT_EQ(calls(), (Texts{"SysAllocString", "SysFreeString"}));
  EXPECT_EQ(ledger().violations(), Texts{});
}

// How many blocks are kept of a hundred rounds of `work`. The journal keeps some of each call.
template <class Work>
std::ptrdiff_t blocksKeptBy(Work work) {
  const CountedAllocation counted;
  for (int i = 0; i < 100; ++i) work();
  return counted.blocksKept();
}

TEST_F(PlatformStringTest, nothingIsKeptOfAString) {
  const std::ptrdiff_t ofTheCalls = blocksKeptBy([] { SysFreeString(SysAllocString(L"one")); });
  const std::ptrdiff_t ofStrings = blocksKeptBy([] {
    const PlatformString text(L"one");
    const PlatformString& shared = text;
    const PlatformString copy(shared);
  });
  EXPECT_LT(ofStrings, ofTheCalls + 50);
}

TEST_F(PlatformStringTest, stringHoldsTheText) {
  const PlatformString text(L"C:\\\u00DC");
  EXPECT_EQ(std::wstring(text.Get()), L"C:\\\u00DC");
  EXPECT_EQ(SysStringLen(text.Get()), 4U);
}

TEST_F(PlatformStringTest, emptyTextIsAllocatedToo) {
  const PlatformString text(L"");
  ASSERT_NE(text.Get(), nullptr);
  EXPECT_EQ(SysStringLen(text.Get()), 0U);
  EXPECT_EQ(calls(), Texts{"SysAllocString"});
}

TEST_F(PlatformStringTest, copiesShareOneAllocation) {
  const PlatformString text(L"one");
  const PlatformString copy(text);
  EXPECT_EQ(copy.Get(), text.Get());
  EXPECT_EQ(calls(), Texts{"SysAllocString"});
}

TEST_F(PlatformStringTest, lastOfTheCopiesFrees) {
  {
    const PlatformString text(L"one");
    { const PlatformString copy(text); }
    EXPECT_EQ(calls(), Texts{"SysAllocString"});
  }
  EXPECT_EQ(calls(), (Texts{"SysAllocString", "SysFreeString"}));
}

TEST_F(PlatformStringTest, assignmentFreesTheOldTextAndSharesTheNew) {
  {
    const PlatformString one(L"one");
    PlatformString text(L"two");
    text = one;
    EXPECT_EQ(calls(), (Texts{"SysAllocString", "SysAllocString", "SysFreeString"}));
    EXPECT_EQ(text.Get(), one.Get());
  }
  expectEveryTextFreedOnce(2);
}

TEST_F(PlatformStringTest, assignmentToItselfKeepsTheText) {
  {
    PlatformString text(L"one");
    const PlatformString& same = text;
    text = same;
    EXPECT_EQ(calls(), Texts{"SysAllocString"});
    EXPECT_EQ(std::wstring(text.Get()), L"one");
  }
  expectEveryTextFreedOnce(1);
}

TEST_F(PlatformStringTest, failedAllocationIsThrownAsTheComErrorOutOfMemory) {
  faults().failOnce("SysAllocString", 8);
  try {
    const PlatformString text(L"one");
    ADD_FAILURE() << "nothing was thrown";
  } catch (const ComError& e) {
    EXPECT_EQ(static_cast<DWORD>(e.Error()), 0x8007000EU);
  }
  EXPECT_EQ(calls(), Texts{"SysAllocString"});
}

TEST_F(PlatformStringTest, failedAllocationOfItsOwnBlockIsTheSameError) {
  const std::wstring one = L"one";
  HRESULT thrown = S_OK;
  {
    const FailingAllocation failing(1);
    try {
      const PlatformString text(one);
    } catch (const ComError& e) {
      thrown = e.Error();
    }
  }
  EXPECT_EQ(static_cast<DWORD>(thrown), 0x8007000EU);
  EXPECT_EQ(ledger().open("bstr"), 0U);
}

TEST_F(PlatformStringTest, nothingIsKeptOfAStringThatCannotBeAllocated) {
  faults().failFrom("SysAllocString", 8);
  const std::ptrdiff_t ofTheCalls = blocksKeptBy([] { SysAllocString(L"one"); });
  const std::ptrdiff_t ofStrings =
      blocksKeptBy([] { EXPECT_THROW(const PlatformString text(L"one"), ComError); });
  EXPECT_LT(ofStrings, ofTheCalls + 50);
}

TEST_F(PlatformStringTest, variantBorrowsTheString) {
  const PlatformString text(L"S-1-5-18");
  const VARIANT variant = text.AsVariant();
  EXPECT_EQ(variant.vt, VT_BSTR);
  EXPECT_EQ(variant.bstrVal, text.Get());
  EXPECT_EQ(calls(), Texts{"SysAllocString"});
}

TEST_F(PlatformStringTest, emptyVariantHoldsNothing) {
  EXPECT_EQ(EmptyVariant().vt, VT_EMPTY);
}

}  // namespace
