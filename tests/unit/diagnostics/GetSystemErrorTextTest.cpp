#include "VUSL/Support/GetSystemErrorText.h"

#include "tests/support/MachineTest.h"

namespace {

class GetSystemErrorTextTest : public host::MachineTest {};

TEST_F(GetSystemErrorTextTest, cutsTheTextAtItsLastCarriageReturn) {
  EXPECT_EQ(GetSystemErrorText(5), L"Access is denied.");
  host::machine().errorTexts[5] = L"one\r\ntwo\rthree";
  EXPECT_EQ(GetSystemErrorText(5), L"one\r\ntwo");
}

TEST_F(GetSystemErrorTextTest, isTheWholeTextWhereThereIsNoCarriageReturn) {
  host::machine().errorTexts[5] = L"one\ntwo ";
  EXPECT_EQ(GetSystemErrorText(5), L"one\ntwo ");
}

TEST_F(GetSystemErrorTextTest, isWholeAlsoWhereItIsOneCharacter) {
  host::machine().errorTexts[5] = L"x";
  EXPECT_EQ(GetSystemErrorText(5), L"x");
}

TEST_F(GetSystemErrorTextTest, keepsCharactersThatHaveNoNarrowForm) {
  host::machine().errorTexts[5] = L"gew\u00E4hrt \u20AC\r\n";
  EXPECT_EQ(GetSystemErrorText(5), L"gew\u00E4hrt \u20AC");
}

TEST_F(GetSystemErrorTextTest, isEmptyForACodeUnknownToTheSystem) {
  EXPECT_EQ(GetSystemErrorText(0xFFFFFFFF), L"");
}

TEST_F(GetSystemErrorTextTest, asksInTheNeutralLanguageWithNoSourceAndNoArguments) {
  GetSystemErrorText(5);
  const auto calls = journal().calls("FormatMessageW");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].args, "4864, null, 5, 1024, 0, null");
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

TEST_F(GetSystemErrorTextTest, isInTheLanguageOfTheUser) {
  host::machine().userLanguage = 0x0415;
  EXPECT_EQ(GetSystemErrorText(5), L"Odmowa dost\u0119pu.");
}

TEST_F(GetSystemErrorTextTest, isEmptyWhenTheSystemDoesNotAnswer) {
  faults().failOnce("FormatMessageW", 8);
  EXPECT_EQ(GetSystemErrorText(5), L"");
}

TEST_F(GetSystemErrorTextTest, isWholeAlsoWhenTheBufferIsNotFreed) {
  faults().failOnce("LocalFree", 6);
  EXPECT_EQ(GetSystemErrorText(5), L"Access is denied.");
}

TEST_F(GetSystemErrorTextTest, isEmptyWhereTheCarriageReturnIsTheFirst) {
  host::machine().errorTexts[5] = L"\r\n";
  EXPECT_EQ(GetSystemErrorText(5), L"");
}

TEST_F(GetSystemErrorTextTest, keepsZeroCharactersAndLoneSurrogates) {
  const std::wstring text = {L'a', L'\0', wchar_t{0xD83D}, L'b'};
  host::machine().errorTexts[5] = text + L"\r\n";
  EXPECT_EQ(GetSystemErrorText(5), text);
}

}  // namespace
