// The lines of a scenario that have no keys, and the frame around all of them.

#include "platform/host/windows/Services.h"
#include "tests/unit/host/ScenarioTexts.h"

namespace host {
namespace {

using namespace std::string_literals;

constexpr Nanoseconds kSecond = 1000 * kNanosecondsPerMillisecond;

// [faults]

TEST(ScenarioScriptTest, AFaultHitsOneCallOrAllFromThereOn) {
  const auto faults =
      with("[faults]\nfail CreateEventW 2 with 5\nfail _dupenv_s from 1 with 0x1F\n").faults;
  ASSERT_EQ(faults.size(), 2U);
  EXPECT_EQ(faults[0].call, "CreateEventW");
  EXPECT_EQ(faults[0].nth, 2U);
  EXPECT_EQ(faults[0].error, 5U);
  EXPECT_FALSE(faults[0].lasting);
  EXPECT_EQ(faults[1].call, "_dupenv_s");
  EXPECT_EQ(faults[1].nth, 1U);
  EXPECT_EQ(faults[1].error, 31U);
  EXPECT_TRUE(faults[1].lasting);
}

TEST(ScenarioScriptTest, ACallCanFailAfterItsWork) {
  const auto faults =
      with("[faults]\nfail SetServiceStatus from 3 with 1726 after its work\n").faults;
  ASSERT_EQ(faults.size(), 1U);
  EXPECT_TRUE(faults[0].isDone);
  EXPECT_TRUE(faults[0].lasting);
  EXPECT_EQ(faults[0].nth, 3U);
  EXPECT_EQ(faults[0].error, 1726U);
  EXPECT_FALSE(with("[faults]\nfail SetServiceStatus 3 with 6\n").faults[0].isDone);
}

TEST(ScenarioScriptTest, MalformedFaultsAreReported) {
  const std::string form =
      " is no fault (as in \"fail CreateEventW 2 with 5\" or "
      "\"fail CreateEventW from 2 with 5\")";
  expectErrors({
      {"[faults]\nfail CreateEventW\n", "5: \"fail CreateEventW\"" + form},
      {"[faults]\nbreak CreateEventW 1 with 5\n", "5: \"break CreateEventW 1 with 5\"" + form},
      {"[faults]\nfail CreateEvntW 1 with 5\n",
       "5: \"CreateEvntW\" is no name of a platform call (did you mean \"CreateEventW\"?)"},
      {"[faults]\nfail X 1 with 5\n", "5: \"X\" is no name of a platform call"},
      {"[faults]\nfail CreateEventW 0 with 5\n", "5: counting begins with 1"},
      {"[faults]\nfail CreateEventW x with 5\n", "5: \"x\" is no number"},
      {"[faults]\nfail CreateEventW 1 with denied\n", "5: \"denied\" is no number"},
      {"[faults]\nfail CreateEventW 1 with 5 after its work\n",
       "5: \"CreateEventW\" does not fail after its work"},
      {"[faults]\nafter its work\n", "5: \"after its work\"" + form},
  });
}

// [script]

Step stepOf(const std::string& line) {
  const Scenario scenario = with("[script]\n" + line + "\n");
  return scenario.script.size() == 1 ? scenario.script[0] : Step{};
}

TEST(ScenarioScriptTest, AStepCanHappenAtATime) {
  const Step step = stepOf("at 1 s 500 ms: stop");
  EXPECT_EQ(step.moment.kind, Moment::Kind::kAt);
  EXPECT_EQ(step.moment.at, 1500 * kNanosecondsPerMillisecond);
  EXPECT_EQ(step.line, 5);
}

TEST(ScenarioScriptTest, AStepCanHappenBeforeACall) {
  const Step step = stepOf("before CreateEventW 4: stop");
  EXPECT_EQ(step.moment.kind, Moment::Kind::kBeforeCall);
  EXPECT_EQ(step.moment.name, "CreateEventW");
  EXPECT_EQ(step.moment.nth, 4U);
  EXPECT_EQ(stepOf("before CreateEventW: stop").moment.nth, 1U);
}

TEST(ScenarioScriptTest, AStepCanHappenInsideACall) {
  const Step step = stepOf("inside CreateEventW 4: stop");
  EXPECT_EQ(step.moment.kind, Moment::Kind::kInsideCall);
  EXPECT_EQ(step.moment.name, "CreateEventW");
  EXPECT_EQ(step.moment.nth, 4U);
}

TEST(ScenarioScriptTest, AStepCanHappenOnALogLine) {
  const Step step = stepOf("on log 2 \"[Run] x: \"y\" signaled.\": stop");
  EXPECT_EQ(step.moment.kind, Moment::Kind::kOnLog);
  EXPECT_EQ(step.moment.name, "[Run] x: \"y\" signaled.");
  EXPECT_EQ(step.moment.nth, 2U);
  EXPECT_EQ(step.action.kind, Action::Kind::kControl);
  EXPECT_EQ(stepOf("on log \"x\": stop").moment.nth, 1U);
}

TEST(ScenarioScriptTest, AStepCanHappenOnAStatus) {
  const Step step = stepOf("on status STOP_PENDING 3: stop");
  EXPECT_EQ(step.moment.kind, Moment::Kind::kOnStatus);
  EXPECT_EQ(step.moment.name, "STOP_PENDING");
  EXPECT_EQ(step.moment.nth, 3U);
  EXPECT_EQ(stepOf("on status RUNNING: stop").moment.nth, 1U);
}

TEST(ScenarioScriptTest, EventsAreSignalledPublishedAndWithdrawn) {
  const auto action = [](const std::string& text) { return stepOf("at 1 s: " + text).action; };
  EXPECT_EQ(action("signal Global\\E").kind, Action::Kind::kSignalEvent);
  EXPECT_EQ(action("signal Global\\E").subject, L"Global\\E");
  EXPECT_EQ(action("publish Global\\E").kind, Action::Kind::kPublishEvent);
  EXPECT_EQ(action("withdraw Global\\E").kind, Action::Kind::kWithdrawEvent);
}

TEST(ScenarioScriptTest, StopIsControl1) {
  EXPECT_EQ(stepOf("at 1 s: stop").action.kind, Action::Kind::kControl);
  EXPECT_EQ(stepOf("at 1 s: stop").action.number, 1U);
  EXPECT_EQ(stepOf("at 1 s: control 4").action.number, 4U);
}

TEST(ScenarioScriptTest, FilesAreWrittenAndDeleted) {
  const Action write = stepOf("at 1 s: write C:\\x\\y: a = \"b\"\\n\\tc:\\\\d\\r").action;
  EXPECT_EQ(write.kind, Action::Kind::kWriteFile);
  EXPECT_EQ(write.subject, L"C:\\x\\y");
  EXPECT_EQ(write.text, "a = \"b\"\n\tc:\\d\r");
  EXPECT_EQ(stepOf("at 1 s: write C:\\x:").action.text, "");
  const Action remove = stepOf("at 1 s: delete C:\\x\\y").action;
  EXPECT_EQ(remove.kind, Action::Kind::kDeleteFile);
  EXPECT_EQ(remove.subject, L"C:\\x\\y");
}

TEST(ScenarioScriptTest, TheProcessCanBeEnded) {
  EXPECT_EQ(stepOf("at 1 s: end process").action.kind, Action::Kind::kEndProcess);
}

TEST(ScenarioScriptTest, TheMachineSleepsAndItsClockIsSet) {
  const auto action = [](const std::string& text) { return stepOf("at 1 s: " + text).action; };
  EXPECT_EQ(action("suspend 2 h").kind, Action::Kind::kSuspend);
  EXPECT_EQ(action("suspend 2 h").span, 7'200'000 * host::kNanosecondsPerMillisecond);
  EXPECT_EQ(action("clock +1 s").kind, Action::Kind::kClock);
  EXPECT_EQ(action("clock +1 s").span, 1'000 * host::kNanosecondsPerMillisecond);
  EXPECT_EQ(action("clock -1 min 1 s").span, -61'000 * host::kNanosecondsPerMillisecond);
}

TEST(ScenarioScriptTest, MalformedMomentsAreReported) {
  expectErrors({
      {"[script]\nafter 3 s: stop\n",
       "5: \"after 3 s: stop\" does not begin with a moment (at, before, inside, on log, on "
       "status)"},
      {"[script]\nbefor X: stop\n",
       "5: \"befor X: stop\" does not begin with a moment (at, before, inside, on log, on status) "
       "(did you mean \"before\"?)"},
      {"[script]\nat 3 s\n", "5: a moment ends in : and is followed by an action"},
      {"[script]\nat soon: stop\n", "5: \"soon\" is no time (as in \"300 ms\" or \"1 min 30 s\")"},
      {"[script]\nbefore: stop\n",
       "5: \"before: stop\" does not begin with a moment (at, before, inside, on log, on status) "
       "(did you mean \"before\"?)"},
      {"[script]\nbefore X 1 2: stop\n",
       "5: there must be a platform call's name, and at most a number behind it"},
      {"[script]\nbefore X 0: stop\n", "5: counting begins with 1"},
      {"[script]\nbefore CreateEvntW 1: stop\n",
       "5: \"CreateEvntW\" is no name of a platform call (did you mean \"CreateEventW\"?)"},
      {"[script]\nbefore calloc 1: stop\n", "5: \"calloc\" is no name of a platform call"},
      {"[script]\non log x: stop\n", "5: a moment ends in \": and is followed by an action"},
      {"[script]\non log x\": stop\n", "5: \"x\" is no number"},
      {"[script]\non log \": stop\n", "5: the text of the log line must stand in double quotes"},
      {"[script]\non log \"\": stop\n", "5: the text of the log line is empty"},
      {"[script]\non log two \"x\": stop\n", "5: \"two\" is no number"},
      {"[script]\non status RUNING: stop\n",
       "5: \"RUNING\" is no state of the service (did you mean \"RUNNING\"?)"},
      {"[script]\non status: stop\n",
       "5: \"on status: stop\" does not begin with a moment (at, before, inside, on log, on "
       "status)"},
  });
}

TEST(ScenarioScriptTest, MalformedActionsAreReported) {
  expectErrors({
      {"[script]\nat 1 s: sign X\n", "5: \"sign X\" is no action (did you mean \"signal\"?)"},
      {"[script]\nat 1 s:\n", "5: \"\" is no action"},
      {"[script]\nat 1 s: signal\n", "5: there must be a name"},
      {"[script]\nat 1 s: stop now\n", "5: nothing may follow the action"},
      {"[script]\nat 1 s: end process now\n", "5: nothing may follow the action"},
      {"[script]\nat 1 s: control\n", "5: \"\" is no number"},
      {"[script]\nat 1 s: control 256\n", "5: \"256\" is greater than 255"},
      {"[script]\nat 1 s: write C:\\x\n",
       "5: the path must be followed by a colon and the file's text"},
      {"[script]\nat 1 s: write C:\\x\\: text\n", "5: \"C:\\x\\\" names no file"},
      {"[script]\nat 1 s: write x\\y: text\n", "5: \"x\\y\" is no absolute path (as in \"C:\\x\")"},
      {"[script]\nat 1 s: write C:\\x: a\\b\n",
       "5: a backslash in a file's text must be followed by n, r, t or another backslash"},
      {"[script]\nat 1 s: delete x\n", "5: \"x\" is no absolute path (as in \"C:\\x\")"},
  });
}

TEST(ScenarioScriptTest, AMomentAtOrPastTheLimitIsReported) {
  EXPECT_EQ(errorWith("[script]\nat 59 s: stop\nat 60 s: stop\n"),
            "6: the run is over by then: its limit comes first");
  EXPECT_EQ(errorIn("[script]\nat 5 s: stop\n" + kLeast + "limit = 4 s\n"),
            "2: the run is over by then: its limit comes first");
}

// [expected]

TEST(ScenarioScriptTest, ExpectedLinesMayBeginWithABracket) {
  const std::vector<std::string> expected = {"[INF] [TPM] one", "-- two", "[0x] three"};
  EXPECT_EQ(with("[expected]\n# not this\n[INF] [TPM] one\n\n-- two  \n[0x] three\n").expected,
            expected);
}

TEST(ScenarioScriptTest, AnEmptyExpectedSectionExpectsNothing) {
  EXPECT_EQ(with("[expected]\n").expected, std::vector<std::string>{});
}

TEST(ScenarioScriptTest, AKnownSectionEndsTheExpectedOne) {
  const Scenario scenario = with("[expected]\nline\n[machine]\nlistener = no\n");
  EXPECT_EQ(scenario.expected, std::vector<std::string>{"line"});
  EXPECT_FALSE(scenario.debugListener);
}

TEST(ScenarioScriptTest, ExpectedLinesCanBeRepeated) {
  const std::vector<std::string> expected = {"a", "b", "c", "c", "b", "c", "c", "d"};
  EXPECT_EQ(with("[expected]\na\nrepeat 2:\nb\nrepeat 2:\nc\nend repeat\nend repeat\nd\n").expected,
            expected);
  EXPECT_EQ(with("[expected]\nrepeat 1:\na\nend repeat\n").expected, std::vector<std::string>{"a"});
}

TEST(ScenarioScriptTest, MalformedRepetitionsAreReported) {
  expectErrors({
      {"[expected]\nrepeat 2:\na\n", "5: this \"repeat\" has no \"end repeat\""},
      {"[expected]\nend repeat\n", "5: there is no \"repeat\" that could end here"},
      {"[expected]\nrepeat 2:\nend repeat\n", "6: there is nothing to repeat"},
      {"[expected]\nrepeat 0:\na\nend repeat\n", "5: counting begins with 1"},
      {"[expected]\nrepeat x:\na\nend repeat\n", "5: \"x\" is no number"},
      {"[expected]\nrepeat 4000000000:\na\nend repeat\n", "7: that makes more than 1000000 lines"},
  });
}

// [calls]

TEST(ScenarioScriptTest, CallsAreThoseOfAThreadAndCanBeRepeated) {
  const Scenario scenario = with(
      "[calls main]\nSetEvent\n[calls service]\n# not this\nrepeat 2:\n"
      "  OpenEventW 1048576, 0, Global\\X\nend repeat\nITaskFolder::GetTask *\n[expected]\na\n");
  const std::map<std::string, std::vector<std::string>> calls = {
      {"main", {"SetEvent"}},
      {"service",
       {"OpenEventW 1048576, 0, Global\\X", "OpenEventW 1048576, 0, Global\\X",
        "ITaskFolder::GetTask *"}}};
  EXPECT_EQ(scenario.calls, calls);
  EXPECT_EQ(scenario.expected, std::vector<std::string>{"a"});
  EXPECT_TRUE(with("[calls main]\n").calls.at("main").empty());
  EXPECT_TRUE(with("").calls.empty());
}

TEST(ScenarioScriptTest, MalformedCallsAreReported) {
  expectErrors({
      {"[calls handler]\n", "4: \"handler\" is no thread whose calls are told (main, service)"},
      {"[calls main]\nOpenEvent\n",
       "5: \"OpenEvent\" is no platform call (did you mean \"OpenEventW\"?)"},
      {"[calls main]\nSleep 5\n",
       "5: \"Sleep\" is not among the calls that are told: it does not reach beyond the process"},
      {"[calls main]\nrepeat 2:\nSetEvent\n[calls service]\n",
       "7: the \"repeat\" of line 5 has not ended yet"},
  });
}

// [imbalances]

TEST(ScenarioScriptTest, ImbalancesAreNamedWithHowOftenTheyCome) {
  const Scenario scenario = with("[imbalances]\nchild kept = 2\n# a comment\nboundary kept=1\n");
  EXPECT_EQ(scenario.imbalances,
            (std::map<std::string, unsigned>{{"boundary kept", 1}, {"child kept", 2}}));
  EXPECT_TRUE(with("").imbalances.empty());
}

TEST(ScenarioScriptTest, MalformedImbalancesAreReported) {
  expectErrors({
      {"[imbalances]\nchild keept = 1\n",
       "5: \"child keept\" is none of the imbalances that required behaviour brings (did you mean "
       "\"child kept\"?)"},
      {"[imbalances]\nevent from CreateEventW is still open = 1\n",
       "5: \"event from CreateEventW is still open\" is none of the imbalances that required "
       "behaviour brings"},
      {"[imbalances]\nchild kept\n", "5: \"child kept\" is not of the form \"name = how often\""},
      {"[imbalances]\nchild kept = 0\n", "5: counting begins with 1"},
      {"[imbalances]\nchild kept = x\n", "5: \"x\" is no number"},
      {"[imbalances]\nchild kept = 1\nchild kept = 1\n", "6: \"child kept\" stands twice"},
  });
}

TEST(ScenarioScriptTest, ARunThatEndsSuddenlyNamesNoImbalances) {
  for (const std::string end : {"fault", "terminate"}) {
    EXPECT_EQ(errorIn("[scenario]\nabout = A\nend = " + end + "\n[imbalances]\nchild kept = 1\n"),
              "4: a run that ends in a fault or a terminate has no account to compare");
  }
}

// The frame.

TEST(ScenarioScriptTest, MalformedFramesAreReported) {
  expectErrors({
      {"[machin]\n", "4: there is no section \"machin\" (did you mean \"machine\"?)"},
      {"[weather]\n", "4: there is no section \"weather\""},
      {"[machine\n",
       "4: \"[machine\" is no section: its name stands in brackets, alone on the line"},
      {"[machine] # a comment\n",
       "4: \"[machine] # a comment\" is no section: its name stands in brackets, alone on the "
       "line"},
      {"[]\n", "4: there is no section \"\""},
      {"[expected]\n[scrpt]\n", "5: there is no section \"scrpt\" (did you mean \"script\"?)"},
      {"[file C:\\x]\n[y]\n", "5: there is no section \"y\""},
      {"[machine x]\n", "4: in the brackets of \"machine\" there must be nothing else"},
      {"[machine]\n[machine]\n", "5: the section [machine] stands twice"},
      {"[file C:\\x]\n[file c:\\X]\n", "5: the section [file c:\\X] stands twice"},
      {"about = Again.\n", "4: \"about\" stands twice"},
      {"limt = 3 s\n", "4: [scenario] has no key \"limt\" (did you mean \"limit\"?)"},
      {"[machine]\nweather = fine\n", "5: [machine] has no key \"weather\""},
      {"limit\n", "4: \"limit\" is not of the form \"key = value\""},
      {"[machine]\nevent = a\0b\n"s, "5: the line holds a zero byte"},
      {"[machine]\nevent = \xFF\n", "5: the line is not UTF-8"},
  });
  EXPECT_EQ(errorIn("\n# comment\nabout = x\n"), "3: \"about = x\" stands outside a section");
}

TEST(ScenarioScriptTest, LineEndsOfWindowsAndAByteOrderMarkAreTaken) {
  const Scenario scenario = parsed(
      "\xEF\xBB\xBF[scenario]\r\nabout = A test.\r\nend = exit 0\r\n[file C:\\x]\r\none\r\n");
  EXPECT_EQ(scenario.about, "A test.");
  EXPECT_EQ(scenario.files.at(0).bytes, "one\n");
}

TEST(ScenarioScriptTest, TheLastLineNeedsNoLineEnd) {
  EXPECT_EQ(parsed("[scenario]\nend = exit 0\nabout = A test.").about, "A test.");
}

TEST(ScenarioScriptTest, ValuesMayBeLongAndHoldAnyCharacter) {
  const std::string sentence = std::string(100'000, 'x') + " \xC3\xBC = [y]";
  EXPECT_EQ(parsed("[scenario]\nend = exit 0\nabout = " + sentence + "\n").about, sentence);
}

}  // namespace
}  // namespace host
