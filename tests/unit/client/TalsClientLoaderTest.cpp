#include "client/TalsClientLoader.h"

#include <algorithm>
#include <functional>
#include <stdexcept>

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/MissingFileError.h"
#include "client/talsStatus.h"
#include "tests/unit/client/ClientTest.h"
#include "tests/unit/client/LookUpOrder.h"

namespace {

using client_test::argument;
using client_test::installClient;
using client_test::installed;
using client_test::kLookUpOrder;
using client_test::Texts;
using client_test::textThrownBy;

int call(TalsEntry entry) {
  return reinterpret_cast<talsStatus (*)(void*)>(entry)(nullptr);
}

std::size_t missingEntryLines(const Texts& texts) {
  return static_cast<std::size_t>(
      std::count_if(texts.begin(), texts.end(), [](const std::string& text) {
        return text.find("Failed to get procedure address.") != std::string::npos;
      }));
}

class TalsClientLoaderTest : public host::MachineTest {};

TEST_F(TalsClientLoaderTest, LoadsTheClientLibraryAndThenTheProxyLibraryByTheirBareNames) {
  installClient();
  const TalsClientLoader loader("");
  const auto calls = journal().calls("LoadLibraryExW");
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_EQ(calls[0].args, "C:\\Program Files\\Orvix\\tALS Client\\talsClient, null, 8");
  EXPECT_EQ(calls[1].args, "C:\\Program Files\\Orvix\\tALS Client\\talsProxy, null, 8");
}

TEST_F(TalsClientLoaderTest, UnloadsTheProxyLibraryFirst) {
  installClient();
  { const TalsClientLoader loader(""); }
  const auto loaded = journal().calls("LoadLibraryExW");
  const auto freed = journal().calls("FreeLibrary");
  ASSERT_EQ(freed.size(), 2U);
  EXPECT_EQ(freed[0].args, loaded[1].result);
  EXPECT_EQ(freed[1].args, loaded[0].result);
  EXPECT_EQ(ledger().open("module"), 0U);
}

TEST_F(TalsClientLoaderTest, ClosesTheStacksKey) {
  installClient();
  const TalsClientLoader loader("");
  EXPECT_EQ(ledger().open("key"), 0U);
}

TEST_F(TalsClientLoaderTest, TheTextGivenIsNotUsed) {
  installClient();
  const TalsClientLoader loader("C:\\elsewhere");
  EXPECT_EQ(argument(journal().calls("LoadLibraryExW").at(0), 0),
            "C:\\Program Files\\Orvix\\tALS Client\\talsClient");
}

TEST_F(TalsClientLoaderTest, LooksTheEntriesUpInTheirOrder) {
  installClient();
  const TalsClientLoader loader("");
  Texts names;
  for (const auto& entry : journal().calls("GetProcAddress")) names.push_back(argument(entry, 1));
  EXPECT_EQ(names, kLookUpOrder);
}

TEST_F(TalsClientLoaderTest, LooksEveryEntryUpInTheClientLibrary) {
  installClient();
  const TalsClientLoader loader("");
  const std::string client = journal().calls("LoadLibraryExW").at(0).result;
  for (const auto& entry : journal().calls("GetProcAddress")) {
    EXPECT_EQ(argument(entry, 0), client) << entry.args;
  }
}

TEST_F(TalsClientLoaderTest, EverySlotHoldsTheEntryOfItsName) {
  installClient();
  client_test::writeScript(
      "talsGetPermit = 101\ntalsUsePermit = 102\ntalsPassThrough = 103\ntalsMessage = 104\n"
      "talsMessage_Ex = 105\ntalsGetPlatformInfo = 106\ntalsGetPlatformType = 107\n"
      "talsInit = 108\ntalsInitHUB = 109\ntalsInitQX1 = 110\ntalsCheckPermit = 111\n"
      "talsGetClientVersion = 112\ntalsGetGlobalAttribute = 113\ntalsInstallPermit = 114\n"
      "talsRenewPermit = 115\ntalsReleasePermit = 116\ntalsDestroyPlatformInfo = 117\n"
      "talsCaidProtect = 118\ntalsCaidDestroy = 119\ntalsConfigPrepare = 120\n"
      "talsConfigDestroy = 121\n");
  const TalsClientLoader loader("");
  const TalsEntryTable& entries = loader.entries;
  EXPECT_EQ(call(entries.talsGetPermit), 101);
  EXPECT_EQ(call(entries.talsUsePermit), 102);
  EXPECT_EQ(call(entries.talsPassThrough), 103);
  EXPECT_EQ(call(entries.talsMessage), 104);
  EXPECT_EQ(call(entries.talsMessage_Ex), 105);
  EXPECT_EQ(call(entries.talsGetPlatformInfo), 106);
  EXPECT_EQ(call(entries.talsGetPlatformType), 107);
  EXPECT_EQ(call(entries.talsInit), 108);
  EXPECT_EQ(call(entries.talsInitHUB), 109);
  EXPECT_EQ(call(entries.talsInitQX1), 110);
  EXPECT_EQ(call(entries.talsCheckPermit), 111);
  EXPECT_EQ(call(entries.talsGetClientVersion), 112);
  EXPECT_EQ(call(entries.talsGetGlobalAttribute), 113);
  EXPECT_EQ(call(entries.talsInstallPermit), 114);
  EXPECT_EQ(call(entries.talsRenewPermit), 115);
  EXPECT_EQ(call(entries.talsReleasePermit), 116);
  EXPECT_EQ(call(entries.talsDestroyPlatformInfo), 117);
  EXPECT_EQ(call(entries.talsCaidProtect), 118);
  EXPECT_EQ(call(entries.talsCaidDestroy), 119);
  EXPECT_EQ(call(entries.talsConfigPrepare), 120);
  EXPECT_EQ(call(entries.talsConfigDestroy), 121);
}

TEST_F(TalsClientLoaderTest, ALibraryWithoutAnyEntryLoadsAndLogsALineForEach) {
  installClient("talsClientNone.dll");
  const LogRecorder log;
  const TalsClientLoader loader("");
  const Texts texts = log.texts();
  ASSERT_EQ(missingEntryLines(texts), 21U);
  for (std::size_t i = 0; i < 21; ++i) {
    EXPECT_EQ(texts[texts.size() - 21 + i],
              "[DBG] [TPM] VUSL\\Support\\win32\\SOloader:74:Failed to get procedure "
              "address.Name= " +
                  kLookUpOrder[i] + ". Error= 127");
  }
}

// The proxy library of this machine exports every name.
TEST_F(TalsClientLoaderTest, NothingIsTakenFromTheProxyLibrary) {
  installClient("talsClientNone.dll");
  const TalsClientLoader loader("");
  for (const TalsEntryLookup& lookup : kTalsEntryLookups) {
    EXPECT_EQ(loader.entries.*lookup.slot, nullptr) << lookup.name;
  }
}

TEST_F(TalsClientLoaderTest, OneMissingEntryLeavesItsSlotNullAndTheOthersFilled) {
  installClient("talsClientNoInitHUB.dll");
  const LogRecorder log;
  const TalsClientLoader loader("");
  EXPECT_EQ(loader.entries.talsInitHUB, nullptr);
  EXPECT_NE(loader.entries.talsInitQX1, nullptr);
  EXPECT_EQ(missingEntryLines(log.texts()), 1U);
}

TEST_F(TalsClientLoaderTest, AMissingProxyLibraryFailsTheWholeAndUnloadsTheClientLibrary) {
  installClient();
  host::machine().drive.remove(installed(L"talsProxy.dll"));
  EXPECT_EQ(textThrownBy<MissingFileError>([] { const TalsClientLoader loader(""); }),
            "Resource exception of type 250 was thrown");
  EXPECT_EQ(ledger().open("module"), 0U);
  EXPECT_EQ(journal().count("FreeLibrary"), 1U);
  EXPECT_EQ(journal().count("GetProcAddress"), 0U);
}

TEST_F(TalsClientLoaderTest, WithoutTheClientLibraryTheProxyLibraryIsNotTried) {
  installClient();
  host::machine().drive.remove(installed(L"talsClient.dll"));
  EXPECT_EQ(textThrownBy<MissingFileError>([] { const TalsClientLoader loader(""); }),
            "Resource exception of type 250 was thrown");
  EXPECT_EQ(journal().count("LoadLibraryExW"), 1U);
}

TEST_F(TalsClientLoaderTest, WithoutTheStacksKeyTheStackIsNotInstalled) {
  EXPECT_EQ(textThrownBy<Exception>([] { const TalsClientLoader loader(""); }),
            "tals stack not installed");
}

TEST_F(TalsClientLoaderTest, WithoutAnInstallDirectoryTheStackIsNotInstalled) {
  installClient();
  host::machine().registry.deleteValue(client_test::stackKeyPath(), L"InstallDir64");
  EXPECT_EQ(textThrownBy<Exception>([] { const TalsClientLoader loader(""); }),
            "tals stack not installed");
  EXPECT_EQ(ledger().open("key"), 0U);
}

TEST_F(TalsClientLoaderTest, AnInstallDirectoryThatCannotBeReadCountsAsNotInstalled) {
  installClient();
  faults().failOnce("RegQueryValueExW", ERROR_ACCESS_DENIED, 2);
  EXPECT_EQ(textThrownBy<Exception>([] { const TalsClientLoader loader(""); }),
            "tals stack not installed");
}

TEST_F(TalsClientLoaderTest, AnInstallDirectoryOutsideTheNarrowSetIsRefusedInItsOwnWords) {
  host::machine().installStack(L"C:\\p\u00FCt");
  EXPECT_EQ(textThrownBy<Exception>([] { const TalsClientLoader loader(""); }),
            "Unicode installation path detected, terminating process.");
}

TEST_F(TalsClientLoaderTest, AnEmptyInstallDirectoryAsksForTheBareNames) {
  installClient();
  host::machine().registry.setText(client_test::stackKeyPath(), L"InstallDir64", L"");
  host::machine().currentDirectory = client_test::kInstallDirectory;
  const TalsClientLoader loader("");
  const auto calls = journal().calls("LoadLibraryW");
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_EQ(calls[0].args, "talsClient");
  EXPECT_EQ(calls[1].args, "talsProxy");
  EXPECT_EQ(journal().count("SetDllDirectoryW"), 2U);
  EXPECT_EQ(journal().count("LoadLibraryExW"), 0U);
}

// Only a look-up's own failure is an entry that is missing.
TEST_F(TalsClientLoaderTest, AnyOtherExceptionOfALookUpEndsTheLoadWithNothingLeftLoaded) {
  installClient();
  const auto atTheThirdLookUp = [](const std::function<void()>& action) {
    host::CallHooks::instance().before("GetProcAddress", journal().count("GetProcAddress") + 3,
                                       action);
  };
  const auto load = [] { const TalsClientLoader loader(""); };
  atTheThirdLookUp([] { throw std::runtime_error("of another kind"); });
  EXPECT_EQ(textThrownBy<std::runtime_error>(load), "of another kind");
  EXPECT_EQ(ledger().open("module"), 0U);
  atTheThirdLookUp([] { throw Exception() << "of the system"; });
  EXPECT_EQ(textThrownBy<Exception>(load), "of the system");
  EXPECT_EQ(ledger().open("module"), 0U);
  atTheThirdLookUp([] { throw MissingFileError(250); });
  EXPECT_EQ(textThrownBy<MissingFileError>(load), "Resource exception of type 250 was thrown");
  EXPECT_EQ(ledger().open("module"), 0U);
}

}  // namespace
