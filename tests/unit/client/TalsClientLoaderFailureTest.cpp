#include <gmock/gmock.h>
#include <link.h>

#include <memory>

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/MissingFileError.h"
#include "client/TalsClientLoader.h"
#include "tests/unit/client/ClientTest.h"
#include "tests/unit/client/LookUpOrder.h"

namespace {

using client_test::installClient;
using client_test::kLookUpOrder;
using client_test::Texts;
using client_test::textThrownBy;

// The libraries that the process really has in memory, those of the system among them.
std::size_t nativeLibraries() {
  std::size_t count = 0;
  dl_iterate_phdr(
      [](dl_phdr_info*, std::size_t, void* counter) {
        ++*static_cast<std::size_t*>(counter);
        return 0;
      },
      &count);
  return count;
}

std::string outcomeOfALoad() {
  try {
    const TalsClientLoader loader("");
    return "loaded";
  } catch (const MissingFileError&) {
    return "a library is missing";
  } catch (const Exception& error) {
    return error.what();
  }
}

// What a load comes to when a call of the platform fails, and what stays behind.
class TalsClientLoaderFailureTest : public host::MachineTest {
 protected:
  TalsClientLoaderFailureTest() { installClient(); }
};

TEST_F(TalsClientLoaderFailureTest, ALibraryThatIsRefusedFailsTheLoadWhateverTheReason) {
  const std::pair<DWORD, const char*> rows[] = {
      {ERROR_FILE_NOT_FOUND, "2"},  {ERROR_ACCESS_DENIED, "5"},    {ERROR_NOT_ENOUGH_MEMORY, "8"},
      {ERROR_MOD_NOT_FOUND, "126"}, {ERROR_BAD_EXE_FORMAT, "193"}, {1114, "1114"}};
  for (const auto& [error, text] : rows) {
    for (const unsigned which : {1U, 2U}) {
      const LogRecorder log;
      faults().failOnce("LoadLibraryExW", error, which);
      EXPECT_EQ(outcomeOfALoad(), "a library is missing");
      const std::string name = which == 1 ? "talsClient" : "talsProxy";
      EXPECT_TRUE(
          log.contains("Failed to load a library. Name= C:\\Program Files\\Orvix\\tALS "
                       "Client\\" +
                       name + ". Error= " + text));
      EXPECT_EQ(ledger().open("module"), 0U);
    }
  }
}

TEST_F(TalsClientLoaderFailureTest, ABareNameThatIsRefusedFailsTheLoadToo) {
  host::machine().registry.setText(client_test::stackKeyPath(), L"InstallDir64", L"");
  host::machine().currentDirectory = client_test::kInstallDirectory;
  const std::pair<unsigned, const char*> rows[] = {{1, "Name= talsClient. Error= 5"},
                                                   {2, "Name= talsProxy. Error= 5"}};
  for (const auto& [which, text] : rows) {
    const LogRecorder log;
    faults().failOnce("LoadLibraryW", ERROR_ACCESS_DENIED, which);
    EXPECT_EQ(outcomeOfALoad(), "a library is missing");
    EXPECT_TRUE(log.contains(text));
    EXPECT_EQ(ledger().open("module"), 0U);
  }
}

TEST_F(TalsClientLoaderFailureTest, ASearchFolderThatCannotBeSetIsNoFailureByItself) {
  host::machine().registry.setText(client_test::stackKeyPath(), L"InstallDir64", L"");
  host::machine().currentDirectory = client_test::kInstallDirectory;
  faults().failFrom("SetDllDirectoryW", ERROR_INVALID_PARAMETER);
  EXPECT_EQ(outcomeOfALoad(), "loaded");
}

TEST_F(TalsClientLoaderFailureTest, ALookUpThatIsRefusedLeavesItsOwnSlotNull) {
  for (const DWORD error :
       {DWORD{ERROR_INVALID_HANDLE}, DWORD{ERROR_NOT_ENOUGH_MEMORY}, DWORD{ERROR_PROC_NOT_FOUND}}) {
    for (unsigned which = 1; which <= 21; ++which) {
      const LogRecorder log;
      faults().failOnce("GetProcAddress", error, which);
      const TalsClientLoader loader("");
      for (const TalsEntryLookup& lookup : kTalsEntryLookups) {
        const bool missing = lookup.name == kLookUpOrder[which - 1];
        EXPECT_EQ(loader.entries.*lookup.slot == nullptr, missing) << lookup.name;
      }
      EXPECT_TRUE(
          log.contains("Name= " + kLookUpOrder[which - 1] + ". Error= " + std::to_string(error)));
    }
  }
}

TEST_F(TalsClientLoaderFailureTest, AnyEntryMayBeMissingFromTheLibrary) {
  for (const std::string& name : kLookUpOrder) {
    installClient("talsClientNo" + name.substr(4) + ".dll");
    const TalsClientLoader loader("");
    for (const TalsEntryLookup& lookup : kTalsEntryLookups) {
      EXPECT_EQ(loader.entries.*lookup.slot == nullptr, lookup.name == name) << lookup.name;
    }
  }
}

TEST_F(TalsClientLoaderFailureTest, AnUnloadThatIsRefusedDoesNotStopTheOther) {
  for (const unsigned which : {1U, 2U}) {
    journal().clear();
    {
      const TalsClientLoader loader("");
      faults().failOnce("FreeLibrary", ERROR_INVALID_HANDLE, which);
    }
    EXPECT_EQ(journal().calls("FreeLibrary").size(), 2U);
    EXPECT_EQ(ledger().open("module"), 1U);
    client_test::unloadWhatWasRefused();
    EXPECT_EQ(ledger().open("module"), 0U);
  }
}

// Whether a load without this call comes to other things than its own outcome: without memory for
// the list of devices the process ends, and what gives things back keeps them if it fails.
bool isForOtherTests(const std::string& call) {
  const std::vector<std::string> calls = {"GetProcessHeap", "HeapAlloc", "HeapFree", "FreeLibrary",
                                          "RegCloseKey"};
  return std::find(calls.begin(), calls.end(), call) != calls.end();
}

// Each call of a load fails once, and again from then on.
TEST_F(TalsClientLoaderFailureTest, WhateverCallFailsNothingStaysBehind) {
  const std::vector<std::string> permitted = {"loaded", "a library is missing",
                                              "tals stack not installed"};
  journal().clear();
  ASSERT_EQ(outcomeOfALoad(), "loaded");
  const Texts calls = journal().names();
  ASSERT_GT(calls.size(), 30U);
  ledger().begin();
  std::map<std::string, unsigned> seen;
  for (const std::string& call : calls) {
    const unsigned nth = ++seen[call];
    if (isForOtherTests(call)) continue;
    for (const bool lasting : {false, true}) {
      if (lasting) {
        faults().failFrom(call, ERROR_ACCESS_DENIED, nth);
      } else {
        faults().failOnce(call, ERROR_ACCESS_DENIED, nth);
      }
      EXPECT_THAT(permitted, ::testing::Contains(outcomeOfALoad())) << call << " " << nth;
      faults().clear();
      EXPECT_EQ(ledger().stillOpen().size(), 0U) << call << " " << nth;
      EXPECT_EQ(ledger().violations(), Texts{}) << call << " " << nth;
    }
  }
}

TEST_F(TalsClientLoaderFailureTest, TenThousandLoadsLeaveNothingBehind) {
  outcomeOfALoad();
  ledger().begin();
  const std::size_t before = nativeLibraries();
  journal().keepEntries(false);
  std::size_t loaded = 0;
  for (int i = 0; i < 10000; ++i) loaded += outcomeOfALoad() == "loaded" ? 1U : 0U;
  journal().keepEntries(true);
  EXPECT_EQ(loaded, 10000U);
  EXPECT_EQ(ledger().stillOpen().size(), 0U);
  EXPECT_EQ(ledger().violations(), Texts{});
  EXPECT_EQ(nativeLibraries(), before);
}

TEST_F(TalsClientLoaderFailureTest, LoadsThatFailLeaveNothingBehindEither) {
  host::machine().drive.remove(client_test::installed(L"talsProxy.dll"));
  ledger().begin();
  const std::size_t before = nativeLibraries();
  for (int i = 0; i < 100; ++i) ASSERT_EQ(outcomeOfALoad(), "a library is missing");
  EXPECT_EQ(ledger().stillOpen().size(), 0U);
  EXPECT_EQ(ledger().violations(), Texts{});
  EXPECT_EQ(nativeLibraries(), before);
}

}  // namespace
