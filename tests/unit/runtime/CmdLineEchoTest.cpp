// The echo of a console while a value is asked for.

#include <ios>
#include <string>

#include "tests/unit/runtime/CmdLinePromptFixture.h"

namespace {

class CmdLineEchoTest : public CmdLinePromptFixture {};

TEST_F(CmdLineEchoTest, inputIsHiddenFromTheFirstTextToTheLastLineEnd) {
  addConfirmed();
  parse({L"-pin"}, "1\n2\n3\n3\n");
  ASSERT_FALSE(buffer.modes.empty());
  for (const DWORD mode : buffer.modes) EXPECT_EQ(mode, kEchoOff);
  EXPECT_EQ(host::machine().inputMode, kEchoOn);
}

TEST_F(CmdLineEchoTest, echoIsTurnedOffAndOnByTheSameThreeCalls) {
  addConfirmed();
  parse({L"-pin"}, "1\n1\n");
  EXPECT_EQ(consoleCalls(), (Texts{"GetStdHandle", "GetConsoleMode", "SetConsoleMode",
                                   "GetStdHandle", "GetConsoleMode", "SetConsoleMode"}));
}

// Deliberate: the flag is added to the mode of that moment, whatever the mode was before.
TEST_F(CmdLineEchoTest, echoIsOnAfterwardsEvenIfItWasOffBefore) {
  host::machine().inputMode = kEchoOff;
  addConfirmed();
  parse({L"-pin"}, "1\n1\n");
  EXPECT_EQ(host::machine().inputMode, kEchoOn);
}

TEST_F(CmdLineEchoTest, promptWorksWithoutAConsole) {
  for (const Standard standard : {Standard::kFile, Standard::kNone}) {
    host::machine().input = standard;
    CmdLineParameter& pin = addConfirmed();
    parse({L"-pin"}, "1234\n1234\n");
    EXPECT_EQ(pin.value, L"1234");
    EXPECT_EQ(host::machine().inputMode, kEchoOn);
    EXPECT_TRUE(journal().calls("SetConsoleMode").empty());
    pin.name = L"done";
    input.clear();
  }
}

TEST_F(CmdLineEchoTest, invalidHandleIsNotAskedForItsMode) {
  faults().failFrom("GetStdHandle", 6);
  const CmdLineParameter& pin = addConfirmed();
  parse({L"-pin"}, "1234\n1234\n");
  EXPECT_EQ(pin.value, L"1234");
  EXPECT_EQ(consoleCalls(), (Texts{"GetStdHandle", "GetStdHandle"}));
}

TEST_F(CmdLineEchoTest, eachCallOfTheConsoleMayFailOnceAndTheEchoIsOnAfterwards) {
  const CmdLineParameter& pin = addConfirmed();
  for (const char* call : {"GetStdHandle", "GetConsoleMode", "SetConsoleMode"}) {
    faults().failOnce(call, 6);
    input.clear();
    parse({L"-pin"}, std::string(call) + "\n" + call + "\n");
    EXPECT_EQ(pin.value, std::wstring(call, call + std::string(call).size()));
    EXPECT_EQ(buffer.modes.front(), kEchoOn) << call;
    EXPECT_EQ(host::machine().inputMode, kEchoOn) << call;
    buffer.modes.clear();
  }
}

// The platform has no echo without reading by the line, and its refusal is not looked at.
TEST_F(CmdLineEchoTest, promptWorksOnAConsoleThatReadsByTheKey) {
  host::machine().inputMode = 0x1;
  const CmdLineParameter& pin = addConfirmed();
  parse({L"-pin"}, "1234\n1234\n");
  EXPECT_EQ(pin.value, L"1234");
  EXPECT_EQ(host::machine().inputMode, 0x1U);
}

TEST_F(CmdLineEchoTest, otherFlagsOfTheConsoleStayAsTheyWere) {
  host::machine().inputMode = 0x7;
  addConfirmed();
  parse({L"-pin"}, "1\n1\n");
  for (const DWORD mode : buffer.modes) EXPECT_EQ(mode, 0x3U);
  EXPECT_EQ(host::machine().inputMode, 0x7U);
}

// What turns the echo on again goes by the mode of that moment, not by one kept from before.
TEST_F(CmdLineEchoTest, flagsThatChangeMeanwhileAreKept) {
  addConfirmed();
  host::CallHooks::instance().before("GetStdHandle", 2, [] { host::machine().inputMode = 0x2; });
  parse({L"-pin"}, "1\n1\n");
  EXPECT_EQ(host::machine().inputMode, 0x6U);
}

// One try is all there is, and the value that was typed counts.
TEST_F(CmdLineEchoTest, eachCallThatTurnsTheEchoOnAgainMayFail) {
  for (const char* call : {"GetStdHandle", "GetConsoleMode", "SetConsoleMode"}) {
    host::machine().inputMode = kEchoOn;
    CmdLineParameter& pin = addConfirmed();
    faults().failOnce(call, 6, 2);
    input.clear();
    parse({L"-pin"}, "1234\n1234\n");
    EXPECT_EQ(pin.value, L"1234") << call;
    EXPECT_EQ(host::machine().inputMode, kEchoOff) << call;
    pin.name = L"done";
  }
}

TEST_F(CmdLineEchoTest, inputOfEachPromptIsHiddenAndShownAgain) {
  add(L"first", CmdLineParameterKind::PromptConfirmed);
  add(L"second", CmdLineParameterKind::PromptPlain);
  parse({L"-first", L"-second"}, "1\n1\n2\n");
  ASSERT_FALSE(buffer.modes.empty());
  EXPECT_EQ(buffer.modes.front(), kEchoOff);
  EXPECT_EQ(buffer.modes.back(), kEchoOn);
}

TEST_F(CmdLineEchoTest, echoIsTurnedOnAgainWhenReadingThrows) {
  CmdLineParameter& pin = addConfirmed();
  pin.value = L"default";
  input.exceptions(std::ios::eofbit);
  EXPECT_THROW(parse({L"-pin"}, "only"), std::ios_base::failure);
  EXPECT_EQ(buffer.modes.front(), kEchoOff);
  EXPECT_EQ(host::machine().inputMode, kEchoOn);
  EXPECT_EQ(pin.value, L"default");
}

}  // namespace
