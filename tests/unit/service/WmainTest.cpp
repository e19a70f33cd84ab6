#include <cwchar>
#include <iostream>
#include <stdexcept>

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/FileACLException.h"
#include "VUSL/Support/LogSink.h"
#include "tests/unit/service/ServiceFixture.h"

int wmain(int argc, wchar_t** argv);

namespace {

const wchar_t kUsage[] =
    L"Orvix TPM Enrollment Service [Version: 1.79.13.0]\n"
    L"\n"
    L"Usage: C:\\TPMEnrollmentService.exe parameter\n"
    L"\n"
    L"The following parameters are allowed:\n"
    L"    -help -- print this message\n";

const std::string kBanner = "[DBG] Orvix(R) TPM Enrollment Service [Version: 1.79.13.0]";

// The log set-up empties the sink's list of outlets, so what these tests see of the log is what
// reaches the listener of the debug output. Each test has a process of its own: the set-up is made
// once in a process.
class WmainTest : public ServiceTest {
 protected:
  WmainTest() : output(std::wcout) {
    installClient();
    writeConfiguration("LogLevel = DEBUG\n");
    host::machine().services.startedByManager = false;
  }

  static int run(std::vector<std::wstring> arguments) {
    arguments.insert(arguments.begin(), L"C:\\TPMEnrollmentService.exe");
    std::vector<wchar_t*> pointers;
    for (std::wstring& argument : arguments) pointers.push_back(argument.data());
    pointers.push_back(nullptr);
    return wmain(static_cast<int>(arguments.size()), pointers.data());
  }

  // The lines of the debug output from the process's own tag on, without the use-case text.
  static Texts lines() {
    const std::string tag = "TPMEnrollmentService: ";
    const std::string useCase = "[TPM] ";
    Texts all;
    for (const std::wstring& line : host::machine().debugOutput) {
      std::string text = host::toUtf8(line);
      text.erase(0, text.find(tag) + tag.size());
      const std::size_t at = text.find(useCase);
      if (at != std::string::npos) text.erase(at, useCase.size());
      while (text.ends_with('\n') || text.ends_with('\r')) text.pop_back();
      all.push_back(text);
    }
    return all;
  }
  static bool logged(const std::string& line) {
    for (const std::string& text : lines()) {
      if (text == line) return true;
    }
    return false;
  }

  WideCapture output;
};

TEST_F(WmainTest, noArgumentsFromAConsoleDropsPrivilegesAndPrintsTheUsage) {
  EXPECT_EQ(run({}), 0);
  const Texts all = lines();
  const auto banner = std::find(all.begin(), all.end(), kBanner);
  ASSERT_NE(banner, all.end());
  ASSERT_NE(banner + 1, all.end());
  EXPECT_EQ(banner[1], "[INF] Starting the service control dispatcher.");
  EXPECT_EQ(host::machine().token.privileges, std::set<std::wstring>{L"SeChangeNotifyPrivilege"});
  EXPECT_EQ(output.text(), kUsage);
}

TEST_F(WmainTest, helpPrintsTheUsageAndEntersNothing) {
  EXPECT_EQ(run({L"-help"}), 0);
  EXPECT_EQ(output.text(), kUsage);
  EXPECT_TRUE(logged(kBanner));
  EXPECT_TRUE(journal().calls("StartServiceCtrlDispatcherW").empty());
  EXPECT_TRUE(journal().calls("AdjustTokenPrivileges").empty());
}

TEST_F(WmainTest, helpIsTakenInAnyCase) {
  EXPECT_EQ(run({L"-HELP"}), 0);
  EXPECT_EQ(output.text(), kUsage);
  EXPECT_TRUE(journal().calls("StartServiceCtrlDispatcherW").empty());
}

// The same option twice is what two options of the group come to here: one record stands for it.
TEST_F(WmainTest, helpGivenTwicePrintsTheUsage) {
  EXPECT_EQ(run({L"-help", L"-help"}), 0);
  EXPECT_EQ(output.text(), kUsage);
  for (const std::string& line : lines()) {
    EXPECT_EQ(line.find("Error while parsing parameters"), std::string::npos) << line;
  }
}

// The parsing error is logged ahead of the banner.
TEST_F(WmainTest, questionMarkIsLoggedAsAParsingErrorAheadOfTheBanner) {
  EXPECT_EQ(run({L"-?"}), 0);
  const Texts all = lines();
  ASSERT_GE(all.size(), 2U);
  EXPECT_EQ(all[all.size() - 2],
            "[ERR] Error while parsing parameters: Resource exception of type 259 was thrown");
  EXPECT_EQ(all.back(), kBanner);
  EXPECT_EQ(output.text(), kUsage);
  EXPECT_TRUE(journal().calls("StartServiceCtrlDispatcherW").empty());
}

TEST_F(WmainTest, unknownParameterIsNotLoggedAndPrintsTheUsage) {
  EXPECT_EQ(run({L"-nothing"}), 0);
  EXPECT_EQ(lines().back(), kBanner);
  for (const std::string& line : lines()) EXPECT_EQ(line.find("[ERR]"), std::string::npos) << line;
  EXPECT_EQ(output.text(), kUsage);
  EXPECT_TRUE(journal().calls("StartServiceCtrlDispatcherW").empty());
}

TEST_F(WmainTest, argumentWithoutAPrefixPrintsTheUsage) {
  EXPECT_EQ(run({L"help"}), 0);
  EXPECT_EQ(output.text(), kUsage);
}

TEST_F(WmainTest, argumentsOfAnyNumberAndSizePrintTheUsage) {
  const std::vector<std::vector<std::wstring>> commandLines = {
      {L""},
      {L"-help", L""},
      {L"-"},
      std::vector<std::wstring>(10000, L"-help"),
      std::vector<std::wstring>(10000),
      {std::wstring(1U << 20U, L'x')},
      {L"-" + std::wstring(1U << 20U, L'x')},
      {L"-gr\u00FC\u00DFe"}};
  std::wstring expected;
  for (const std::vector<std::wstring>& arguments : commandLines) {
    EXPECT_EQ(run(arguments), 0);
    expected += kUsage;
    EXPECT_EQ(output.text(), expected);
  }
  for (const std::string& line : lines()) EXPECT_EQ(line.find("[ERR]"), std::string::npos) << line;
  EXPECT_TRUE(journal().calls("StartServiceCtrlDispatcherW").empty());
}

TEST_F(WmainTest, startedByTheServiceManagerItServesAndPrintsNothing) {
  host::machine().services.startedByManager = true;
  EXPECT_EQ(run({}), 0);
  EXPECT_EQ(output.text(), L"");
  EXPECT_EQ(host::machine().services.statuses.back().dwCurrentState, SERVICE_STOPPED);
}

// By the log set-up, whose path has two separators in a row, and by the enrollment.
TEST_F(WmainTest, configurationIsReadTwiceInALife) {
  host::machine().services.startedByManager = true;
  EXPECT_EQ(run({}), 0);
  Texts opened;
  for (const host::JournalEntry& entry : journal().calls("CreateFileW")) {
    opened.push_back(entry.args.substr(0, entry.args.find(',')));
  }
  EXPECT_EQ(opened, (Texts{"C:\\Orvix\\bin\\..\\conf\\\\TPMEnrollmentService.conf",
                           "C:\\Orvix\\bin\\..\\conf\\TPMEnrollmentService.conf"}));
}

TEST_F(WmainTest, failureOfTheDispatcherIsFatal) {
  faults().failOnce("StartServiceCtrlDispatcherW", 1056);
  EXPECT_EQ(run({}), -1);
  const Texts all = lines();
  ASSERT_GE(all.size(), 2U);
  EXPECT_EQ(all[all.size() - 2], "[FTL] Service did not start. (1056) Examine log for details");
  EXPECT_EQ(all.back(), "[FTL] Exception ocurred: ");
  EXPECT_EQ(output.text(), L"");
}

TEST_F(WmainTest, exceptionOfTheStandardLibraryIsFatalInTheSameWords) {
  host::CallHooks::instance().before("StartServiceCtrlDispatcherW", 1,
                                     [] { throw std::runtime_error("text"); });
  EXPECT_EQ(run({}), -1);
  EXPECT_EQ(lines().back(), "[FTL] Exception ocurred: text");
}

TEST_F(WmainTest, exhaustedHeapInTheHardeningIsFatal) {
  host::CallHooks::instance().before("LookupPrivilegeValueW", 1,
                                     [] { faults().failOnce("HeapAlloc", 8); });
  EXPECT_EQ(run({}), -1);
  EXPECT_EQ(lines().back(), "[FTL] Exception ocurred: Failed to alloc memory for drop privileges");
}

TEST_F(WmainTest, anythingElseIsAnUnrecognizedFatalError) {
  host::CallHooks::instance().before("StartServiceCtrlDispatcherW", 1, [] { throw 1; });
  EXPECT_EQ(run({}), -1);
  EXPECT_EQ(lines().back(), "[FTL] Unrecognized fatal error ocurred");
}

// The log set-up. Its registration with the trace sessions is made to go wrong.

TEST_F(WmainTest, fileAclFailureOfTheLogSetUpIsForgivenWithoutAWord) {
  host::CallHooks::instance().before("EventRegister", 1, [] { throw FileACLException("here"); });
  EXPECT_EQ(run({L"-help"}), 0);
  EXPECT_EQ(output.text(), kUsage);
  EXPECT_EQ(lines(), Texts{});
}

TEST_F(WmainTest, exceptionOfTheLogSetUpEndsTheProgramWithoutAWord) {
  host::CallHooks::instance().before("EventRegister", 1, [] { throw Exception("here") << "text"; });
  EXPECT_EQ(run({L"-help"}), -1);
  EXPECT_EQ(output.text(), L"");
  EXPECT_EQ(lines(), Texts{});
}

// What a refused registration throws is a pointer, and no clause for an Exception sees it.
TEST_F(WmainTest, pointerOfTheLogSetUpEndsTheProgramWithoutAWord) {
  static Exception refused("here");
  host::CallHooks::instance().before("EventRegister", 1, [] { throw &refused; });
  EXPECT_EQ(run({L"-help"}), -1);
  EXPECT_EQ(output.text(), L"");
  EXPECT_EQ(lines(), Texts{});
}

TEST_F(WmainTest, defaultLevelWithoutASettingIsInfo) {
  writeConfiguration("");
  EXPECT_EQ(run({}), 0);
  EXPECT_EQ(lines(), Texts{"[INF] Starting the service control dispatcher."});
}

TEST_F(WmainTest, anythingElseOfTheLogSetUpEndsTheProgramWithoutAWord) {
  host::CallHooks::instance().before("EventRegister", 1, [] { throw 1; });
  EXPECT_EQ(run({L"-help"}), -1);
  EXPECT_EQ(output.text(), L"");
}

TEST_F(WmainTest, unknownConfigurationDirectoryEndsTheProgramWithoutAWord) {
  host::machine().devices.clear();
  EXPECT_EQ(run({}), -1);
  EXPECT_EQ(output.text(), L"");
  EXPECT_EQ(lines(), Texts{});
  EXPECT_TRUE(journal().calls("StartServiceCtrlDispatcherW").empty());
}

TEST_F(WmainTest, logSetUpComesAheadOfThePrivileges) {
  EXPECT_EQ(run({}), 0);
  const Texts calls = journal().namesOf({"EventRegister", "AdjustTokenPrivileges"});
  EXPECT_EQ(calls, (Texts{"EventRegister", "AdjustTokenPrivileges"}));
}

}  // namespace
