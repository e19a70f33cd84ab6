// Which characters of a name are the same in both cases.

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "VUSL/Support/CmdLineProc.h"
#include "VUSL/Support/InvalidInputError.h"

namespace {

// Whether a record of the one name is found under the other.
bool isFound(const std::wstring& name, const std::wstring& given) {
  std::ostringstream output;
  std::istringstream input;
  vusl::CmdLineProc parser{L"-", output, input};
  const CmdLineParameter& parameter = parser.addParameter(parser.addGroup(L"commands"), name);
  const std::wstring argument = L"-" + given;
  const wchar_t* const arguments[] = {L"program.exe", argument.c_str()};
  try {
    parser.parseCommandLine(2, arguments);
  } catch (const vusl::InvalidInputError&) {
    return false;
  }
  return parameter.index == 1;
}

TEST(CmdLineNamesTest, everyLetterIsTheSameInBothCases) {
  const std::wstring large = L"ABCDEFGHIJKLMNOPQRSTUVWXYZ";
  const std::wstring small = L"abcdefghijklmnopqrstuvwxyz";
  EXPECT_TRUE(isFound(large, small));
  EXPECT_TRUE(isFound(small, large));
  for (std::size_t i = 0; i < large.size(); ++i) {
    EXPECT_TRUE(isFound(large.substr(i, 1), small.substr(i, 1))) << i;
    EXPECT_TRUE(isFound(small.substr(i, 1), large.substr(i, 1))) << i;
  }
}

TEST(CmdLineNamesTest, neighboursOfTheLettersAreThemselves) {
  EXPECT_TRUE(isFound(L"@[`{", L"@[`{"));
  EXPECT_FALSE(isFound(L"@", L"`"));
  EXPECT_FALSE(isFound(L"`", L"@"));
  EXPECT_FALSE(isFound(L"[", L"{"));
  EXPECT_FALSE(isFound(L"{", L"["));
}

}  // namespace
