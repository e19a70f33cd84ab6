#include "VUSL/Support/CmdLineProc.h"

#include <gtest/gtest.h>

#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "VUSL/Support/CmdLineExc.h"
#include "VUSL/Support/InvalidInputError.h"

namespace {

using vusl::CmdLineProc;
using Texts = std::vector<std::string>;

class CmdLineProcTest : public ::testing::Test {
 protected:
  CmdLineParameter& add(const vusl::string_t& name,
                        CmdLineParameterKind kind = CmdLineParameterKind::NoValue) {
    CmdLineParameter& parameter = parser.addParameter(group, name);
    parameter.kind = kind;
    return parameter;
  }

  void parse(std::vector<const wchar_t*> arguments) {
    arguments.insert(arguments.begin(), L"program.exe");
    parser.parseCommandLine(static_cast<int>(arguments.size()), arguments.data());
  }

  // "<id>: <parameters>" of the InvalidInputError that parsing throws, "fine" if it throws none.
  std::string errorOf(const std::vector<const wchar_t*>& arguments) {
    try {
      parse(arguments);
    } catch (const vusl::InvalidInputError& e) {
      return std::to_string(e.resourceId()) + ": " + e.joinedParams("|");
    }
    return "fine";
  }

  // The parameters of the CmdLineExc that parsing throws.
  Texts usageOf(const std::vector<const wchar_t*>& arguments) {
    try {
      parse(arguments);
    } catch (const vusl::CmdLineExc& e) {
      return e.params();
    }
    return {"no usage"};
  }

  std::ostringstream output;
  std::istringstream input;
  CmdLineProc parser{L"-", output, input};
  CmdLineGroup& group = parser.addGroup(L"commands");
};

TEST_F(CmdLineProcTest, newRecordIsASwitchThatHasNotBeenSeen) {
  const CmdLineParameter& help = parser.addParameter(group, L"help");
  EXPECT_EQ(help.index, -1);
  EXPECT_EQ(help.name, L"help");
  EXPECT_EQ(help.alias, L"");
  EXPECT_EQ(help.value, L"");
  EXPECT_FALSE(help.required);
  EXPECT_EQ(static_cast<int32_t>(help.kind), 2);
  EXPECT_EQ(help.promptId, 0U);
  EXPECT_EQ(help.in, &std::cin);
  EXPECT_EQ(help.out, &std::cout);
  EXPECT_TRUE(help.companions.empty());
}

TEST_F(CmdLineProcTest, kindsHaveTheirNumbers) {
  EXPECT_EQ(static_cast<int32_t>(CmdLineParameterKind::ValueRequired), 0);
  EXPECT_EQ(static_cast<int32_t>(CmdLineParameterKind::ValueOptional), 1);
  EXPECT_EQ(static_cast<int32_t>(CmdLineParameterKind::NoValue), 2);
  EXPECT_EQ(static_cast<int32_t>(CmdLineParameterKind::PromptConfirmed), 3);
  EXPECT_EQ(static_cast<int32_t>(CmdLineParameterKind::PromptPlain), 4);
}

TEST_F(CmdLineProcTest, groupKnowsItsOwnerItsNameAndACopyOfEachMember) {
  CmdLineParameter& help = add(L"help");
  EXPECT_EQ(group.owner, &parser);
  EXPECT_EQ(group.name, L"commands");
  ASSERT_EQ(group.members.size(), 1U);
  EXPECT_EQ(group.members.front().name, L"help");
  parse({L"-help"});
  EXPECT_EQ(help.index, 1);
  EXPECT_EQ(group.members.front().index, -1);
}

// Matching.

TEST_F(CmdLineProcTest, noArgumentsLeaveTheIndexNegative) {
  const CmdLineParameter& help = add(L"help");
  EXPECT_EQ(errorOf({}), "fine");
  EXPECT_EQ(help.index, -1);
}

TEST_F(CmdLineProcTest, helpInAnyCaseSetsItsIndexTo1) {
  CmdLineParameter& help = add(L"help");
  for (const wchar_t* argument : {L"-help", L"-HELP", L"-Help"}) {
    help.index = -1;
    EXPECT_EQ(errorOf({argument}), "fine");
    EXPECT_EQ(help.index, 1);
  }
}

TEST_F(CmdLineProcTest, registeredNameInUpperCaseMatchesToo) {
  const CmdLineParameter& help = add(L"HELP");
  parse({L"-help"});
  EXPECT_EQ(help.index, 1);
}

TEST_F(CmdLineProcTest, aliasCountsAsTheName) {
  CmdLineParameter& help = add(L"help");
  help.alias = L"H";
  parse({L"-h"});
  EXPECT_EQ(help.index, 1);
}

TEST_F(CmdLineProcTest, programsNameIsSkipped) {
  const CmdLineParameter& program = add(L"help");
  const wchar_t* const arguments[] = {L"-help"};
  parser.parseCommandLine(1, arguments);
  EXPECT_EQ(program.index, -1);
}

TEST_F(CmdLineProcTest, repeatedParameterHasTheLaterPositionAndIsNoError) {
  const CmdLineParameter& help = add(L"help");
  EXPECT_EQ(errorOf({L"-help", L"-help"}), "fine");
  EXPECT_EQ(help.index, 2);
}

TEST_F(CmdLineProcTest, secondRecordOfTheNameIsMarkedWithThePositionBehindTheName) {
  const CmdLineParameter& first = add(L"x");
  const CmdLineParameter& second = parser.addParameter(parser.addGroup(L"others"), L"X");
  EXPECT_EQ(errorOf({L"-x"}), "fine");
  EXPECT_EQ(first.index, 1);
  EXPECT_EQ(second.index, 2);
}

// Each record takes the argument that the ones before it left, and its position is where it began.
TEST_F(CmdLineProcTest, secondRecordOfTheNameTakesTheArgumentBehindTheFirstOnesValue) {
  const CmdLineParameter& first = add(L"x", CmdLineParameterKind::ValueRequired);
  CmdLineParameter& second = parser.addParameter(parser.addGroup(L"others"), L"x");
  second.kind = CmdLineParameterKind::ValueRequired;
  EXPECT_EQ(errorOf({L"-x", L"one", L"two"}), "fine");
  EXPECT_EQ(first.index, 1);
  EXPECT_EQ(first.value, L"one");
  EXPECT_EQ(second.index, 3);
  EXPECT_EQ(second.value, L"two");
}

TEST_F(CmdLineProcTest, eachCharacterOfThePrefixMarksAParameter) {
  CmdLineProc both(L"-/", output, input);
  CmdLineGroup& commands = both.addGroup(L"commands");
  const CmdLineParameter& first = both.addParameter(commands, L"a");
  const CmdLineParameter& second = both.addParameter(both.addGroup(L"others"), L"b");
  const wchar_t* const arguments[] = {L"p", L"/a", L"-b"};
  both.parseCommandLine(3, arguments);
  EXPECT_EQ(first.index, 1);
  EXPECT_EQ(second.index, 2);
}

TEST_F(CmdLineProcTest, errorNamesTheFirstPrefixCharacter) {
  CmdLineProc both(L"-/", output, input);
  const wchar_t* const arguments[] = {L"p", L"/a"};
  try {
    both.parseCommandLine(2, arguments);
    FAIL();
  } catch (const vusl::InvalidInputError& e) {
    EXPECT_EQ(e.params(), (Texts{"a", "-"}));
  }
}

// Errors of names.

TEST_F(CmdLineProcTest, argumentWithoutPrefixIsError225) {
  add(L"help");
  EXPECT_EQ(errorOf({L"help"}), "225: help|-");
}

TEST_F(CmdLineProcTest, emptyArgumentIsError225) {
  add(L"help");
  EXPECT_EQ(errorOf({L""}), "225: |-");
}

TEST_F(CmdLineProcTest, prefixAloneIsError325WithAnEmptyName) {
  add(L"help");
  EXPECT_EQ(errorOf({L"-"}), "325: |-");
}

TEST_F(CmdLineProcTest, unknownNameIsError325) {
  add(L"help");
  EXPECT_EQ(errorOf({L"-nothing"}), "325: nothing|-");
}

TEST_F(CmdLineProcTest, anyNameIsError325WhenNothingIsRegistered) {
  EXPECT_EQ(errorOf({L"-help"}), "325: help|-");
}

TEST_F(CmdLineProcTest, errorTextNamesTheIdAlone) {
  try {
    parse({L"-nothing"});
    FAIL();
  } catch (const vusl::InvalidInputError& e) {
    EXPECT_STREQ(e.what(), "Resource exception of type 325 was thrown");
  }
}

TEST_F(CmdLineProcTest, recordsStayAsFarAsTheyGot) {
  const CmdLineParameter& help = add(L"help");
  EXPECT_EQ(errorOf({L"-help", L"-nothing"}), "325: nothing|-");
  EXPECT_EQ(help.index, 1);
}

// The usage.

TEST_F(CmdLineProcTest, questionMarkThrowsTheSynopsis) {
  add(L"help");
  EXPECT_EQ(usageOf({L"-?"}), Texts{"[-help (value)]() "});
}

TEST_F(CmdLineProcTest, usageHasTheFixedIdInItsText) {
  try {
    parse({L"-?"});
    FAIL();
  } catch (const vusl::CmdLineExc& e) {
    EXPECT_STREQ(e.what(), "Resource exception of type 259 was thrown");
  }
}

TEST_F(CmdLineProcTest, synopsisShowsDefaultsAndLeavesTheBracketsOffRequiredOnes) {
  add(L"level", CmdLineParameterKind::ValueOptional).value = L"3";
  add(L"File", CmdLineParameterKind::ValueRequired).required = true;
  EXPECT_EQ(usageOf({L"-?"}), Texts{"[-level (value)](3) -File (value) "});
}

TEST_F(CmdLineProcTest, synopsisShowsAValueForASwitchToo) {
  add(L"now").required = true;
  add(L"file", CmdLineParameterKind::ValueRequired).value = L"a.txt";
  EXPECT_EQ(usageOf({L"-?"}), Texts{"-now (value) [-file (value)](a.txt) "});
}

TEST_F(CmdLineProcTest, questionMarkThrowsAnEmptySynopsisWhenNothingIsRegistered) {
  EXPECT_EQ(usageOf({L"-?"}), Texts{""});
}

TEST_F(CmdLineProcTest, synopsisShowsTheFirstPrefixCharacterAlone) {
  CmdLineProc both(L"/-", output, input);
  both.addParameter(both.addGroup(L"commands"), L"help");
  const wchar_t* const arguments[] = {L"p", L"-?"};
  try {
    both.parseCommandLine(2, arguments);
    FAIL();
  } catch (const vusl::CmdLineExc& e) {
    EXPECT_EQ(e.params(), Texts{"[/help (value)]() "});
  }
}

TEST_F(CmdLineProcTest, questionMarkWithMoreBehindItIsANameLikeAnyOther) {
  add(L"help");
  EXPECT_EQ(errorOf({L"-?x"}), "325: ?x|-");
}

TEST_F(CmdLineProcTest, usageIsThrownBeforeRequiredParametersAreMissed) {
  add(L"file", CmdLineParameterKind::ValueRequired).required = true;
  EXPECT_EQ(usageOf({L"-?"}), Texts{"-file (value) "});
}

}  // namespace
