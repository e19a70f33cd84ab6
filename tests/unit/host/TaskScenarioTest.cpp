// What a scenario can say about the Task Scheduler.

#include "platform/host/Scenario.h"
#include "platform/host/TaskRuns.h"
#include "tests/unit/host/ComFixture.h"

namespace host {
namespace {

using Texts = std::vector<std::string>;

class TaskScenarioTest : public ComTest {
 protected:
  // Makes the machine of the test what the sections say; what is wrong with them otherwise.
  std::string setUp(const std::string& sections) {
    auto result = parseScenario("test", "[scenario]\nabout = A test.\nend = exit 0\n" + sections);
    if (const auto* error = std::get_if<ScenarioError>(&result)) {
      return std::to_string(error->line) + ": " + error->reason;
    }
    scenario_ = std::get<Scenario>(std::move(result));
    setUpMachine(scenario_);
    machine().onNote = [this](const std::string& what) { notes_.push_back(what); };
    return "";
  }

  // What the second of two lives of COM in the process answers.
  static HRESULT setComSecurityTwice() {
    HRESULT result = 0;
    for (int i = 0; i < 2; ++i) {
      CoInitializeEx(nullptr, COINIT_MULTITHREADED);
      result = CoInitializeSecurity(nullptr, -1, nullptr, nullptr, 6, 3, nullptr, 0, nullptr);
      CoUninitialize();
    }
    return result;
  }

  Scenario scenario_;
  Texts notes_;
};

TEST_F(TaskScenarioTest, WithoutAWordTheSchedulerIsReady) {
  EXPECT_EQ(setUp(""), "");
  EXPECT_TRUE(machine().network);
  EXPECT_FALSE(machine().onBatteries);
  EXPECT_FALSE(machine().schedulerRefuses);
  EXPECT_TRUE(machine().moduleFileNameClearsLastError);
  EXPECT_EQ(machine().programPath,
            L"C:\\Program Files\\Orvix\\TPMEnrollmentService\\TPMEnrollmentService.exe");
  EXPECT_EQ(machine().taskProgramRuns, 1'000 * kNanosecondsPerMillisecond);
}

TEST_F(TaskScenarioTest, TheMachineIsWhatTheScenarioSays) {
  EXPECT_EQ(setUp("[machine]\nnetwork = no\non batteries = yes\nscheduler = refused\n"
                  "task program runs = 2 s\nmodule file name clears last error = no\n"),
            "");
  EXPECT_FALSE(machine().network);
  EXPECT_TRUE(machine().onBatteries);
  EXPECT_TRUE(machine().schedulerRefuses);
  EXPECT_FALSE(machine().moduleFileNameClearsLastError);
  EXPECT_EQ(machine().taskProgramRuns, 2'000 * kNanosecondsPerMillisecond);
}

TEST_F(TaskScenarioTest, TheServicesProgramCanLieElsewhere) {
  EXPECT_EQ(setUp("[machine]\nservice program = D:\\x y\\Service.exe\n"), "");
  EXPECT_EQ(machine().programPath, L"D:\\x y\\Service.exe");
  EXPECT_EQ(setUp("[machine]\nservice program = Service.exe\n"),
            "5: \"Service.exe\" is no absolute path (as in \"C:\\x\")");
}

TEST_F(TaskScenarioTest, ProgramsOfTasksEndAsTheScenarioSays) {
  EXPECT_EQ(setUp("[machine]\ntask program exit codes = 1 0x10 -1 0\n"), "");
  EXPECT_EQ(TaskRuns::instance().programExitCodes, (std::vector<DWORD>{1, 16, 0xFFFFFFFF, 0}));
  EXPECT_EQ(setUp("[machine]\ntask program exit codes = one\n"), "5: \"one\" is no number");
  EXPECT_EQ(setUp("[machine]\ntask program exit codes =\n"),
            "5: there must be at least one exit code");
}

TEST_F(TaskScenarioTest, ComSecurityMayBeSetAnewOnceComHasEnded) {
  EXPECT_EQ(setUp("[machine]\nCOM security lasts = until COM ends\n"), "");
  EXPECT_EQ(code(setComSecurityTwice()), 0U);
  EXPECT_EQ(setUp(""), "");
  EXPECT_EQ(code(setComSecurityTwice()), 0U);
}

TEST_F(TaskScenarioTest, ComSecurityMayLastAsLongAsTheProcess) {
  EXPECT_EQ(setUp("[machine]\nCOM security lasts = for ever\n"), "");
  EXPECT_EQ(code(setComSecurityTwice()), 0x80010119U);
  EXPECT_EQ(setUp("[machine]\nCOM security lasts = long\n"),
            "5: \"long\" is neither \"until COM ends\" nor \"for ever\"");
}

TEST_F(TaskScenarioTest, TheNetworkGoesAndComesBack) {
  ASSERT_EQ(setUp("[script]\nbefore Sleep 1: network gone\nbefore Sleep 2: network back\n"), "");
  Sleep(1);
  EXPECT_FALSE(machine().network);
  Sleep(1);
  EXPECT_TRUE(machine().network);
  EXPECT_EQ(notes_, (Texts{"the network is gone", "the network is back"}));
}

TEST_F(TaskScenarioTest, TheMachineGoesOverToBatteriesAndBack) {
  ASSERT_EQ(setUp("[script]\nbefore Sleep 1: power batteries\nbefore Sleep 2: power mains\n"), "");
  Sleep(1);
  EXPECT_TRUE(machine().onBatteries);
  Sleep(1);
  EXPECT_FALSE(machine().onBatteries);
  EXPECT_EQ(notes_, (Texts{"the machine goes on batteries", "the machine goes on mains"}));
}

TEST_F(TaskScenarioTest, PowerAndNetworkHaveTwoWordsEach) {
  EXPECT_EQ(setUp("[script]\nat 1 s: power off\n"),
            "5: \"off\" is neither \"batteries\" nor \"mains\"");
  EXPECT_EQ(setUp("[script]\nat 1 s: network\n"), "5: \"\" is neither \"back\" nor \"gone\"");
}

TEST_F(TaskScenarioTest, ASchedulerIsReadyOrRefused) {
  EXPECT_EQ(setUp("[machine]\nscheduler = ready\n"), "");
  EXPECT_EQ(setUp("[machine]\nscheduler = gone\n"),
            "5: \"gone\" is neither \"ready\" nor \"refused\"");
}

TEST_F(TaskScenarioTest, AnEventNamesItsLogItsProviderAndItsId) {
  EXPECT_EQ(setUp("[script]\nat 1 s: event System Some Provider 1025\n"), "");
  const Action& action = scenario_.script.at(0).action;
  EXPECT_EQ(action.kind, Action::Kind::kLogEvent);
  EXPECT_EQ(action.text, "System");
  EXPECT_EQ(action.subject, L"Some Provider");
  EXPECT_EQ(action.number, 1025U);
}

TEST_F(TaskScenarioTest, AnEventThatLacksSomethingIsMalformed) {
  const std::string reason =
      "5: there must be a log, a provider and an id (as in \"event System Some-Provider 1025\")";
  EXPECT_EQ(setUp("[script]\nat 1 s: event\n"), reason);
  EXPECT_EQ(setUp("[script]\nat 1 s: event System\n"), reason);
  EXPECT_EQ(setUp("[script]\nat 1 s: event System 1025\n"), reason);
  EXPECT_EQ(setUp("[script]\nat 1 s: event System Some-Provider x\n"), "5: \"x\" is no number");
  EXPECT_EQ(setUp("[script]\nat 1 s: event System Some-Provider 65536\n"),
            "5: \"65536\" is greater than 65535");
}

TEST_F(TaskScenarioTest, AnEventIsRaised) {
  setUp("[script]\nbefore Sleep: event System Some-Provider 1025\n");
  Sleep(1);
  EXPECT_EQ(notes_, Texts{"event Some-Provider 1025 raised in System"});
}

TEST_F(TaskScenarioTest, AFaultCanHitAMethod) {
  ASSERT_EQ(setUp("[faults]\nfail ITaskService::Connect 1 with 0x80070005\n"), "");
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  void* object = nullptr;
  CoCreateInstance(CLSID_TaskScheduler, nullptr, CLSCTX_INPROC_SERVER, IID_ITaskService, &object);
  const Reference<ITaskService> service(static_cast<ITaskService*>(object));
  EXPECT_EQ(code(service->Connect(kEmpty, kEmpty, kEmpty, kEmpty)), 0x80070005U);
  EXPECT_EQ(service->Connect(kEmpty, kEmpty, kEmpty, kEmpty), 0);
}

TEST_F(TaskScenarioTest, AStepCanWaitForAMethod) {
  ASSERT_EQ(setUp("[script]\nbefore ITaskService::NewTask 2: stop\n"), "");
  EXPECT_EQ(scenario_.script.at(0).moment.name, "ITaskService::NewTask");
  EXPECT_EQ(scenario_.script.at(0).moment.nth, 2U);
}

TEST_F(TaskScenarioTest, AMethodIsNamedWithOneInterface) {
  for (const std::string name : {"::Connect", "ITaskService::", "A::B::C", "A:B"}) {
    EXPECT_EQ(setUp("[faults]\nfail " + name + " 1 with 5\n"),
              "5: \"" + name + "\" is no name of a platform call");
  }
}

}  // namespace
}  // namespace host
