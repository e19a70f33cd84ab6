#include <cstring>

#include "VUSL/Support/Exception.h"
#include "service/TPMEnrollmentProcessException.h"
#include "tests/unit/runtime/Thrown.h"
#include "tests/unit/service/ServiceFixture.h"

namespace {

using TPMEnrollmentService::TPMEnrollment;
using TPMEnrollmentService::TPMEnrollmentProcessException;

const std::wstring kProgram = L"C:\\Orvix\\bin\\OrvixVTMEkRecertification.exe";

class RecertificationLaunchTest : public ServiceTest {
 protected:
  RecertificationLaunchTest() {
    host::machine().installStack(L"C:\\Orvix\\bin");
    host::machine().drive.copyIn(STANDINS_DIR "/OrvixVTMEkRecertification.exe", kProgram);
  }

  // A line of the launch at this level, with the object's address ahead of it.
  std::string line(const std::string& level, const std::string& text) const {
    std::ostringstream all;
    all << level << " [TPM] [0x" << std::hex << reinterpret_cast<std::uintptr_t>(&enrollment)
        << "] [RunVTMEKRecertification] " << text;
    return all.str();
  }

  TPMEnrollment enrollment;
};

TEST_F(RecertificationLaunchTest, startsTheProgramOfTheStacksDirectory) {
  enrollment.RunVTMEKRecertification();
  EXPECT_EQ(host::machine().programsStarted, std::vector<std::wstring>{kProgram});
}

TEST_F(RecertificationLaunchTest, givesTheProgramNothingButItsPath) {
  enrollment.RunVTMEKRecertification();
  EXPECT_EQ(journal().calls("CreateProcessW").at(0).args,
            "C:\\Orvix\\bin\\OrvixVTMEkRecertification.exe, null, null, null, 0, 0, null, null");
}

TEST_F(RecertificationLaunchTest, successIsLoggedWithTheObjectsAddress) {
  enrollment.RunVTMEKRecertification();
  EXPECT_EQ(log.texts().back(), line("[INF]", "OrvixVTMEKRecertification has been started."));
}

TEST_F(RecertificationLaunchTest, startupInfoIsClearedAndHasItsSizeAlone) {
  Peer::changeStartupInfo().dwFlags = 0x100;
  Peer::changeStartupInfo().wShowWindow = 3;
  STARTUPINFOW expected = {};
  expected.cb = 104;
  bool isSoAtTheStart = false;
  host::CallHooks::instance().before("CreateProcessW", 1, [&] {
    isSoAtTheStart = std::memcmp(&Peer::startupInfo(), &expected, sizeof(expected)) == 0;
  });
  enrollment.RunVTMEKRecertification();
  EXPECT_TRUE(isSoAtTheStart);
}

// The platform refuses a record whose size is wrong, so this one is what it was given.
TEST_F(RecertificationLaunchTest, startupInfoItselfIsWhatTheStartIsGiven) {
  host::CallHooks::instance().before("CreateProcessW", 1, [] { Peer::changeStartupInfo().cb = 0; });
  try {
    enrollment.RunVTMEKRecertification();
    FAIL() << "nothing was thrown";
  } catch (const TPMEnrollmentProcessException& failure) {
    EXPECT_EQ(failure.errorCode, 87U);
  }
}

TEST_F(RecertificationLaunchTest, processInformationIsClearedAtTheStartOfEachLaunch) {
  enrollment.RunVTMEKRecertification();
  ASSERT_NE(Peer::processInfo().hProcess, nullptr);
  PROCESS_INFORMATION atTheStart = Peer::processInfo();
  host::CallHooks::instance().before("CreateProcessW", 2,
                                     [&] { atTheStart = Peer::processInfo(); });
  faults().failOnce("CreateProcessW", 5);
  EXPECT_THROW(enrollment.RunVTMEKRecertification(), TPMEnrollmentProcessException);
  for (const PROCESS_INFORMATION& record : {atTheStart, Peer::processInfo()}) {
    EXPECT_EQ(record.hProcess, nullptr);
    EXPECT_EQ(record.hThread, nullptr);
    EXPECT_EQ(record.dwProcessId, 0U);
    EXPECT_EQ(record.dwThreadId, 0U);
  }
}

TEST_F(RecertificationLaunchTest, doesNotWaitForTheProgram) {
  journal().clear();
  enrollment.RunVTMEKRecertification();
  EXPECT_EQ(journal().namesOf({"WaitForSingleObject", "WaitForMultipleObjects", "Sleep"}), Texts{});
}

// Deliberate: the program is not watched, and its handles stay open.
TEST_F(RecertificationLaunchTest, handlesOfTheProgramStayOpen) {
  enrollment.RunVTMEKRecertification();
  EXPECT_EQ(ledger().open("process"), 1U);
  EXPECT_EQ(ledger().open("thread"), 1U);
}

TEST_F(RecertificationLaunchTest, secondLaunchStartsASecondChildAndLosesTheHandlesOfTheFirst) {
  enrollment.RunVTMEKRecertification();
  const HANDLE first = Peer::processInfo().hProcess;
  enrollment.RunVTMEKRecertification();
  EXPECT_EQ(host::machine().programsStarted.size(), 2U);
  EXPECT_NE(Peer::processInfo().hProcess, first);
  EXPECT_EQ(ledger().open("process"), 2U);
  EXPECT_EQ(ledger().open("thread"), 2U);
}

TEST_F(RecertificationLaunchTest, keyOfTheStackIsClosed) {
  enrollment.RunVTMEKRecertification();
  EXPECT_EQ(ledger().open("key"), 0U);
  EXPECT_EQ(ledger().violations(), Texts{});
}

TEST_F(RecertificationLaunchTest, keyOfTheStackIsClosedAlsoWhenTheStartFails) {
  faults().failOnce("CreateProcessW", 5);
  EXPECT_THROW(enrollment.RunVTMEKRecertification(), TPMEnrollmentProcessException);
  EXPECT_EQ(ledger().open("key"), 0U);
}

TEST_F(RecertificationLaunchTest, missingProgramIsLoggedAndThrownWithTheSystemsCode) {
  host::machine().drive.remove(kProgram);
  try {
    enrollment.RunVTMEKRecertification();
    FAIL() << "nothing was thrown";
  } catch (const TPMEnrollmentProcessException& failure) {
    EXPECT_EQ(failure.errorCode, 2U);
    EXPECT_STREQ(failure.what(), "Last error code: 2 : The system cannot find the file specified.");
  }
  EXPECT_EQ(log.texts().back(), line("[ERR]", "Cannot run OrvixVTMEKRecertification.exe process."));
}

TEST_F(RecertificationLaunchTest, refusedStartCarriesItsCode) {
  faults().failOnce("CreateProcessW", 740);
  try {
    enrollment.RunVTMEKRecertification();
    FAIL() << "nothing was thrown";
  } catch (const TPMEnrollmentProcessException& failure) {
    EXPECT_EQ(failure.errorCode, 740U);
  }
  EXPECT_FALSE(log.contains("has been started"));
}

// No look at the file is taken ahead of the start.
TEST_F(RecertificationLaunchTest, missingProgramIsFoundOutByTheStartItself) {
  host::machine().drive.remove(kProgram);
  EXPECT_THROW(enrollment.RunVTMEKRecertification(), TPMEnrollmentProcessException);
  ASSERT_EQ(journal().calls("CreateProcessW").size(), 1U);
  EXPECT_EQ(journal().calls("CreateProcessW")[0].lastError, 2U);
}

// Deliberate: the error is read after the line is written.
TEST_F(RecertificationLaunchTest, lastErrorThatTheLogLeavesIsTheOneThatIsThrown) {
  const LastErrorOutlet outlet(1234);
  faults().failOnce("CreateProcessW", 740);
  try {
    enrollment.RunVTMEKRecertification();
    FAIL() << "nothing was thrown";
  } catch (const TPMEnrollmentProcessException& failure) {
    EXPECT_EQ(failure.errorCode, 1234U);
  }
}

TEST_F(RecertificationLaunchTest, absentInstallDirectoryThrowsAndLogsNothingHere) {
  host::machine().registry.deleteValue(host::machine().devices.at(0).softwareKey + L"\\tALS Client",
                                       L"InstallDir64");
  EXPECT_EQ(thrownBy<Exception>([this] { enrollment.RunVTMEKRecertification(); }),
            "Cannot read tALS Client installation directory from registry.:");
  EXPECT_EQ(log.texts().back(), "[DBG] [TPM] GetValueString GetValueString failed.");
  EXPECT_FALSE(log.contains("[RunVTMEKRecertification]"));
  EXPECT_TRUE(journal().calls("CreateProcessW").empty());
}

TEST_F(RecertificationLaunchTest, installDirectoryThatCannotBeReadThrowsWhateverTheReason) {
  for (const unsigned query : {1U, 2U}) {
    for (const DWORD status : {2U, 5U, 8U, 234U, 1018U}) {
      faults().failOnce("RegQueryValueExW", status, query);
      EXPECT_EQ(thrownBy<Exception>([this] { enrollment.RunVTMEKRecertification(); }),
                "Cannot read tALS Client installation directory from registry.:")
          << status;
    }
  }
  EXPECT_TRUE(journal().calls("CreateProcessW").empty());
  EXPECT_EQ(ledger().open("key"), 0U);
}

TEST_F(RecertificationLaunchTest, missingStackThrowsWhatItsKeyThrows) {
  host::machine().devices.clear();
  EXPECT_EQ(thrownBy<Exception>([this] { enrollment.RunVTMEKRecertification(); }),
            "tals stack not installed");
}

// No check is made that the directory ends without a backslash.
TEST_F(RecertificationLaunchTest, directoryWithATrailingBackslashGivesTwo) {
  host::machine().registry.setText(host::machine().devices.at(0).softwareKey + L"\\tALS Client",
                                   L"InstallDir64", L"C:\\Orvix\\bin\\");
  enrollment.RunVTMEKRecertification();
  const std::string arguments = journal().calls("CreateProcessW").at(0).args;
  EXPECT_TRUE(arguments.starts_with("C:\\Orvix\\bin\\\\OrvixVTMEkRecertification.exe"))
      << arguments;
}

}  // namespace
