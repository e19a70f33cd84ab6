#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "VUSL/Support/CmdLineProc.h"
#include "VUSL/Support/InvalidInputError.h"

// Values, required parameters, companions and groups of the command line.

namespace {

using vusl::CmdLineProc;

class CmdLineValueTest : public ::testing::Test {
 protected:
  // Each parameter in a group of its own, so that groups do not get in the way.
  CmdLineParameter& add(const vusl::string_t& name,
                        CmdLineParameterKind kind = CmdLineParameterKind::NoValue) {
    CmdLineParameter& parameter = parser.addParameter(parser.addGroup(name), name);
    parameter.kind = kind;
    return parameter;
  }

  std::string errorOf(std::vector<const wchar_t*> arguments) {
    arguments.insert(arguments.begin(), L"program.exe");
    try {
      parser.parseCommandLine(static_cast<int>(arguments.size()), arguments.data());
    } catch (const vusl::InvalidInputError& e) {
      return std::to_string(e.resourceId()) + ": " + e.joinedParams("|");
    }
    return "fine";
  }

  std::ostringstream output;
  std::istringstream input;
  CmdLineProc parser{L"-", output, input};
};

TEST_F(CmdLineValueTest, requiredValueIsTheNextArgumentWithItsCaseKept) {
  const CmdLineParameter& file = add(L"file", CmdLineParameterKind::ValueRequired);
  const CmdLineParameter& other = add(L"other");
  EXPECT_EQ(errorOf({L"-FILE", L"Abc", L"-other"}), "fine");
  EXPECT_EQ(file.index, 1);
  EXPECT_EQ(file.value, L"Abc");
  EXPECT_EQ(other.index, 3);
}

TEST_F(CmdLineValueTest, missingRequiredValueAtTheEndIsError226) {
  add(L"File", CmdLineParameterKind::ValueRequired);
  EXPECT_EQ(errorOf({L"-file"}), "226: File|-");
}

TEST_F(CmdLineValueTest, requiredValueThatBeginsWithAPrefixCharacterIsError226) {
  add(L"file", CmdLineParameterKind::ValueRequired);
  add(L"x");
  EXPECT_EQ(errorOf({L"-file", L"-x"}), "226: file|-");
}

// Only where a parameter's name is looked for does the case not count.
TEST_F(CmdLineValueTest, valueThatBeginsWithALetterOfThePrefixInTheOtherCaseIsTaken) {
  CmdLineProc lettered{L"x", output, input};
  CmdLineParameter& file = lettered.addParameter(lettered.addGroup(L"file"), L"file");
  file.kind = CmdLineParameterKind::ValueRequired;
  const wchar_t* const given[] = {L"program.exe", L"Xfile", L"Xyz"};
  lettered.parseCommandLine(3, given);
  EXPECT_EQ(file.value, L"Xyz");
  const wchar_t* const prefixed[] = {L"program.exe", L"Xfile", L"xyz"};
  EXPECT_THROW(lettered.parseCommandLine(3, prefixed), vusl::InvalidInputError);
}

TEST_F(CmdLineValueTest, emptyArgumentIsAValue) {
  CmdLineParameter& file = add(L"file", CmdLineParameterKind::ValueRequired);
  file.value = L"default";
  EXPECT_EQ(errorOf({L"-file", L""}), "fine");
  EXPECT_EQ(file.value, L"");
}

TEST_F(CmdLineValueTest, emptyArgumentIsAValueAlsoWhereAZeroIsAPrefixCharacter) {
  CmdLineProc zeroPrefixed{vusl::string_t(L"-\0\1", 3), output, input};
  CmdLineParameter& file = zeroPrefixed.addParameter(zeroPrefixed.addGroup(L"file"), L"file");
  file.kind = CmdLineParameterKind::ValueRequired;
  file.value = L"default";
  const wchar_t* const empty[] = {L"program.exe", L"-file", L""};
  zeroPrefixed.parseCommandLine(3, empty);
  EXPECT_EQ(file.value, L"");
  const wchar_t* const prefixed[] = {L"program.exe", L"-file", L"\1x"};
  EXPECT_THROW(zeroPrefixed.parseCommandLine(3, prefixed), vusl::InvalidInputError);
}

TEST_F(CmdLineValueTest, optionalValueIsTaken) {
  CmdLineParameter& level = add(L"level", CmdLineParameterKind::ValueOptional);
  level.value = L"3";
  EXPECT_EQ(errorOf({L"-level", L"5"}), "fine");
  EXPECT_EQ(level.value, L"5");
}

TEST_F(CmdLineValueTest, optionalValueFollowedByAParameterKeepsItsEarlierValue) {
  CmdLineParameter& level = add(L"level", CmdLineParameterKind::ValueOptional);
  level.value = L"3";
  const CmdLineParameter& x = add(L"x");
  EXPECT_EQ(errorOf({L"-level", L"-x"}), "fine");
  EXPECT_EQ(level.value, L"3");
  EXPECT_EQ(x.index, 2);
}

TEST_F(CmdLineValueTest, optionalValueAtTheEndKeepsItsEarlierValue) {
  CmdLineParameter& level = add(L"level", CmdLineParameterKind::ValueOptional);
  level.value = L"3";
  EXPECT_EQ(errorOf({L"-level"}), "fine");
  EXPECT_EQ(level.value, L"3");
}

TEST_F(CmdLineValueTest, switchTakesNoValue) {
  add(L"help");
  EXPECT_EQ(errorOf({L"-help", L"more"}), "225: more|-");
}

// Required parameters.

TEST_F(CmdLineValueTest, requiredParameterThatIsNotGivenIsError227) {
  add(L"first");
  add(L"Second").required = true;
  add(L"third").required = true;
  EXPECT_EQ(errorOf({L"-first"}), "227: Second|-");
}

TEST_F(CmdLineValueTest, requiredParameterThatIsGivenIsFine) {
  add(L"second").required = true;
  EXPECT_EQ(errorOf({L"-second"}), "fine");
}

// Companions.

TEST_F(CmdLineValueTest, parameterThatAnEarlierOneDoesNotAllowIsError225) {
  add(L"first").companions = {L"friend"};
  add(L"friend");
  add(L"Stranger");
  EXPECT_EQ(errorOf({L"-first", L"-stranger"}), "225: stranger|-");
  EXPECT_EQ(errorOf({L"-first", L"-STRANGER"}), "225: stranger|-");
}

// An alias that is none names nobody, so a record without a name is a stranger like any other.
TEST_F(CmdLineValueTest, recordWithoutANameIsNotAllowedByAnEarlierOneWithoutAnAlias) {
  add(L"first").companions = {L"friend"};
  const CmdLineParameter& unnamed = add(L"");
  EXPECT_EQ(errorOf({L"-first", L"-"}), "225: |-");
  EXPECT_EQ(unnamed.index, -1);
}

TEST_F(CmdLineValueTest, listOfAParameterWithAValueCounts) {
  add(L"first", CmdLineParameterKind::ValueRequired).companions = {L"friend"};
  add(L"stranger");
  EXPECT_EQ(errorOf({L"-first", L"value", L"-stranger"}), "225: stranger|-");
}

TEST_F(CmdLineValueTest, listOfAParameterThatIsAskedForCounts) {
  add(L"first", CmdLineParameterKind::PromptPlain).companions = {L"friend"};
  add(L"stranger");
  EXPECT_EQ(errorOf({L"-first", L"-stranger"}), "225: stranger|-");
}

TEST_F(CmdLineValueTest, companionMayFollow) {
  add(L"first").companions = {L"friend"};
  add(L"friend");
  EXPECT_EQ(errorOf({L"-first", L"-friend"}), "fine");
}

TEST_F(CmdLineValueTest, companionsAreNamedWithoutRegardToCase) {
  add(L"first").companions = {L"FRIEND"};
  add(L"friend");
  EXPECT_EQ(errorOf({L"-first", L"-friend"}), "fine");
}

TEST_F(CmdLineValueTest, parameterNamedLikeTheEarlierOnesAliasMayFollow) {
  CmdLineParameter& first = add(L"first");
  first.alias = L"Other";
  first.companions = {L"friend"};
  const CmdLineParameter& other = add(L"oTHER");
  EXPECT_EQ(errorOf({L"-first", L"-other"}), "fine");
  EXPECT_EQ(other.index, 3);
}

TEST_F(CmdLineValueTest, companionMayBeGivenByItsAlias) {
  add(L"first").companions = {L"friend"};
  CmdLineParameter& companion = add(L"friend");
  companion.alias = L"f";
  EXPECT_EQ(errorOf({L"-first", L"-f"}), "fine");
  EXPECT_EQ(companion.index, 2);
}

TEST_F(CmdLineValueTest, aliasInAListOfCompanionsAllowsNothing) {
  add(L"first").companions = {L"f"};
  add(L"friend").alias = L"f";
  EXPECT_EQ(errorOf({L"-first", L"-f"}), "225: f|-");
}

// The first of them has been seen by the time the second is looked at.
TEST_F(CmdLineValueTest, secondRecordThatTheSameArgumentNamesMayBeRefusedByTheFirst) {
  CmdLineParameter& first = add(L"first");
  first.companions = {L"friend"};
  CmdLineParameter& second = add(L"second");
  second.alias = L"first";
  EXPECT_EQ(errorOf({L"-first"}), "225: first|-");
  EXPECT_EQ(first.index, 1);
  EXPECT_EQ(second.index, -1);
}

TEST_F(CmdLineValueTest, parameterThatWasAllowedBeforeIsRefusedByAListThatCameLater) {
  add(L"first");
  const CmdLineParameter& companion = add(L"friend");
  add(L"last").companions = {L"first"};
  EXPECT_EQ(errorOf({L"-friend", L"-last", L"-friend"}), "225: friend|-");
  EXPECT_EQ(companion.index, 1);
}

TEST_F(CmdLineValueTest, parameterWithAListOfItsOwnIsRefusedByAnEarlierOne) {
  add(L"first").companions = {L"friend"};
  add(L"second").companions = {L"first"};
  EXPECT_EQ(errorOf({L"-first", L"-second"}), "225: second|-");
}

TEST_F(CmdLineValueTest, repeatedRequiredValueIsTakenEachTime) {
  const CmdLineParameter& file = add(L"file", CmdLineParameterKind::ValueRequired);
  EXPECT_EQ(errorOf({L"-file", L"one", L"-file", L"two"}), "fine");
  EXPECT_EQ(file.index, 3);
  EXPECT_EQ(file.value, L"two");
  EXPECT_EQ(errorOf({L"-file", L"one", L"-file"}), "226: file|-");
  EXPECT_EQ(file.value, L"one");
}

TEST_F(CmdLineValueTest, everyEarlierListOfCompanionsCounts) {
  add(L"first").companions = {L"second", L"third"};
  add(L"second").companions = {L"first"};
  add(L"third");
  EXPECT_EQ(errorOf({L"-first", L"-second", L"-third"}), "225: third|-");
}

TEST_F(CmdLineValueTest, parameterWithCompanionsMayBeRepeated) {
  add(L"first").companions = {L"friend"};
  EXPECT_EQ(errorOf({L"-first", L"-first"}), "fine");
}

// Deliberate: the list of the parameter that is being matched is not looked at.
TEST_F(CmdLineValueTest, onlyTheListsOfEarlierParametersCount) {
  add(L"first").companions = {L"friend"};
  const CmdLineParameter& stranger = add(L"stranger");
  EXPECT_EQ(errorOf({L"-stranger", L"-first"}), "fine");
  EXPECT_EQ(stranger.index, 1);
}

TEST_F(CmdLineValueTest, refusedParameterIsNotMarked) {
  add(L"first").companions = {L"friend"};
  const CmdLineParameter& stranger = add(L"stranger");
  errorOf({L"-first", L"-stranger"});
  EXPECT_EQ(stranger.index, -1);
}

// Groups.

class CmdLineGroupTest : public CmdLineValueTest {
 protected:
  CmdLineGroup& group = parser.addGroup(L"commands");
  CmdLineParameter& start = parser.addParameter(group, L"start");
  CmdLineParameter& stop = parser.addParameter(group, L"Stop");
};

TEST_F(CmdLineGroupTest, moreThanOneMemberIsError239WithAllNamesOfTheGroup) {
  parser.addParameter(group, L"pause");
  EXPECT_EQ(errorOf({L"-start", L"-stop"}), "239: start, Stop, pause");
}

TEST_F(CmdLineGroupTest, oneMemberIsNoConflict) {
  EXPECT_EQ(errorOf({L"-stop"}), "fine");
  EXPECT_FALSE(parser.isGroupConflicting(group));
}

TEST_F(CmdLineGroupTest, memberGivenTwiceCountsOnce) {
  EXPECT_EQ(errorOf({L"-start", L"-start"}), "fine");
  EXPECT_FALSE(parser.isGroupConflicting(group));
}

TEST_F(CmdLineGroupTest, conflictCanBeAskedForAfterParsing) {
  errorOf({L"-start", L"-stop"});
  EXPECT_TRUE(parser.isGroupConflicting(group));
}

TEST_F(CmdLineGroupTest, membersAreComparedWithRegardToCase) {
  group.members.back().name = L"STOP";
  EXPECT_EQ(errorOf({L"-start", L"-stop"}), "fine");
}

// One record stands for both members of the name.
TEST_F(CmdLineGroupTest, nameThatAGroupHoldsTwiceConflictsWithItself) {
  parser.addParameter(group, L"start");
  EXPECT_EQ(errorOf({L"-start"}), "239: start, Stop, start");
}

TEST_F(CmdLineGroupTest, membersWithoutANameAreNeverCounted) {
  parser.addParameter(group, L"");
  EXPECT_EQ(errorOf({L"-", L"-start"}), "fine");
}

TEST_F(CmdLineGroupTest, memberGivenByItsAliasCounts) {
  stop.alias = L"s";
  EXPECT_EQ(errorOf({L"-start", L"-s"}), "239: start, Stop");
}

TEST_F(CmdLineGroupTest, firstConflictingGroupIsTold) {
  CmdLineGroup& later = parser.addGroup(L"later");
  parser.addParameter(later, L"a");
  parser.addParameter(later, L"b");
  EXPECT_EQ(errorOf({L"-a", L"-b", L"-start", L"-stop"}), "239: start, Stop");
}

TEST_F(CmdLineGroupTest, memberAtPositionZeroCounts) {
  start.index = 0;
  stop.index = 0;
  EXPECT_TRUE(parser.isGroupConflicting(group));
}

TEST_F(CmdLineGroupTest, memberIsFoundByTheAliasOfAnEarlierRecord) {
  CmdLineProc other(L"-", output, input);
  CmdLineParameter& go = other.addParameter(other.addGroup(L"first"), L"go");
  go.alias = L"start";
  CmdLineGroup& commands = other.addGroup(L"commands");
  other.addParameter(commands, L"start");
  CmdLineParameter& halt = other.addParameter(commands, L"halt");
  go.index = 1;
  halt.index = 2;
  EXPECT_TRUE(other.isGroupConflicting(commands));
}

TEST_F(CmdLineGroupTest, missingRequiredParameterIsToldBeforeTheConflict) {
  add(L"needed").required = true;
  EXPECT_EQ(errorOf({L"-start", L"-stop"}), "227: needed|-");
}

// Prompts.

TEST_F(CmdLineValueTest, promptTakesNoArgumentAndComesOnlyAfterTheLineIsFoundValid) {
  const CmdLineParameter& pin = add(L"pin", CmdLineParameterKind::PromptPlain);
  EXPECT_EQ(errorOf({L"-pin", L"1234"}), "225: 1234|-");
  EXPECT_EQ(pin.index, 1);
  EXPECT_EQ(pin.value, L"");
  EXPECT_EQ(output.str(), "");
}

}  // namespace
