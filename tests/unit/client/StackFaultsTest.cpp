// Each platform call on the way to the client stack, failed with each error that it may well have.

#include <string>
#include <vector>

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/MissingFileError.h"
#include "VUSL/Support/SysException.h"
#include "VUSL/Support/win32/SOloader.h"
#include "client/ErrorString.h"
#include "client/FileUtils.h"
#include "client/HKeyContainer.h"
#include "client/IntegrityLevel.h"
#include "tests/unit/client/ClientTest.h"

namespace {

using client_test::Texts;
using client_test::textThrownBy;

constexpr char kDevice[] =
    "[DBG] [TPM] Current device: SWC\\PROVIDER_ORVIX_COMPONENT_TALSCLIENT\\7&1A2B3C4D&0&0";
constexpr char kNotFound[] =
    "[DBG] [TPM] Device 'SWC\\PROVIDER_ORVIX_COMPONENT_TALSCLIENT' has not been found";
constexpr char kMatched[] = "[DBG] [TPM] Registry found for matched device.";
constexpr char kObtained[] =
    "[DBG] [TPM] HKeyContainer Registry entry for device SWC\\PROVIDER_ORVIX_COMPONENT_TALSCLIENT "
    "has been obtained";
constexpr char kListFailed[] = "[ERR] [TPM] GetDeviceHKEY GetDeviceList failed";

class StackFaultsTest : public host::MachineTest {
 protected:
  // Builds a key container once for each status that the call answers with. Each ends as a stack
  // that is not installed, logs `lines` with the status in place of "#", and leaves nothing behind.
  static void expectNotInstalled(const std::string& call, const std::vector<DWORD>& statuses,
                                 const Texts& lines) {
    client_test::installClient();
    for (const DWORD status : statuses) {
      SCOPED_TRACE(call + " answers " + std::to_string(status));
      faults().failOnce(call, status);
      SetLastError(77);
      const LogRecorder log;
      EXPECT_EQ(textThrownBy<Exception>([] { const HKeyContainer stack(1); }),
                "tals stack not installed");
      Texts expected = lines;
      for (std::string& line : expected) {
        if (line.ends_with('#')) line.replace(line.size() - 1, 1, std::to_string(status));
      }
      EXPECT_EQ(log.texts(), expected);
      EXPECT_TRUE(ledger().stillOpen().empty());
    }
    EXPECT_EQ(ledger().violations(), Texts{});
  }

  static std::string directoryFailure(std::uint32_t type) {
    return textThrownBy<Exception>([type] { talsUtils::FileUtils::getTalsDirectory(type, 1); });
  }
};

TEST_F(StackFaultsTest, TheListsSize) {
  expectNotInstalled("CM_Get_Device_ID_List_SizeW", {2, 3, 4, 19, 29, 31, 32, 45, 47, 51},
                     {"[ERR] [TPM] GetDeviceList CM_Get_Device_ID_List_Size failed with status = "
                      "77 for a #",
                      kListFailed});
}

TEST_F(StackFaultsTest, TheList) {
  expectNotInstalled(
      "CM_Get_Device_ID_ListW", {2, 3, 4, 19, 26, 29, 31, 32, 45, 47, 51},
      {"[ERR] [TPM] CM_Get_Device_ID_List failed with status = 77 for a #", kListFailed});
}

TEST_F(StackFaultsTest, TheNode) {
  expectNotInstalled(
      "CM_Locate_DevNodeW", {2, 3, 5, 13, 19, 30, 31, 45, 47, 51},
      {kDevice, "[INF] [TPM] CM_Locate_DevNode failed with status = 77 for a #", kNotFound});
}

TEST_F(StackFaultsTest, TheHardwareIds) {
  expectNotInstalled(
      "CM_Get_DevNode_Registry_PropertyW", {2, 3, 5, 19, 26, 29, 37, 53, 51},
      {kDevice, "[INF] [TPM] GetDeviceHardwareID failed with status = 77 for a #", kNotFound});
}

TEST_F(StackFaultsTest, TheDevicesKey) {
  expectNotInstalled("CM_Open_DevNode_Key", {2, 5, 19, 29, 46, 48, 51},
                     {kDevice, "[ERR] [TPM] CM_Open_DevNode_Key failed with status = 77 for a #"});
}

TEST_F(StackFaultsTest, TheSubkeyAtBothTries) {
  client_test::installClient();
  for (const DWORD status : {2U, 5U, 6U, 8U, 1018U, 1450U}) {
    faults().clear();
    faults().failFrom("RegOpenKeyExW", status);
    const LogRecorder log;
    EXPECT_EQ(textThrownBy<Exception>([] { const HKeyContainer stack(1); }),
              "tals stack not installed");
    EXPECT_EQ(log.texts(), (Texts{kDevice, kMatched, kObtained,
                                  "[ERR] [TPM] Couldn't find <tALS Client> in device registry."}));
    EXPECT_TRUE(ledger().stillOpen().empty()) << status;
  }
}

TEST_F(StackFaultsTest, TheSubkeyAtTheFirstTryAlone) {
  client_test::installClient();
  for (const DWORD status : {2U, 5U, 6U, 8U, 1018U, 1450U}) {
    faults().failOnce("RegOpenKeyExW", status);
    const LogRecorder log;
    EXPECT_NO_THROW({ const HKeyContainer stack(1); }) << status;
    EXPECT_EQ(log.texts(), (Texts{kDevice, kMatched, kObtained}));
    EXPECT_TRUE(ledger().stillOpen().empty()) << status;
  }
}

// Whether something could be given back is not looked at.
TEST_F(StackFaultsTest, WhatGivesBack) {
  client_test::installClient();
  for (const char* const call : {"HeapFree", "RegCloseKey"}) {
    faults().failOnce(call, 6);
    EXPECT_NO_THROW({ const HKeyContainer stack(1); }) << call;
  }
}

TEST_F(StackFaultsTest, TheInstallDirectoryOfTheConfigurationDirectory) {
  client_test::installClient();
  for (const unsigned query : {1U, 2U}) {
    for (const DWORD status : {2U, 5U, 8U, 1018U, 1450U}) {
      faults().failOnce("RegQueryValueExW", status, query);
      EXPECT_EQ(directoryFailure(1),
                "Cannot read tALS Client installation directory from registry.");
      EXPECT_TRUE(ledger().stillOpen().empty()) << status;
    }
  }
}

TEST_F(StackFaultsTest, TheKnownFolder) {
  for (const DWORD result :
       {0x80004005U, 0x80070002U, 0x80070003U, 0x80070005U, 0x8007000EU, 0x80070057U}) {
    faults().failOnce("SHGetKnownFolderPath", result);
    EXPECT_EQ(directoryFailure(0), "unable to determine path for given KNOWNFOLDERID");
    EXPECT_TRUE(ledger().stillOpen().empty()) << result;
  }
}

TEST_F(StackFaultsTest, TheVariableCountsAsAbsent) {
  host::machine().environment[L"TALS_CONFDIR_PATH"] = L"D:\\conf";
  host::machine().installStack(L"C:\\a\\b");
  for (const DWORD error : {12U, 22U}) {
    faults().failOnce("_dupenv_s", error);
    EXPECT_EQ(talsUtils::FileUtils::getTalsDirectory(1, 1), "C:\\a\\b\\..\\conf\\");
  }
}

TEST_F(StackFaultsTest, TheProcesssToken) {
  for (const DWORD error : {6U, 8U, 87U, 1008U}) {
    faults().failOnce("FormatMessageW", 317);
    faults().failOnce("OpenProcessToken", error);
    const LogRecorder log;
    EXPECT_FALSE(IsLowIntegrityLevel());
    EXPECT_EQ(log.texts(),
              (Texts{"[ERR] [TPM] Error while opening process token: Error " +
                         std::to_string(error) + "(no message found)",
                     "[ERR] [TPM] IsLowIntegrityLevel Cannot determine integrity level. Assuming "
                     "that process isn't running in low level integrity."}));
  }
}

TEST_F(StackFaultsTest, TheLabelsSize) {
  for (const DWORD error : {6U, 24U, 50U, 87U}) {
    faults().failOnce("FormatMessageW", 317);
    faults().failOnce("GetTokenInformation", error);
    const LogRecorder log;
    EXPECT_FALSE(IsLowIntegrityLevel());
    EXPECT_EQ(log.texts().at(0),
              "[ERR] [TPM] Error while retrieving TokenIntegrityLevel. This behaviour is expected "
              "for WinXP. Error: Error " +
                  std::to_string(error) + "(no message found)");
    EXPECT_EQ(ledger().open("token"), 0U);
  }
}

// 122 is no size here: the buffer was as large as the first query told.
TEST_F(StackFaultsTest, TheLabel) {
  for (const DWORD error : {6U, 24U, 87U, 122U}) {
    faults().failOnce("FormatMessageW", 317);
    faults().failOnce("GetTokenInformation", error, 2);
    const LogRecorder log;
    EXPECT_FALSE(IsLowIntegrityLevel());
    EXPECT_EQ(log.texts().at(0), "[ERR] [TPM] Error while retrieving integrity token: Error " +
                                     std::to_string(error) + "(no message found)");
    EXPECT_EQ(ledger().open("token"), 0U);
  }
}

TEST_F(StackFaultsTest, TheClosingOfTheToken) {
  host::machine().token.integrityLevel = 0x1000;
  faults().failOnce("CloseHandle", 6);
  EXPECT_TRUE(IsLowIntegrityLevel());
}

TEST_F(StackFaultsTest, TheSystemsText) {
  for (const DWORD error : {8U, 87U, 317U, 1815U, 15100U}) {
    faults().failOnce("FormatMessageW", error);
    const LogRecorder log;
    EXPECT_EQ(GetErrorString(5), "Error 5(no message found)");
    EXPECT_EQ(log.texts(), Texts{});
  }
}

TEST_F(StackFaultsTest, TheLibrary) {
  client_test::copyLibrary("talsClient.dll", L"C:\\lib\\talsClient.dll");
  for (const DWORD error : {2U, 3U, 5U, 8U, 14U, 126U, 127U, 193U, 206U, 1114U, 1157U}) {
    faults().failOnce("LoadLibraryExW", error);
    const LogRecorder log;
    EXPECT_EQ(
        textThrownBy<MissingFileError>([] { const SOloader loader(L"talsClient", L"C:\\lib"); }),
        "Resource exception of type 250 was thrown");
    EXPECT_EQ(log.withoutAddresses().back(),
              "[DBG] [TPM] [0x] Failed to load a library. Name= C:\\lib\\talsClient. Error= " +
                  std::to_string(error));
  }
}

TEST_F(StackFaultsTest, TheLibraryWithoutADirectory) {
  for (const DWORD error : {2U, 5U, 8U, 126U, 193U, 1114U}) {
    faults().failOnce("LoadLibraryW", error);
    const LogRecorder log;
    EXPECT_EQ(textThrownBy<MissingFileError>([] { const SOloader loader(L"talsClient", L""); }),
              "Resource exception of type 250 was thrown");
    EXPECT_EQ(log.withoutAddresses(),
              Texts{"[DBG] [TPM] [0x] Failed to load a library. Name= talsClient. Error= " +
                    std::to_string(error)});
  }
}

TEST_F(StackFaultsTest, TheProcedure) {
  client_test::copyLibrary("talsClient.dll", L"C:\\lib\\talsClient.dll");
  const SOloader loader(L"talsClient", L"C:\\lib");
  for (const DWORD error : {6U, 87U, 127U, 182U}) {
    faults().failOnce("GetProcAddress", error);
    EXPECT_EQ(textThrownBy<SysException>([&] { loader.getProcedure("talsInit"); }),
              "VUSL\\Support\\win32\\SOloader:74:Failed to get procedure address.Name= talsInit. "
              "Error= " +
                  std::to_string(error));
  }
  EXPECT_NE(loader.getProcedure("talsInit"), nullptr);
}

TEST_F(StackFaultsTest, TheSearchPath) {
  host::machine().currentDirectory = L"C:\\lib";
  client_test::copyLibrary("talsClient.dll", L"C:\\lib\\talsClient.dll");
  faults().failOnce("SetDllDirectoryW", 8);
  EXPECT_NO_THROW({ const SOloader loader(L"talsClient", L""); });
}

TEST_F(StackFaultsTest, TheUnloading) {
  client_test::copyLibrary("talsClient.dll", L"C:\\lib\\talsClient.dll");
  faults().failOnce("FreeLibrary", 87);
  EXPECT_NO_THROW({ const SOloader loader(L"talsClient", L"C:\\lib"); });
  EXPECT_EQ(journal().count("FreeLibrary"), 1U);
}

}  // namespace
