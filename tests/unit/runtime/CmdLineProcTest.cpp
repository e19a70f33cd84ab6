#include "VUSL/Support/CmdLineProc.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iostream>
#include <sstream>
#include <string>
#include <type_traits>
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

TEST_F(CmdLineProcTest, recordAndGroupHoldTheirFieldsInOrder) {
  const CmdLineParameter record(L"help");
  const std::vector<const void*> fields = {
      &record.index, &record.name,     &record.alias, &record.value, &record.required,
      &record.kind,  &record.promptId, &record.in,    &record.out,   &record.companions};
  EXPECT_EQ(fields.front(), &record);
  EXPECT_TRUE(std::is_sorted(fields.begin(), fields.end()));
  EXPECT_EQ(static_cast<const void*>(&group.owner), &group);
  EXPECT_LT(static_cast<const void*>(&group.owner), &group.members);
  EXPECT_LT(static_cast<const void*>(&group.members), &group.name);
}

template <class Field>
Field fieldAt(const CmdLineProc& parser, std::size_t offset) {
  Field field{};
  std::memcpy(&field, reinterpret_cast<const unsigned char*>(&parser) + offset, sizeof(field));
  return field;
}

// As the native build lays them out; a list's first two words lead to its ends, the third counts.
TEST_F(CmdLineProcTest, parserHoldsItsPrefixItsListsAndItsStreamsInOrder) {
  static_assert(std::has_virtual_destructor_v<CmdLineProc>);
  static_assert(sizeof(CmdLineProc) == 104);
  add(L"one");
  add(L"two");
  EXPECT_EQ(std::wstring(fieldAt<const wchar_t*>(parser, 8), 1), L"-");
  EXPECT_EQ(fieldAt<std::size_t>(parser, 40 + 16), 2U);
  EXPECT_EQ(fieldAt<std::size_t>(parser, 64 + 16), 1U);
  EXPECT_EQ(fieldAt<std::ostream*>(parser, 88), &output);
  EXPECT_EQ(fieldAt<std::istream*>(parser, 96), &input);
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

TEST_F(CmdLineProcTest, lettersBeyondZAreNotLowered) {
  const CmdLineParameter& clef = add(L"\u00DC");
  EXPECT_EQ(errorOf({L"-\u00FC"}), "325: ?|-");
  EXPECT_EQ(errorOf({L"-\u00DC"}), "fine");
  EXPECT_EQ(clef.index, 1);
}

TEST_F(CmdLineProcTest, noArgumentsAtAllNotEvenTheProgramsNameAreFine) {
  add(L"help");
  EXPECT_NO_THROW(parser.parseCommandLine(0, nullptr));
}

TEST_F(CmdLineProcTest, secondLineIsParsedWithoutMemoryOfTheFirst) {
  add(L"first").companions = {L"friend"};
  const CmdLineParameter& stranger = add(L"stranger");
  group.members.pop_back();
  EXPECT_EQ(errorOf({L"-first"}), "fine");
  EXPECT_EQ(errorOf({L"-stranger"}), "fine");
  EXPECT_EQ(stranger.index, 1);
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

// The argument is lowered before it is looked at.
TEST_F(CmdLineProcTest, letterOfThePrefixIsComparedWithTheArgumentInLowerCase) {
  CmdLineProc letter(L"x", output, input);
  const CmdLineParameter& help = letter.addParameter(letter.addGroup(L"commands"), L"help");
  const wchar_t* const arguments[] = {L"p", L"XHelp"};
  letter.parseCommandLine(2, arguments);
  EXPECT_EQ(help.index, 1);
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

// An empty alias is no name, an empty name is one.
TEST_F(CmdLineProcTest, prefixAloneNamesTheRecordWhoseNameIsEmpty) {
  const CmdLineParameter& help = add(L"help");
  const CmdLineParameter& empty = add(L"");
  EXPECT_EQ(errorOf({L"-", L"-"}), "fine");
  EXPECT_EQ(empty.index, 2);
  EXPECT_EQ(help.index, -1);
}

TEST_F(CmdLineProcTest, unknownNameIsError325) {
  add(L"help");
  EXPECT_EQ(errorOf({L"-nothing"}), "325: nothing|-");
}

TEST_F(CmdLineProcTest, errorsNameWhatWasGivenInLowerCase) {
  add(L"help");
  EXPECT_EQ(errorOf({L"HELP"}), "225: help|-");
  EXPECT_EQ(errorOf({L"-Nothing"}), "325: nothing|-");
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

TEST_F(CmdLineProcTest, synopsisShowsTheValueAsItStandsByThen) {
  add(L"level", CmdLineParameterKind::ValueOptional).value = L"3";
  EXPECT_EQ(usageOf({L"-level", L"Five", L"-?"}), Texts{"[-level (value)](Five) "});
}

TEST_F(CmdLineProcTest, synopsisLeavesAliasesOut) {
  CmdLineParameter& help = add(L"Help");
  help.alias = L"h";
  EXPECT_EQ(usageOf({L"-?"}), Texts{"[-Help (value)]() "});
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
