// What an odd install directory leads to, for those who take paths from it: the configuration
// directory, the client library and the recertification program.

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/MissingFileError.h"
#include "client/FileUtils.h"
#include "client/TalsClientLoader.h"
#include "service/TPMEnrollment.h"
#include "service/TPMEnrollmentProcessException.h"
#include "tests/unit/client/ClientTest.h"

namespace {

using client_test::argument;
using client_test::textThrownBy;
using talsUtils::FileUtils::getTalsDirectory;
using TPMEnrollmentService::TPMEnrollment;
using TPMEnrollmentService::TPMEnrollmentProcessException;

constexpr char kRefused[] = "Unicode installation path detected, terminating process.";

class InstallDirectoryTest : public host::MachineTest {
 protected:
  InstallDirectoryTest() { client_test::installClient(); }

  static void say(const std::wstring& directory) {
    host::machine().registry.setText(client_test::stackKeyPath(), L"InstallDir64", directory);
  }
  static std::string configurationDirectory() { return getTalsDirectory(1, 1); }
  static void load() { const TalsClientLoader loader(""); }

  TPMEnrollment enrollment;
};

TEST_F(InstallDirectoryTest, ATrailingBackslashIsKeptInEveryPath) {
  say(L"C:\\Program Files\\Orvix\\tALS Client\\");
  EXPECT_EQ(configurationDirectory(), "C:\\Program Files\\Orvix\\tALS Client\\\\..\\conf\\");
  load();
  EXPECT_EQ(argument(journal().calls("LoadLibraryExW").at(0), 0),
            "C:\\Program Files\\Orvix\\tALS Client\\\\talsClient");
  EXPECT_EQ(argument(journal().calls("LoadLibraryExW").at(1), 0),
            "C:\\Program Files\\Orvix\\tALS Client\\\\talsProxy");
}

TEST_F(InstallDirectoryTest, BlanksAtItsEndsAreKept) {
  say(L" C:\\a b ");
  EXPECT_EQ(configurationDirectory(), " C:\\a b \\..\\conf\\");
  textThrownBy<MissingFileError>(load);
  EXPECT_EQ(argument(journal().calls("LoadLibraryExW").at(0), 0), " C:\\a b \\talsClient");
  textThrownBy<TPMEnrollmentProcessException>([this] { enrollment.RunVTMEKRecertification(); });
  EXPECT_EQ(argument(journal().calls("CreateProcessW").at(0), 0),
            " C:\\a b \\OrvixVTMEkRecertification.exe");
}

TEST_F(InstallDirectoryTest, AnEmptyOneIsTakenAsItIs) {
  say(L"");
  EXPECT_EQ(configurationDirectory(), "\\..\\conf\\");
  textThrownBy<TPMEnrollmentProcessException>([this] { enrollment.RunVTMEKRecertification(); });
  EXPECT_EQ(argument(journal().calls("CreateProcessW").at(0), 0),
            "\\OrvixVTMEkRecertification.exe");
}

TEST_F(InstallDirectoryTest, OneOutsideTheNarrowSetIsRefusedByAllInTheSameWords) {
  say(L"C:\\Program Files\\\u0141\u00F3d\u017A");
  EXPECT_EQ(textThrownBy<Exception>([] { configurationDirectory(); }), kRefused);
  EXPECT_EQ(textThrownBy<Exception>(load), kRefused);
  EXPECT_EQ(textThrownBy<Exception>([this] { enrollment.RunVTMEKRecertification(); }), kRefused);
  EXPECT_EQ(journal().count("LoadLibraryExW"), 0U);
  EXPECT_EQ(journal().count("CreateProcessW"), 0U);
  EXPECT_EQ(ledger().open("key"), 0U);
  EXPECT_EQ(ledger().open("module"), 0U);
  EXPECT_EQ(ledger().open("allocation"), 0U);
}

TEST_F(InstallDirectoryTest, OneOf32000CharactersReachesThePlatformWhole) {
  const std::string directory = "C:\\" + std::string(31'997, 'd');
  say(host::toWide(directory));
  EXPECT_EQ(configurationDirectory(), directory + "\\..\\conf\\");
  EXPECT_EQ(textThrownBy<MissingFileError>(load), "Resource exception of type 250 was thrown");
  EXPECT_EQ(argument(journal().calls("LoadLibraryExW").at(0), 0), directory + "\\talsClient");
  EXPECT_EQ(
      textThrownBy<TPMEnrollmentProcessException>([this] { enrollment.RunVTMEKRecertification(); }),
      "Last error code: 3 : The system cannot find the path specified.");
  EXPECT_EQ(argument(journal().calls("CreateProcessW").at(0), 0),
            directory + "\\OrvixVTMEkRecertification.exe");
  EXPECT_EQ(ledger().open("key"), 0U);
  EXPECT_EQ(ledger().open("module"), 0U);
  EXPECT_EQ(ledger().open("allocation"), 0U);
}

TEST_F(InstallDirectoryTest, ANumberInItsPlaceIsReadAsAText) {
  host::machine().registry.setValue(client_test::stackKeyPath(), L"InstallDir64", REG_DWORD,
                                    std::string("A\0\0\0", 4));
  EXPECT_EQ(configurationDirectory(), "A\\..\\conf\\");
}

TEST_F(InstallDirectoryTest, EachFailureOfTheStartIsThrownWithItsCode) {
  for (const DWORD error : {2U, 3U, 5U, 8U, 14U, 193U, 206U, 216U, 740U, 1260U}) {
    faults().failOnce("CreateProcessW", error);
    try {
      enrollment.RunVTMEKRecertification();
      ADD_FAILURE() << "nothing was thrown for " << error;
    } catch (const TPMEnrollmentProcessException& failure) {
      EXPECT_EQ(failure.errorCode, error);
    }
  }
  EXPECT_TRUE(host::machine().programsStarted.empty());
}

}  // namespace
