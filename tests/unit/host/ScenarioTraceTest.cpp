// Trace sessions and the listener of the debug output, as a scenario describes and changes them.

#include <cstring>

#include "tests/support/MachineTest.h"
#include "tests/unit/host/ScenarioTexts.h"

namespace host {
namespace {

using Notes = std::vector<std::string>;

constexpr GUID kProvider = {
    0x590DE0FF, 0xDC7D, 0x4731, {0xAC, 0x4F, 0xA9, 0x61, 0xAF, 0x00, 0xE9, 0xDA}};
const std::string kSession = "[trace boot]\nprovider = {590DE0FF-DC7D-4731-ac4f-a961af00e9da}\n";

// The text

TEST(ScenarioTraceTest, ASessionWantsLevelsUpToFiveFromTheStart) {
  const Scenario scenario = with(kSession);
  ASSERT_EQ(scenario.traces.size(), 1U);
  const ScenarioTrace& trace = scenario.traces[0];
  EXPECT_EQ(trace.session, "boot");
  EXPECT_EQ(std::memcmp(&trace.provider, &kProvider, sizeof(GUID)), 0);
  EXPECT_EQ(trace.filter.level, 5);
  EXPECT_TRUE(trace.enabled);
}

TEST(ScenarioTraceTest, ASessionIsAsItsKeysSay) {
  const Scenario scenario = with(kSession + "level = 2\nenabled = no\n[trace other]\n" +
                                 "provider = {590DE0FF-DC7D-4731-AC4F-A961AF00E9DB}\n");
  ASSERT_EQ(scenario.traces.size(), 2U);
  EXPECT_EQ(scenario.traces[0].filter.level, 2);
  EXPECT_FALSE(scenario.traces[0].enabled);
  EXPECT_EQ(scenario.traces[1].session, "other");
  EXPECT_EQ(scenario.traces[1].provider.Data4[7], 0xDB);
  EXPECT_TRUE(scenario.traces[1].enabled);
}

TEST(ScenarioTraceTest, MalformedSessionsAreReported) {
  const std::string noGuid = " is no GUID (as in \"{5c4c3332-344d-483c-8739-259e934c9cc8}\")";
  expectErrors({
      {"[trace]\n", "4: in the brackets of \"trace\" there must be a session's name too"},
      {"[trace two words]\n", "4: the name of a trace session must be one word"},
      {"[trace boot]\nlevel = 4\n", "4: [trace boot] must say \"provider\""},
      {kSession + "[trace more]\n", "6: [trace more] must say \"provider\""},
      {"[trace boot]\nprovider = x\n", "5: \"x\"" + noGuid},
      {"[trace boot]\nprovider = {590DE0FF-DC7D-4731-AC4F-A961AF00E9DX}\n",
       "5: \"{590DE0FF-DC7D-4731-AC4F-A961AF00E9DX}\"" + noGuid},
      {"[trace boot]\nprovider = {590DE0FF+DC7D-4731-AC4F-A961AF00E9DA}\n",
       "5: \"{590DE0FF+DC7D-4731-AC4F-A961AF00E9DA}\"" + noGuid},
      {kSession + "level = 256\n", "6: \"256\" is greater than 255"},
      {kSession + "enabled = on\n", "6: \"on\" is neither yes nor no"},
      {kSession + kSession, "6: the section [trace boot] stands twice"},
  });
}

Action actionOf(const std::string& text) {
  const Scenario scenario = with(kSession + "[script]\nat 1 s: " + text + "\n");
  return scenario.script.size() == 1 ? scenario.script[0].action : Action{};
}

TEST(ScenarioTraceTest, AStepEnablesAndDisablesASession) {
  EXPECT_EQ(actionOf("enable trace boot").kind, Action::Kind::kEnableTrace);
  EXPECT_EQ(actionOf("enable trace boot").subject, L"boot");
  EXPECT_EQ(actionOf("enable trace boot").number, Action::kOwnLevel);
  EXPECT_EQ(actionOf("enable trace boot 2").number, 2U);
  EXPECT_EQ(actionOf("disable trace boot").kind, Action::Kind::kDisableTrace);
  EXPECT_EQ(actionOf("disable trace boot").subject, L"boot");
}

TEST(ScenarioTraceTest, AStepAttachesAndDetachesTheListener) {
  EXPECT_EQ(actionOf("attach listener").kind, Action::Kind::kAttachListener);
  EXPECT_EQ(actionOf("detach listener").kind, Action::Kind::kDetachListener);
}

TEST(ScenarioTraceTest, MalformedStepsAreReported) {
  expectErrors({
      {"[script]\nat 1 s: enable trace boot\n", "5: there is no section [trace boot]"},
      {kSession + "[script]\nat 1 s: disable trace bot\n",
       "7: there is no section [trace bot] (did you mean \"boot\"?)"},
      {kSession + "[script]\nat 1 s: enable trace\n",
       "7: there must be a trace session's name, and at most a level behind it"},
      {kSession + "[script]\nat 1 s: enable trace boot 1 2\n",
       "7: there must be a trace session's name, and at most a level behind it"},
      {kSession + "[script]\nat 1 s: enable trace boot x\n", "7: \"x\" is no number"},
      {kSession + "[script]\nat 1 s: disable trace\n", "7: there must be a name"},
      {kSession + "[script]\nat 1 s: attach listener now\n", "7: nothing may follow the action"},
  });
}

// The run

class ScenarioTraceRunTest : public MachineTest {
 protected:
  void setUp(const std::string& sections) {
    scenario_ = with(sections);
    setUpMachine(scenario_);
    machine().onNote = [this](const std::string& what) { notes_.push_back(what); };
    ASSERT_EQ(EventRegister(&kProvider, nullptr, nullptr, &handle_), 0U);
  }
  ~ScenarioTraceRunTest() override { EventUnregister(handle_); }

  // An event without fields, of the provider "AB".
  void write(UCHAR level) const {
    EVENT_DESCRIPTOR event{};
    event.Level = level;
    const std::string provider("\x05\0AB\0", 5);
    const std::string name("\x05\0\0X\0", 5);
    EVENT_DATA_DESCRIPTOR data[] = {
        {reinterpret_cast<std::uintptr_t>(provider.data()), 5, 2},
        {reinterpret_cast<std::uintptr_t>(name.data()), 5, 1},
    };
    EXPECT_EQ(EventWriteTransfer(handle_, &event, nullptr, nullptr, 2, data), 0U);
  }

  Scenario scenario_;
  REGHANDLE handle_ = 0;
  Notes notes_;
};

TEST_F(ScenarioTraceRunTest, EventsAreNotedAsTheyAreRead) {
  setUp(kSession + "level = 4\n");
  write(4);
  write(5);
  const EVENT_DESCRIPTOR event{};
  EventWriteTransfer(handle_, &event, nullptr, nullptr, 0, nullptr);
  EXPECT_EQ(notes_,
            (Notes{"trace boot: AB X, level 4",
                   "trace boot: an event that cannot be read: block 0 is not the provider"}));
}

TEST_F(ScenarioTraceRunTest, EachSessionThatReceivesAnEventNotesIt) {
  setUp(kSession + "[trace other]\nprovider = {590DE0FF-DC7D-4731-AC4F-A961AF00E9DA}\nlevel = 2\n");
  write(2);
  write(3);
  EXPECT_EQ(notes_, (Notes{"trace boot: AB X, level 2", "trace other: AB X, level 2",
                           "trace boot: AB X, level 3"}));
}

TEST_F(ScenarioTraceRunTest, ASessionIsEnabledChangedAndDisabledByTheScript) {
  setUp(kSession +
        "enabled = no\n[script]\nbefore GetLastError 1: enable trace boot\n"
        "before GetLastError 2: enable trace boot 2\nbefore GetLastError 3: disable trace boot\n");
  write(1);
  GetLastError();
  write(5);
  GetLastError();
  write(3);
  write(2);
  GetLastError();
  write(1);
  EXPECT_EQ(notes_, (Notes{"trace boot enabled, level 5", "trace boot: AB X, level 5",
                           "trace boot enabled, level 2", "trace boot: AB X, level 2",
                           "trace boot disabled"}));
}

TEST_F(ScenarioTraceRunTest, TheListenerComesAndGoesByTheScript) {
  setUp(
      "[machine]\nlistener = no\n[script]\nbefore GetLastError 1: attach listener\n"
      "before GetLastError 2: detach listener\n");
  OutputDebugStringW(L"one");
  EXPECT_EQ(GetLastError(), 2U);
  OutputDebugStringW(L"two");
  GetLastError();
  OutputDebugStringW(L"three");
  EXPECT_EQ(machine().debugOutput, std::vector<std::wstring>{L"two"});
  EXPECT_EQ(notes_, (Notes{"listener of the debug output attached",
                           "listener of the debug output detached"}));
}

}  // namespace
}  // namespace host
