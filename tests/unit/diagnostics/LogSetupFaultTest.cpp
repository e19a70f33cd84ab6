// Each platform call of the log set-up fails once: what the set-up does without it, and what ends
// it.

#include <memory>
#include <string>

#include "VUSL/Support/AssertException.h"
#include "VUSL/Support/DebugLogOutlet.h"
#include "VUSL/Support/EtwLogOutlet.h"
#include "VUSL/Support/Exception.h"
#include "VUSL/Support/IConfig.h"
#include "VUSL/Support/LogSetup.h"
#include "VUSL/Support/LogSink.h"
#include "VUSL/Support/Singleton.h"
#include "platform/host/DriveLimits.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/MachineTest.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

constexpr wchar_t kConfig[] = L"C:\\conf\\TPMEnrollmentService.conf";
constexpr char kCorrupted[] = "[ERR] [TPM] Corrupted config. Default values will be used.";
constexpr char kMissing[] = "[DBG] [TPM] Default values will be used.";

// The configuration asks for the threshold 3; the default is 2.
class LogSetupFaultTest : public host::MachineTest {
 protected:
  LogSetupFaultTest() {
    host::machine().environment[L"TALS_CONFDIR_PATH"] = L"C:\\conf";
    host::machine().drive.write(kConfig, "LogLevel = \"ERROR\"\n");
  }
  ~LogSetupFaultTest() override {
    setup.reset();
    LogSink::process().detachAll();
    DebugLogOutlet::level = 1;
    EtwLogOutlet::level = 1;
    EXPECT_EQ(Singleton<IConfig>::instanceOrNull(), nullptr);
  }

  void build(const std::string& logFile = "TPMEnrollmentService.log") {
    setup = std::make_unique<LogSetup>(logFile, "INFO", "TPMEnrollmentService.conf");
  }

  // The set-up stands, with this threshold, and its last line was `line`.
  void expectSetUp(int threshold, const std::string& line) {
    const LogRecorder log;
    EXPECT_NO_THROW(build());
    EXPECT_EQ(DebugLogOutlet::level, threshold);
    EXPECT_EQ(EtwLogOutlet::level, threshold);
    ASSERT_FALSE(log.texts().empty());
    EXPECT_EQ(log.texts().back(), line);
  }

  std::unique_ptr<LogSetup> setup;
};

TEST_F(LogSetupFaultTest, readsTheSettingWithoutAFault) {
  expectSetUp(3, "[INF] [TPM] reloadSettings ConfigMgmt::reloadSettings:\n  LogLevel=ERROR\n");
}

TEST_F(LogSetupFaultTest, fallsWhenTheSizeOfTheLogFileCannotBeRead) {
  faults().failOnce("FindFirstFileW", 5);
  EXPECT_EQ(thrownBy<Exception>([this] { build(); }),
            "getSize:Failed to read size of file: TPMEnrollmentService.log, error: 5");
}

TEST_F(LogSetupFaultTest, goesOnWhenASearchCannotBeEnded) {
  faults().failFrom("FindClose", 6);
  expectSetUp(3, "[INF] [TPM] reloadSettings ConfigMgmt::reloadSettings:\n  LogLevel=ERROR\n");
}

TEST_F(LogSetupFaultTest, takesAConfigurationThatIsNotFoundForMissing) {
  faults().failOnce("FindFirstFileW", 5, 2);
  expectSetUp(2, kMissing);
}

// Not a failure that the loading of a configuration expects: it ends the set-up.
TEST_F(LogSetupFaultTest, fallsWhenTheConfigurationVanishesWhileItIsRead) {
  faults().failOnce("FindFirstFileW", 5, 3);
  EXPECT_EQ(thrownBy<AssertException>([this] { build(); }), "File does not exist");
}

TEST_F(LogSetupFaultTest, takesTheDefaultsWhenTheSizeOfTheConfigurationCannotBeRead) {
  faults().failOnce("FindFirstFileW", 5, 4);
  expectSetUp(2, kCorrupted);
}

TEST_F(LogSetupFaultTest, takesTheDefaultsWhenTheConfigurationCannotBeOpened) {
  faults().failOnce("CreateFileW", 5);
  expectSetUp(2, kCorrupted);
}

TEST_F(LogSetupFaultTest, takesTheDefaultsWhenAccessToTheConfigurationIsDenied) {
  host::driveLimits().deny(kConfig);
  expectSetUp(2, kCorrupted);
}

TEST_F(LogSetupFaultTest, takesTheDefaultsWhenTheStartOfTheConfigurationCannotBeFound) {
  faults().failOnce("SetFilePointer", 87);
  expectSetUp(2, kCorrupted);
}

TEST_F(LogSetupFaultTest, takesTheDefaultsWhenTheConfigurationCannotBeRead) {
  faults().failOnce("ReadFile", 1117);
  expectSetUp(2, kCorrupted);
}

TEST_F(LogSetupFaultTest, takesTheDefaultsWhenTheConfigurationCannotBeClosed) {
  faults().failOnce("CloseHandle", 6);
  expectSetUp(2, kCorrupted);
}

// A folder has no content, so it reads as a configuration without settings.
TEST_F(LogSetupFaultTest, takesAFolderInThePlaceOfTheConfigurationForAnEmptyOne) {
  host::machine().drive.remove(kConfig);
  host::machine().drive.createFolder(kConfig);
  expectSetUp(2, "[INF] [TPM] reloadSettings ConfigMgmt::reloadSettings:\n");
}

TEST_F(LogSetupFaultTest, readsAReadOnlyConfiguration) {
  host::setReadOnly(host::machine().drive, kConfig, true);
  expectSetUp(3, "[INF] [TPM] reloadSettings ConfigMgmt::reloadSettings:\n  LogLevel=ERROR\n");
}

TEST_F(LogSetupFaultTest, goesOnWithAFolderInThePlaceOfTheLogFile) {
  host::machine().drive.createFolder(host::machine().currentDirectory +
                                     L"\\TPMEnrollmentService.log");
  EXPECT_NO_THROW(build());
}

TEST_F(LogSetupFaultTest, fallsWhenTheEnvironmentCannotBeRead) {
  faults().failOnce("_dupenv_s", 12);
  EXPECT_THROW(build(), Exception);
  EXPECT_TRUE(journal().calls("EventRegister").empty());
}

TEST_F(LogSetupFaultTest, looksForTheProviderUnderTheExactNameOfTheLogFile) {
  build("tpmenrollmentservice.log");
  EXPECT_TRUE(journal().calls("EventRegister").empty());
}

TEST_F(LogSetupFaultTest, keepsTheDriveUntouchedWhenItIsFull) {
  host::driveLimits().freeBytes = 0;
  build();
  EXPECT_TRUE(journal().calls("WriteFile").empty());
}

}  // namespace
