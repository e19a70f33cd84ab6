#include <unistd.h>

#include "platform/host/DriveLimits.h"
#include "platform/host/Report.h"
#include "platform/host/Scenario.h"
#include "tests/support/MachineTest.h"

namespace host {
namespace {

constexpr wchar_t kEvent[] = L"Global\\E";

class ScenarioRunTest : public MachineTest {
 protected:
  // Parses the sections, and makes the machine of the test what they say.
  const Scenario& setUp(const std::string& sections) {
    auto result = parseScenario("test", "[scenario]\nabout = A test.\nend = exit 0\n" + sections);
    if (const auto* error = std::get_if<ScenarioError>(&result)) {
      ADD_FAILURE() << error->line << ": " << error->reason;
    } else {
      scenario_ = std::get<Scenario>(std::move(result));
    }
    setUpMachine(scenario_);
    machine().onNote = [this](const std::string& what) { notes_.push_back(what); };
    return scenario_;
  }

  static bool eventIsThere() { return OpenEventW(SYNCHRONIZE, FALSE, kEvent) != nullptr; }
  static void say(const wchar_t* line) { OutputDebugStringW(line); }

  Scenario scenario_;
  std::vector<std::string> notes_;
};

TEST_F(ScenarioRunTest, TheSystemIsWhatTheScenarioSays) {
  setUp(
      "[machine]\nwindows = 6.1.7601\nlanguage = 0x0407\nclock = 2024-02-29 01:02:03.004\n"
      "zone = +60 min\nstarted by = console\nlistener = no\nenvironment A = b\n");
  EXPECT_EQ(machine().version.major, 6U);
  EXPECT_EQ(machine().version.minor, 1U);
  EXPECT_EQ(machine().version.build, 7601U);
  EXPECT_EQ(machine().userLanguage, 0x0407);
  EXPECT_EQ(machine().localTime().wYear, 2024);
  EXPECT_EQ(machine().localTime().wMilliseconds, 4);
  EXPECT_EQ(machine().minutesAheadOfUtc, 60);
  EXPECT_FALSE(machine().services.startedByManager);
  EXPECT_FALSE(machine().debugListener);
  EXPECT_EQ(machine().environment[L"a"], L"b");
}

TEST_F(ScenarioRunTest, TheTokenIsWhatTheScenarioSays) {
  setUp(
      "[machine]\nadministrator = no\nprivileges = SeTcbPrivilege\n"
      "unknown privilege = SeDebugPrivilege\n");
  EXPECT_FALSE(machine().token.administrator);
  EXPECT_EQ(machine().token.privileges, std::set<std::wstring>{L"SeTcbPrivilege"});
  EXPECT_EQ(machine().token.unknownPrivileges, std::set<std::wstring>{L"SeDebugPrivilege"});
}

TEST_F(ScenarioRunTest, TheTokenHoldsAllPrivilegesUnlessTheScenarioSaysOtherwise) {
  setUp("");
  EXPECT_EQ(machine().token.privileges, Token::allPrivileges());
}

TEST_F(ScenarioRunTest, EventsAndNamespacesOfOthersAreThere) {
  setUp("[machine]\nevent = Global\\E\nnamespace taken = N\n");
  EXPECT_TRUE(eventIsThere());
  EXPECT_TRUE(machine().objects.namespaceExists(L"N"));
}

TEST_F(ScenarioRunTest, TheDriveRefusesWhatTheScenarioSays) {
  machine().drive.createFolder(L"C:\\data");
  setUp(
      "[machine]\nfree space = 100\nshort writes = yes\ndenied = C:\\data\\a\n"
      "denied = C:\\data\\b\ndenied = C:\\none\\c\n");
  EXPECT_EQ(driveLimits().freeBytes, 100U);
  EXPECT_TRUE(driveLimits().shortWrites);
  EXPECT_TRUE(driveLimits().denies(*machine().drive.locate(L"C:\\data\\a")));
  EXPECT_TRUE(driveLimits().denies(*machine().drive.locate(L"C:\\data\\b")));
  EXPECT_FALSE(driveLimits().denies(*machine().drive.locate(L"C:\\data\\c")));
}

TEST_F(ScenarioRunTest, TheDriveRefusesNothingUnlessTheScenarioSaysSo) {
  setUp("");
  EXPECT_EQ(driveLimits().freeBytes, std::nullopt);
  EXPECT_FALSE(driveLimits().shortWrites);
}

TEST_F(ScenarioRunTest, RegistryAndDevicesAreWhatTheScenarioSays) {
  setUp(
      "[registry HKLM\\Software\\X]\nName = text\n[device SWD\\A]\nhardware id = SWC\\A\n"
      "software key = HKLM\\Software\\X\npresent = no\n");
  EXPECT_NE(machine().registry.value(L"HKLM\\Software\\X", L"Name"), nullptr);
  ASSERT_EQ(machine().devices.size(), 1U);
  EXPECT_EQ(machine().devices[0].instanceId, L"SWD\\A");
  EXPECT_EQ(machine().devices[0].hardwareIds, std::vector<std::wstring>{L"SWC\\A"});
  EXPECT_EQ(machine().devices[0].softwareKey, L"HKLM\\Software\\X");
  EXPECT_FALSE(machine().devices[0].present);
}

TEST_F(ScenarioRunTest, TheStackStandsBehindTheOtherDevices) {
  setUp("[stack]\ndirectory = C:\\stack\n[device SWD\\A]\n");
  ASSERT_EQ(machine().devices.size(), 2U);
  EXPECT_EQ(machine().devices[0].instanceId, L"SWD\\A");
}

TEST_F(ScenarioRunTest, AFaultHitsTheCallThatItNames) {
  setUp("[machine]\nevent = Global\\E\n[faults]\nfail OpenEventW 2 with 5\n");
  EXPECT_TRUE(eventIsThere());
  EXPECT_FALSE(eventIsThere());
  EXPECT_EQ(GetLastError(), 5U);
  EXPECT_TRUE(eventIsThere());
}

TEST_F(ScenarioRunTest, ALastingFaultHitsAllCallsFromThereOn) {
  setUp("[machine]\nevent = Global\\E\n[faults]\nfail OpenEventW from 2 with 5\n");
  EXPECT_TRUE(eventIsThere());
  EXPECT_FALSE(eventIsThere());
  EXPECT_FALSE(eventIsThere());
}

TEST_F(ScenarioRunTest, AStepBeforeACallHappensAheadOfItsWork) {
  setUp("[script]\nbefore OpenEventW 2: publish Global\\E\n");
  EXPECT_FALSE(eventIsThere());
  EXPECT_TRUE(eventIsThere());
  EXPECT_EQ(notes_, std::vector<std::string>{"event Global\\E published"});
}

TEST_F(ScenarioRunTest, ACallIsHeldUntilEverybodyElseWaits) {
  setUp("[machine]\nevent = Global\\E\n[script]\nbefore GetLastError 1: signal Global\\E\n");
  const HANDLE event = OpenEventW(SYNCHRONIZE, FALSE, kEvent);
  bool woken = false;
  TestThread waiter([&] {
    WaitForSingleObject(event, INFINITE);
    GetCurrentThreadId();
    woken = true;
    Sleep(1000);
  });
  GetLastError();
  EXPECT_TRUE(woken);
  EXPECT_LT(clockMs(), 1000);
}

TEST_F(ScenarioRunTest, AStepOnALogLineHappensAtTheLineThatItCounts) {
  setUp("[script]\non log 2 \"two\": publish Global\\E\n");
  say(L"one two\r\n");
  say(L"one\r\n");
  EXPECT_FALSE(eventIsThere());
  say(L"two\r\n");
  EXPECT_TRUE(eventIsThere());
}

TEST_F(ScenarioRunTest, AStepHappensOnce) {
  setUp("[script]\non log 2 \"two\": publish Global\\E\n");
  for (int i = 0; i < 4; ++i) {
    say(L"two\r\n");
  }
  EXPECT_EQ(notes_, std::vector<std::string>{"event Global\\E published"});
}

TEST_F(ScenarioRunTest, AStepOnAStatusHappensAtTheReportThatItCounts) {
  setUp("[script]\non status RUNNING 2: publish Global\\E\n");
  SERVICE_STATUS status{};
  status.dwCurrentState = SERVICE_RUNNING;
  machine().services.onStatus(status);
  status.dwCurrentState = SERVICE_STOP_PENDING;
  machine().services.onStatus(status);
  EXPECT_FALSE(eventIsThere());
  status.dwCurrentState = SERVICE_RUNNING;
  machine().services.onStatus(status);
  EXPECT_TRUE(eventIsThere());
}

TEST_F(ScenarioRunTest, EachActionIsNoted) {
  setUp(
      "[script]\non log \"1\": signal Global\\E\non log \"2\": publish Global\\E\n"
      "on log \"3\": signal Global\\E\non log \"4\": withdraw Global\\E\n"
      "on log \"5\": write C:\\x: text\non log \"6\": delete C:\\x\non log \"7\": delete C:\\x\n"
      "on log \"8\": stop\non log \"9\": control 4\n");
  for (const wchar_t* line : {L"1", L"2", L"3", L"4", L"5", L"6", L"7", L"8", L"9"}) {
    say(line);
  }
  const std::vector<std::string> expected = {"event Global\\E is not there and was not signalled",
                                             "event Global\\E published",
                                             "event Global\\E signalled",
                                             "event Global\\E withdrawn",
                                             "file C:\\x written",
                                             "file C:\\x deleted",
                                             "file C:\\x is not there and was not deleted",
                                             "service manager: stop refused, error 1062",
                                             "service manager: control 4 refused, error 1062"};
  EXPECT_EQ(notes_, expected);
}

TEST_F(ScenarioRunTest, AWrittenFileHasTheText) {
  setUp("[script]\non log \"x\": write C:\\a\\b: one\\ntwo\n");
  say(L"x");
  EXPECT_EQ(machine().drive.read(L"C:\\a\\b"), "one\ntwo");
}

TEST_F(ScenarioRunTest, AFileThatCannotBeWrittenIsNoted) {
  setUp("[script]\non log \"x\": write C:\\Windows: text\n");
  say(L"x");
  EXPECT_EQ(notes_, std::vector<std::string>{"file not written: C:\\Windows: cannot be written"});
}

TEST_F(ScenarioRunTest, AFaultThatStrikesIsNoted) {
  setUp("[faults]\nfail OpenEventW 2 with 5\n");
  eventIsThere();
  EXPECT_TRUE(notes_.empty());
  eventIsThere();
  EXPECT_EQ(notes_, std::vector<std::string>{"fault: OpenEventW 2 fails with 5"});
}

// Lives that are ended are processes of their own; their records go to the standard error.
class ScenarioLifeTest : public ScenarioRunTest {
 protected:
  void live(const std::string& sections, const std::function<void()>& product) {
    Report::instance().open(STDERR_FILENO, false);
    const Scenario& scenario = setUp(sections);
    machine().onNote = [](const std::string& what) {
      Report::instance().record(ReportKind::kNote, what);
    };
    startScript(scenario);
    product();
  }
};

TEST_F(ScenarioLifeTest, TimedStepsHappenInTheOrderOfTheirTimes) {
  EXPECT_EXIT(live("[script]\nat 2 s: signal Global\\E\nat 1 s: publish Global\\E\n",
                   [] { Sleep(INFINITE); }),
              ::testing::ExitedWithCode(0),
              "N 1000[0-9]* 24\nevent Global.E published\n"
              "N 2000[0-9]* 24\nevent Global.E signalled\n");
}

TEST_F(ScenarioLifeTest, AtTheLimitTheLifeIsGivenUpWithAReportOfItsThreads) {
  EXPECT_EXIT(live("[machine]\nlistener = yes\n[script]\nat 1 s: stop\n",
                   [] {
                     while (true) {
                       Sleep(7000);
                     }
                   }),
              ::testing::ExitedWithCode(0),
              "T 60000[0-9]* [0-9]+\nthread .*main.*Sleep.7000.*E 60000[0-9]* 7\nrunning\n");
}

TEST_F(ScenarioLifeTest, AStepCanEndTheProcess) {
  EXPECT_EXIT(live("[script]\nat 1 s: end process\n", [] { Sleep(INFINITE); }),
              ::testing::ExitedWithCode(0),
              "the process is ended from outside\nE 1000[0-9]* 5\nended\n");
}

TEST_F(ScenarioLifeTest, DebugOutputAndStatusesAreRecorded) {
  EXPECT_EXIT(live("",
                   [] {
                     OutputDebugStringW(L"one\r\n");
                     SERVICE_STATUS status{};
                     status.dwCurrentState = SERVICE_STOP_PENDING;
                     status.dwCheckPoint = 2;
                     status.dwWin32ExitCode = 3;
                     status.dwControlsAccepted = 1;
                     status.dwWaitHint = 5000;
                     machine().services.onStatus(status);
                     _exit(0);
                   }),
              ::testing::ExitedWithCode(0), "D [0-9]+ 5\none\r\n\nS [0-9]+ 12\n3 2 3 1 5000\n");
}

}  // namespace
}  // namespace host
