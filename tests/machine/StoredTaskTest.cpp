// What a whole run leaves on the machine's drive: the task as the platform keeps it.

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>

#include "tests/machine/ToolProcess.h"

namespace {

namespace fs = std::filesystem;

constexpr char kTask[] = "C/Windows/System32/Tasks/Orvix VTM EK Recertification";

class StoredTaskTest : public ::testing::Test {
 protected:
  // The stored task's file after a run of the scenario; its drive is kept until the test's end.
  fs::path taskAfter(const std::string& scenario) {
    const fs::path kept = folder_.path() / "drive";
    const ToolRun run = runTool({"--virtual", "--keep", kept.string(), scenario});
    EXPECT_EQ(run.status, 0) << run.out << run.err;
    return kept / kTask;
  }

  static std::string textOf(const fs::path& task) {
    std::ifstream file(task, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    EXPECT_EQ(bytes.substr(0, 2), "\xFF\xFE");
    std::string text;
    for (std::size_t i = 2; i < bytes.size(); i += 2) text += bytes[i];
    return text;
  }

  static bool isValid(const fs::path& task) {
    const std::string command = "xmllint --noout --nonet --schema '" SOURCE_ROOT
                                "/tests/data/task.xsd' '" +
                                task.string() + "' >/dev/null 2>&1";
    return std::system(command.c_str()) == 0;
  }

 private:
  TemporaryFolder folder_;
};

constexpr char kRegistered[] =
    "<?xml version=\"1.0\" encoding=\"UTF-16\"?>\r\n"
    "<Task version=\"1.2\" xmlns=\"http://schemas.microsoft.com/windows/2004/02/mit/task\">\r\n"
    "  <RegistrationInfo>\r\n"
    "    <Date>2017-10-24T12:34:56.7890</Date>\r\n"
    "    <Author>Orvix Corporation</Author>\r\n"
    "    <URI>\\Orvix VTM EK Recertification</URI>\r\n"
    "  </RegistrationInfo>\r\n"
    "  <Triggers>\r\n"
    "    <EventTrigger>\r\n"
    "      <Enabled>true</Enabled>\r\n"
    "      <Subscription>&lt;QueryList&gt;&lt;Query Id=\"0\" Path=\"System\"&gt;"
    "&lt;Select Path=\"System\"&gt;*[System[Provider[@Name='Microsoft-Windows-TPM-WMI'] and "
    "(EventID=1025 or EventID=1026)]]&lt;/Select&gt;&lt;/Query&gt;&lt;/QueryList&gt;"
    "</Subscription>\r\n"
    "    </EventTrigger>\r\n"
    "  </Triggers>\r\n"
    "  <Principals>\r\n"
    "    <Principal id=\"Author\">\r\n"
    "      <UserId>S-1-5-18</UserId>\r\n"
    "    </Principal>\r\n"
    "  </Principals>\r\n"
    "  <Settings>\r\n"
    "    <MultipleInstancesPolicy>IgnoreNew</MultipleInstancesPolicy>\r\n"
    "    <DisallowStartIfOnBatteries>false</DisallowStartIfOnBatteries>\r\n"
    "    <StopIfGoingOnBatteries>true</StopIfGoingOnBatteries>\r\n"
    "    <AllowHardTerminate>false</AllowHardTerminate>\r\n"
    "    <StartWhenAvailable>false</StartWhenAvailable>\r\n"
    "    <RunOnlyIfNetworkAvailable>true</RunOnlyIfNetworkAvailable>\r\n"
    "    <IdleSettings>\r\n"
    "      <StopOnIdleEnd>true</StopOnIdleEnd>\r\n"
    "      <RestartOnIdle>false</RestartOnIdle>\r\n"
    "    </IdleSettings>\r\n"
    "    <AllowStartOnDemand>true</AllowStartOnDemand>\r\n"
    "    <Enabled>true</Enabled>\r\n"
    "    <Hidden>true</Hidden>\r\n"
    "    <RunOnlyIfIdle>false</RunOnlyIfIdle>\r\n"
    "    <WakeToRun>false</WakeToRun>\r\n"
    "    <ExecutionTimeLimit>PT0S</ExecutionTimeLimit>\r\n"
    "    <Priority>7</Priority>\r\n"
    "    <RestartOnFailure>\r\n"
    "      <Interval>PT30M</Interval>\r\n"
    "      <Count>3</Count>\r\n"
    "    </RestartOnFailure>\r\n"
    "  </Settings>\r\n"
    "  <Actions Context=\"Author\">\r\n"
    "    <Exec>\r\n"
    "      <Command>\"C:\\Program Files\\Orvix\\TPMEnrollmentService\\"
    "OrvixVTMEKRecertification.exe\"</Command>\r\n"
    "    </Exec>\r\n"
    "  </Actions>\r\n"
    "</Task>";

TEST_F(StoredTaskTest, TheFirstRegistrationStoresEveryValue) {
  EXPECT_EQ(textOf(taskAfter("task-first-registration")), kRegistered);
}

TEST_F(StoredTaskTest, TheStoredTaskIsValidAgainstThePublicSchema) {
  EXPECT_TRUE(isValid(taskAfter("task-first-registration")));
}

constexpr char kRepointed[] =
    "<?xml version=\"1.0\" encoding=\"UTF-16\"?>\r\n"
    "<Task version=\"1.2\" xmlns=\"http://schemas.microsoft.com/windows/2004/02/mit/task\">\r\n"
    "  <RegistrationInfo>\r\n"
    "    <Date>2017-10-24T12:34:56.7890</Date>\r\n"
    "    <Author>Somebody else</Author>\r\n"
    "    <URI>\\Orvix VTM EK Recertification</URI>\r\n"
    "  </RegistrationInfo>\r\n"
    "  <Triggers>\r\n"
    "    <EventTrigger>\r\n"
    "      <Enabled>true</Enabled>\r\n"
    "      <Subscription>&lt;QueryList&gt;&lt;Query Id=\"0\" Path=\"System\"&gt;"
    "&lt;Select Path=\"System\"&gt;*[System[Provider[@Name='Other-Provider'] and (EventID=7)]]"
    "&lt;/Select&gt;&lt;/Query&gt;&lt;/QueryList&gt;</Subscription>\r\n"
    "    </EventTrigger>\r\n"
    "  </Triggers>\r\n"
    "  <Principals>\r\n"
    "    <Principal id=\"Author\">\r\n"
    "      <UserId>S-1-5-18</UserId>\r\n"
    "    </Principal>\r\n"
    "  </Principals>\r\n"
    "  <Settings>\r\n"
    "    <RunOnlyIfNetworkAvailable>true</RunOnlyIfNetworkAvailable>\r\n"
    "    <Hidden>true</Hidden>\r\n"
    "    <ExecutionTimeLimit>PT0S</ExecutionTimeLimit>\r\n"
    "  </Settings>\r\n"
    "  <Actions Context=\"Author\">\r\n"
    "    <Exec>\r\n"
    "      <Command>\"C:\\Program Files\\Orvix\\TPMEnrollmentService\\"
    "OrvixVTMEKRecertification.exe\"</Command>\r\n"
    "    </Exec>\r\n"
    "  </Actions>\r\n"
    "</Task>";

TEST_F(StoredTaskTest, ARepointedTaskKeepsAllItsOtherValues) {
  EXPECT_EQ(textOf(taskAfter("task-repointed")), kRepointed);
}

TEST_F(StoredTaskTest, ADeletedTaskIsGone) {
  EXPECT_FALSE(fs::exists(taskAfter("task-deleted")));
}

TEST_F(StoredTaskTest, ARefusedSchedulerLeavesNoTask) {
  EXPECT_FALSE(fs::exists(taskAfter("task-scheduler-refused")));
}

TEST_F(StoredTaskTest, ALastErrorLeftOverLeavesNoTask) {
  EXPECT_FALSE(fs::exists(taskAfter("task-last-error-left")));
}

}  // namespace
