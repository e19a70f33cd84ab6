#include "VUSL/Support/GetSystemErrorText.h"

#include "tests/support/MachineTest.h"

namespace {

class GetSystemErrorTextTest : public host::MachineTest {};

TEST_F(GetSystemErrorTextTest, cutsTheTextAtItsLastCarriageReturn) {
  EXPECT_EQ(GetSystemErrorText(5), L"Access is denied.");
}

TEST_F(GetSystemErrorTextTest, isEmptyForACodeUnknownToTheSystem) {
  EXPECT_EQ(GetSystemErrorText(0xFFFFFFFF), L"");
}

TEST_F(GetSystemErrorTextTest, asksInTheNeutralLanguageWithNoSourceAndNoArguments) {
  GetSystemErrorText(5);
  const auto calls = journal().calls("FormatMessageW");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].args.substr(0, 19), "4864, null, 5, 1024");
}

TEST_F(GetSystemErrorTextTest, freesTheBuffer) {
  GetSystemErrorText(5);
  EXPECT_EQ(journal().namesOf({"FormatMessageW", "LocalFree"}),
            (std::vector<std::string>{"FormatMessageW", "LocalFree"}));
  EXPECT_EQ(ledger().open("allocation"), 0U);
}

TEST_F(GetSystemErrorTextTest, freesTheBufferAlsoWhenThereIsNoText) {
  GetSystemErrorText(0xFFFFFFFF);
  EXPECT_EQ(journal().namesOf({"FormatMessageW", "LocalFree"}),
            (std::vector<std::string>{"FormatMessageW", "LocalFree"}));
}

}  // namespace
