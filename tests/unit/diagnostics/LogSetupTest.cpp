#include "VUSL/Support/LogSetup.h"

#include <algorithm>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "VUSL/Support/ConfigMemory.h"
#include "VUSL/Support/ConsoleLogOutlet.h"
#include "VUSL/Support/Exception.h"
#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/LogSink.h"
#include "VUSL/Support/Singleton.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/MachineTest.h"
#include "tests/support/NullPointerEnd.h"
#include "tests/unit/diagnostics/RecordingOutlet.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

using Texts = std::vector<std::string>;

constexpr GUID kServiceProvider = {
    0x590DE0FF, 0xDC7D, 0x4731, {0xAC, 0x4F, 0xA9, 0x61, 0xAF, 0x00, 0xE9, 0xDA}};

std::vector<host::TraceEvent> traceEvents() {
  return host::machine().trace.received("session");
}

class LogSetupTest : public host::MachineTest {
 protected:
  LogSetupTest() {
    host::machine().environment[L"TALS_CONFDIR_PATH"] = L"C:\\conf";
    host::machine().trace.enable("session", kServiceProvider);
  }
  ~LogSetupTest() override {
    setup.reset();
    LogSink::process().detachAll();
    DebugLogOutlet::level = 1;
    EtwLogOutlet::level = 1;
  }

  static void configure(const std::string& content) {
    host::machine().drive.write(L"C:\\conf\\TPMEnrollmentService.conf", content);
  }

  void build(const std::string& logFile = "TPMEnrollmentService.log") {
    setup = std::make_unique<LogSetup>(logFile, "INFO", "TPMEnrollmentService.conf");
  }

  // The texts of the debug output without the stamp and the tag.
  static Texts debugOutput() {
    const std::wstring tag = L"TPMEnrollmentService: ";
    Texts texts;
    for (const std::wstring& line : host::machine().debugOutput) {
      texts.push_back(vusl::Narrow(line.substr(line.find(tag) + tag.size())));
    }
    return texts;
  }

  static void logEachLevel() {
    LogItem().debug() << "d";
    LogItem().info() << "i";
    LogItem().error() << "e";
    LogItem().fatal() << "f";
  }

  std::unique_ptr<LogSetup> setup;
};

TEST_F(LogSetupTest, parsesTheWordsOfLevels) {
  EXPECT_EQ(LogSetup::parseLogLevel("DEBUG"), 1);
  EXPECT_EQ(LogSetup::parseLogLevel("INFO"), 2);
  EXPECT_EQ(LogSetup::parseLogLevel("ERROR"), 3);
  EXPECT_EQ(LogSetup::parseLogLevel("FATAL"), 4);
}

TEST_F(LogSetupTest, parsesAnythingElseAsSilence) {
  for (const char* word : {"NONE", "none", "debug", "Info", "VERBOSE", "", " INFO"}) {
    EXPECT_EQ(LogSetup::parseLogLevel(word), 5) << word;
  }
}

TEST_F(LogSetupTest, listsTheAllowedWordsInOrder) {
  EXPECT_EQ(LogSetup::logLevelNames(),
            (std::list<std::string>{"DEBUG", "ERROR", "FATAL", "INFO", "NONE"}));
}

TEST_F(LogSetupTest, logsThePathWithTwoSeparatorsInARowAndGoesOnWithoutAFile) {
  const LogRecorder log;
  build();
  EXPECT_EQ(log.withoutAddresses(),
            (Texts{"[INF] [TPM] Reading config from file: C:\\conf\\\\TPMEnrollmentService.conf",
                   "[DBG] [TPM] ConfigMgmt constructor entry",
                   "[DBG] [TPM] [0x] Starting reading config file: "
                   "C:\\conf\\\\TPMEnrollmentService.conf",
                   "[DBG] [TPM] [0x] Could not open config file: "
                   "C:\\conf\\\\TPMEnrollmentService.conf",
                   "[DBG] [TPM] Default values will be used."}));
}

TEST_F(LogSetupTest, tracesTheReadingOfTheFile) {
  configure("LogLevel = \"ERROR\"\n");
  const LogRecorder log;
  build();
  EXPECT_TRUE(log.contains("ConfigMgmt constructor entry"));
  EXPECT_TRUE(log.contains("LogLevel=ERROR"));
}

TEST_F(LogSetupTest, goesOnWithDefaultsWhenTheFileIsBroken) {
  configure("no setting\n");
  const LogRecorder log;
  build();
  EXPECT_EQ(log.texts().back(), "[ERR] [TPM] Corrupted config. Default values will be used.");
  EXPECT_EQ(DebugLogOutlet::level, 2);
}

TEST_F(LogSetupTest, doesNotLookAtTheVariableOfTheServicesOwnFile) {
  host::machine().environment[L"TALS_TPM_ENROLLMENT_SERVICE_CONF_PATH"] = L"C:\\other.conf";
  host::machine().drive.write(L"C:\\other.conf", "LogLevel = \"FATAL\"\n");
  build();
  EXPECT_EQ(DebugLogOutlet::level, 2);
}

TEST_F(LogSetupTest, fallsWhenTheDirectoryCannotBeFound) {
  host::machine().environment.clear();
  EXPECT_THROW(build(), Exception);
  EXPECT_TRUE(journal().calls("EventRegister").empty());
}

TEST_F(LogSetupTest, takesTheGivenLevelWithoutASetting) {
  build();
  EXPECT_EQ(DebugLogOutlet::level, 2);
  EXPECT_EQ(EtwLogOutlet::level, 2);
}

TEST_F(LogSetupTest, takesTheLevelOfTheSetting) {
  configure("LogLevel = \"ERROR\"\n");
  build();
  EXPECT_EQ(DebugLogOutlet::level, 3);
  EXPECT_EQ(EtwLogOutlet::level, 3);
}

TEST_F(LogSetupTest, readsTheFileOfTheGivenName) {
  configure("LogLevel = \"ERROR\"\n");
  host::machine().drive.write(L"C:\\conf\\other.conf", "LogLevel = \"FATAL\"\n");
  setup = std::make_unique<LogSetup>("TPMEnrollmentService.log", "INFO", "other.conf");
  EXPECT_EQ(DebugLogOutlet::level, 4);
}

TEST_F(LogSetupTest, dropsEveryItemWhenTheSettingIsNone) {
  configure("LogLevel = \"NONE\"\n");
  build();
  logEachLevel();
  EXPECT_TRUE(host::machine().debugOutput.empty());
  EXPECT_TRUE(traceEvents().empty());
}

TEST_F(LogSetupTest, dropsEveryItemWhenTheSettingIsNoneInLowerCase) {
  configure("LogLevel = \"none\"\n");
  build();
  logEachLevel();
  EXPECT_TRUE(host::machine().debugOutput.empty());
  EXPECT_TRUE(traceEvents().empty());
}

TEST_F(LogSetupTest, isSilencedByAnUnknownWordAndNotByItsAbsence) {
  configure("LogLevel = \"VERBOSE\"\n");
  build();
  EXPECT_EQ(DebugLogOutlet::level, 5);
}

TEST_F(LogSetupTest, isSilencedByALevelInLowerCase) {
  configure("LogLevel = \"info\"\n");
  build();
  EXPECT_EQ(DebugLogOutlet::level, 5);
  EXPECT_EQ(EtwLogOutlet::level, 5);
}

TEST_F(LogSetupTest, reachesTheDebugOutputFromTheThresholdOn) {
  build();
  logEachLevel();
  EXPECT_EQ(debugOutput(), (Texts{"[INF] [TPM] i\r\n", "[ERR] [TPM] e\r\n", "[FTL] [TPM] f\r\n"}));
}

TEST_F(LogSetupTest, writesALineAsItReads) {
  build();
  host::machine().setLocalTime(2026, 1, 2, 3, 4, 5, 6);
  LogItem().info() << "Service started.";
  ASSERT_EQ(host::machine().debugOutput.size(), 1U);
  const std::string line = vusl::Narrow(host::machine().debugOutput[0]);
  EXPECT_EQ(line.substr(0, 24), "2026-01-02 03:04:05:006 ");
  EXPECT_EQ(line.substr(40), " TPMEnrollmentService: [INF] [TPM] Service started.\r\n");
}

TEST_F(LogSetupTest, reachesTheTraceFromTheThresholdOn) {
  build();
  logEachLevel();
  EXPECT_EQ(traceEvents().size(), 3U);
}

TEST_F(LogSetupTest, deliversToTheDebugOutputBeforeTheTrace) {
  build();
  LogItem().info() << "i";
  EXPECT_EQ(journal().namesOf({"OutputDebugStringW", "EventWriteTransfer"}),
            (Texts{"OutputDebugStringW", "EventWriteTransfer"}));
}

TEST_F(LogSetupTest, registersTheProviderOfTheService) {
  build();
  ASSERT_EQ(host::machine().trace.providers.size(), 1U);
  EXPECT_EQ(host::machine().trace.providers[0].traits,
            std::string("\x17\0TPMEnrollmentService\0", 23));
  EXPECT_EQ(host::machine().trace.providers[0].guid.Data1, 0x590DE0FFU);
}

TEST_F(LogSetupTest, registersTheProviderOfTheRecertification) {
  build("OrvixVTMEKRecertification.log");
  ASSERT_EQ(host::machine().trace.providers.size(), 1U);
  EXPECT_EQ(host::machine().trace.providers[0].guid.Data1, 0xF33E9E07U);
}

TEST_F(LogSetupTest, registersNoProviderForAnotherName) {
  build("other.log");
  EXPECT_TRUE(journal().calls("EventRegister").empty());
}

TEST_F(LogSetupTest, faultsAtTheFirstLineWithoutAProvider) {
  build("other.log");
  EXPECT_EXIT(LogItem().fatal() << "a", usedANullPointer, "");
}

TEST_F(LogSetupTest, emptiesTheSinkFirst) {
  const LogRecorder log;
  build();
  const size_t recorded = log.texts().size();
  LogItem().fatal() << "a";
  EXPECT_EQ(log.texts().size(), recorded);
}

TEST_F(LogSetupTest, throwsAPointerBetweenTheTwoOutletsWhenTheProviderIsRefused) {
  faults().failOnce("EventRegister", 8);
  std::unique_ptr<Exception> thrown;
  try {
    build();
  } catch (Exception* exception) {
    thrown.reset(exception);
  }
  ASSERT_NE(thrown, nullptr);
  EXPECT_STREQ(thrown->what(), "TraceLoggingRegister failed:");
  EXPECT_EQ(DebugLogOutlet::level, 2);
  EXPECT_EQ(EtwLogOutlet::level, 1);
}

TEST_F(LogSetupTest, leavesNoOutletAttachedWhenItFails) {
  faults().failOnce("EventRegister", 8);
  try {
    build();
  } catch (const Exception* exception) {
    delete exception;
  }
  LogItem().fatal() << "a";
  EXPECT_TRUE(host::machine().debugOutput.empty());
}

TEST_F(LogSetupTest, writesNoLogFile) {
  build();
  logEachLevel();
  EXPECT_TRUE(journal().calls("CreateFileW").empty());
  EXPECT_TRUE(journal().calls("WriteFile").empty());
}

TEST_F(LogSetupTest, leavesTheThresholdOfTheFileOutletAlone) {
  configure("LogLevel = \"FATAL\"\n");
  build();
  EXPECT_EQ(RollingDateFileLogOutlet::level, 1);
}

TEST_F(LogSetupTest, readsThePresentSizeOfTheLogFileByItsBareNameFirst) {
  build();
  const auto searches = journal().calls("FindFirstFileW");
  ASSERT_FALSE(searches.empty());
  EXPECT_EQ(searches[0].args.substr(0, 24), "TPMEnrollmentService.log");
}

TEST_F(LogSetupTest, fallsWhenTheSizeOfTheLogFileCannotBeRead) {
  faults().failOnce("FindFirstFileW", 5);
  EXPECT_EQ(thrownBy<Exception>([this] { build(); }),
            "getSize:Failed to read size of file: TPMEnrollmentService.log, error: 5");
}

TEST_F(LogSetupTest, attachesNothingToTheConsoleChannel) {
  build();
  const size_t before = host::machine().debugOutput.size();
  LogSink::process().log(L"text", 4, 0);
  EXPECT_EQ(host::machine().debugOutput.size(), before);
  EXPECT_TRUE(traceEvents().empty());
}

TEST_F(LogSetupTest, withdrawsItsSettingsAgain) {
  build();
  EXPECT_EQ(Singleton<IConfig>::instanceOrNull(), nullptr);
}

TEST_F(LogSetupTest, withdrawsItsSettingsAlsoWhenItFails) {
  faults().failOnce("EventRegister", 8);
  try {
    build();
  } catch (const Exception* exception) {
    delete exception;
  }
  EXPECT_EQ(Singleton<IConfig>::instanceOrNull(), nullptr);
}

TEST_F(LogSetupTest, fallsWhenSettingsArePublishedAlready) {
  ConfigMemory other;
  const Singleton<IConfig> published(&other);
  EXPECT_EQ(thrownBy<Exception>([this] { build(); }), "Singleton:instance already set");
  EXPECT_EQ(Singleton<IConfig>::getInstance(), &other);
}

TEST_F(LogSetupTest, isNotDisturbedByLimitsThatAreNoNumbers) {
  configure("MaxFileSize = \"abc\"\nMaxArchiveNumber = \"\"\nLogLevel = \"FATAL\"\n");
  build();
  EXPECT_EQ(DebugLogOutlet::level, 4);
}

TEST_F(LogSetupTest, unregistersTheProviderAndEmptiesTheSinkWhenItGoes) {
  build();
  setup.reset();
  LogItem().fatal() << "a";
  EXPECT_EQ(journal().calls("EventUnregister").size(), 1U);
  EXPECT_TRUE(host::machine().debugOutput.empty());
}

TEST_F(LogSetupTest, unregistersTheProviderBeforeItEmptiesTheSink) {
  build();
  host::CallHooks::instance().before("EventUnregister", 1, [] { LogItem().fatal() << "still"; });
  setup.reset();
  EXPECT_EQ(debugOutput(), Texts{"[FTL] [TPM] still\r\n"});
}

TEST_F(LogSetupTest, canBeMadeAgainAfterItHasGone) {
  build();
  setup.reset();
  EXPECT_NO_THROW(build());
}

TEST_F(LogSetupTest, isMadeOnTheNextCallWhenTheFirstFailed) {
  host::machine().environment.clear();
  EXPECT_THROW(LogSetup::instance("TPMEnrollmentService.log", "ERROR", "TPMEnrollmentService.conf"),
               Exception);
  host::machine().environment[L"TALS_CONFDIR_PATH"] = L"C:\\conf";
  LogSetup::instance("TPMEnrollmentService.log", "FATAL", "TPMEnrollmentService.conf");
  EXPECT_EQ(DebugLogOutlet::level, 4);
}

TEST_F(LogSetupTest, isMadeOnTheFirstCallOnly) {
  LogSetup& first =
      LogSetup::instance("TPMEnrollmentService.log", "ERROR", "TPMEnrollmentService.conf");
  LogSetup& second = LogSetup::instance("other.log", "DEBUG", "other.conf");
  EXPECT_EQ(&first, &second);
  EXPECT_EQ(DebugLogOutlet::level, 3);
  EXPECT_EQ(journal().calls("EventRegister").size(), 1U);
}

}  // namespace
