// Command lines of unusual size and make.

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "VUSL/Support/CmdLineExc.h"
#include "VUSL/Support/CmdLineProc.h"
#include "VUSL/Support/InvalidInputError.h"

namespace {

constexpr std::size_t kMegabyte = 1U << 20U;

class CmdLineSizeTest : public ::testing::Test {
 protected:
  CmdLineParameter& add(const vusl::string_t& name, CmdLineParameterKind kind) {
    CmdLineParameter& parameter = parser.addParameter(parser.addGroup(name), name);
    parameter.kind = kind;
    return parameter;
  }

  std::string errorOf(const std::vector<std::wstring>& arguments) {
    std::vector<const wchar_t*> pointers{L"program.exe"};
    for (const std::wstring& argument : arguments) pointers.push_back(argument.c_str());
    try {
      parser.parseCommandLine(static_cast<int>(pointers.size()), pointers.data());
    } catch (const vusl::InvalidInputError& e) {
      return std::to_string(e.resourceId()) + ": " + e.joinedParams("|");
    }
    return "fine";
  }

  std::ostringstream output;
  std::istringstream input;
  vusl::CmdLineProc parser{L"-", output, input};
};

TEST_F(CmdLineSizeTest, tenThousandTimesTheSameSwitch) {
  const CmdLineParameter& help = add(L"help", CmdLineParameterKind::NoValue);
  EXPECT_EQ(errorOf(std::vector<std::wstring>(10000, L"-help")), "fine");
  EXPECT_EQ(help.index, 10000);
}

// It would take minutes if all that was given before were gone through for each argument.
TEST_F(CmdLineSizeTest, twoHundredThousandTimesTheSameSwitchWithCompanions) {
  CmdLineParameter& help = add(L"help", CmdLineParameterKind::NoValue);
  help.companions = {L"friend"};
  EXPECT_EQ(errorOf(std::vector<std::wstring>(200000, L"-help")), "fine");
  EXPECT_EQ(help.index, 200000);
}

// All that one letter's case can make of a name of nine: each argument names all of them. It would
// take minutes if each of them were held against all the others for each argument.
TEST_F(CmdLineSizeTest, thousandsOfArgumentsThatNameHundredsOfRecordsEach) {
  std::vector<CmdLineParameter*> records;
  for (unsigned variant = 0; variant < 512; ++variant) {
    std::wstring name = L"aaaaaaaaa";
    for (std::size_t i = 0; i < name.size(); ++i) {
      if ((variant >> i & 1U) != 0) name[i] = L'A';
    }
    records.push_back(&add(name, CmdLineParameterKind::NoValue));
    records.back()->companions = {L"friend"};
  }
  EXPECT_EQ(errorOf(std::vector<std::wstring>(2000, L"-AaAaAaAaA")), "fine");
  EXPECT_EQ(records.front()->index, 2000);
  EXPECT_EQ(records.back()->index, 2001);
}

TEST_F(CmdLineSizeTest, tenThousandArgumentsOfTwoHundredNames) {
  std::vector<CmdLineParameter*> records;
  std::vector<std::wstring> arguments;
  for (int i = 0; i < 200; ++i) {
    records.push_back(&add(L"name" + std::to_wstring(i), CmdLineParameterKind::NoValue));
  }
  for (int i = 0; i < 10000; ++i) arguments.push_back(L"-NAME" + std::to_wstring(i % 200));
  EXPECT_EQ(errorOf(arguments), "fine");
  for (int i = 0; i < 200; ++i) EXPECT_EQ(records.at(static_cast<size_t>(i))->index, 9801 + i);
}

TEST_F(CmdLineSizeTest, tenThousandEmptyArgumentsAreOneError225) {
  add(L"help", CmdLineParameterKind::NoValue);
  EXPECT_EQ(errorOf(std::vector<std::wstring>(10000)), "225: |-");
}

TEST_F(CmdLineSizeTest, lastOfTenThousandValuesCounts) {
  const CmdLineParameter& file = add(L"file", CmdLineParameterKind::ValueRequired);
  std::vector<std::wstring> arguments;
  for (int i = 0; i < 10000; ++i) {
    arguments.emplace_back(L"-file");
    arguments.push_back(std::to_wstring(i));
  }
  EXPECT_EQ(errorOf(arguments), "fine");
  EXPECT_EQ(file.index, 19999);
  EXPECT_EQ(file.value, L"9999");
}

TEST_F(CmdLineSizeTest, valueOfAMegabyteIsKeptWhole) {
  const CmdLineParameter& file = add(L"file", CmdLineParameterKind::ValueRequired);
  EXPECT_EQ(errorOf({L"-file", std::wstring(kMegabyte, L'A')}), "fine");
  EXPECT_EQ(file.value, std::wstring(kMegabyte, L'A'));
}

TEST_F(CmdLineSizeTest, nameOfAMegabyteIsFoundAndRefused) {
  const CmdLineParameter& large = add(std::wstring(kMegabyte, L'N'), CmdLineParameterKind::NoValue);
  EXPECT_EQ(errorOf({L"-" + std::wstring(kMegabyte, L'n')}), "fine");
  EXPECT_EQ(large.index, 1);
  EXPECT_EQ(errorOf({L"-" + std::wstring(kMegabyte + 1, L'n')}),
            "325: " + std::string(kMegabyte + 1, 'n') + "|-");
}

TEST_F(CmdLineSizeTest, argumentOfAMegabyteWithoutPrefixIsError225) {
  add(L"help", CmdLineParameterKind::NoValue);
  EXPECT_EQ(errorOf({std::wstring(kMegabyte, L'X')}), "225: " + std::string(kMegabyte, 'x') + "|-");
}

TEST_F(CmdLineSizeTest, emptyArgumentBehindASwitchIsError225) {
  add(L"help", CmdLineParameterKind::NoValue);
  EXPECT_EQ(errorOf({L"-help", L""}), "225: |-");
}

TEST_F(CmdLineSizeTest, emptyArgumentIsTakenAsAnOptionalValue) {
  CmdLineParameter& level = add(L"level", CmdLineParameterKind::ValueOptional);
  level.value = L"3";
  EXPECT_EQ(errorOf({L"-level", L""}), "fine");
  EXPECT_EQ(level.value, L"");
}

TEST_F(CmdLineSizeTest, namesThatDifferInCaseAloneAreBothMarked) {
  const CmdLineParameter& small = add(L"v", CmdLineParameterKind::NoValue);
  const CmdLineParameter& large = add(L"V", CmdLineParameterKind::NoValue);
  EXPECT_EQ(errorOf({L"-V"}), "fine");
  EXPECT_EQ(small.index, 1);
  EXPECT_EQ(large.index, 2);
}

TEST_F(CmdLineSizeTest, valueBehindTwoRecordsOfOneNameGoesToTheFirst) {
  const CmdLineParameter& small = add(L"v", CmdLineParameterKind::ValueOptional);
  const CmdLineParameter& large = add(L"V", CmdLineParameterKind::ValueOptional);
  EXPECT_EQ(errorOf({L"-V", L"one"}), "fine");
  EXPECT_EQ(small.value, L"one");
  EXPECT_EQ(large.value, L"");
  EXPECT_EQ(large.index, 3);
}

TEST_F(CmdLineSizeTest, characterOutsideOfAsciiIsAQuestionMarkInAnError) {
  add(L"help", CmdLineParameterKind::NoValue);
  EXPECT_EQ(errorOf({L"-gr\u00FC\u00DFe"}), "325: gr??e|-");
}

TEST_F(CmdLineSizeTest, emptyNamesOfAGroupAreJoinedToo) {
  CmdLineGroup& group = parser.addGroup(L"commands");
  parser.addParameter(group, L"").alias = L"hidden";
  parser.addParameter(group, L"a");
  parser.addParameter(group, L"b");
  EXPECT_EQ(errorOf({L"-a", L"-b"}), "239: , a, b");
}

TEST(CmdLinePrefixTest, withoutPrefixCharactersNothingIsAParameter) {
  std::ostringstream output;
  std::istringstream input;
  vusl::CmdLineProc bare(L"", output, input);
  bare.addParameter(bare.addGroup(L"commands"), L"help");
  const wchar_t* const arguments[] = {L"p", L"-help"};
  try {
    bare.parseCommandLine(2, arguments);
    FAIL();
  } catch (const vusl::InvalidInputError& e) {
    EXPECT_EQ(e.resourceId(), 225);
    EXPECT_EQ(e.params(), (std::vector<std::string>{"-help", ""}));
  }
}

TEST(CmdLinePrefixTest, severalCharactersAtOnceAreOnePrefixAndAName) {
  std::ostringstream output;
  std::istringstream input;
  vusl::CmdLineProc both(L"-/", output, input);
  both.addParameter(both.addGroup(L"commands"), L"help");
  const wchar_t* const arguments[] = {L"p", L"-/help"};
  try {
    both.parseCommandLine(2, arguments);
    FAIL();
  } catch (const vusl::InvalidInputError& e) {
    EXPECT_EQ(e.resourceId(), 325);
    EXPECT_EQ(e.params(), (std::vector<std::string>{"/help", "-"}));
  }
}

TEST(CmdLinePrefixTest, valueMayNotBeginWithAnyOfThePrefixCharacters) {
  std::ostringstream output;
  std::istringstream input;
  vusl::CmdLineProc both(L"-/", output, input);
  CmdLineParameter& file = both.addParameter(both.addGroup(L"commands"), L"file");
  file.kind = CmdLineParameterKind::ValueRequired;
  const wchar_t* const arguments[] = {L"p", L"-file", L"/etc"};
  try {
    both.parseCommandLine(3, arguments);
    FAIL();
  } catch (const vusl::InvalidInputError& e) {
    EXPECT_EQ(e.resourceId(), 226);
    EXPECT_EQ(e.params(), (std::vector<std::string>{"file", "-"}));
  }
}

}  // namespace
