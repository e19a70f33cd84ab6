#include "VUSL/Support/win32/SOloader.h"

#include <cstring>
#include <memory>
#include <new>

#include "VUSL/Support/MissingFileError.h"
#include "VUSL/Support/SysException.h"
#include "tests/unit/client/ClientTest.h"

namespace {

using client_test::argument;
using client_test::Texts;
using client_test::textThrownBy;

static_assert(!std::is_copy_constructible_v<SOloader>);
static_assert(!std::is_copy_assignable_v<SOloader>);
static_assert(!std::is_polymorphic_v<SOloader>);
static_assert(sizeof(SOloader) == sizeof(HMODULE));

class SOloaderTest : public host::MachineTest {
 protected:
  SOloaderTest() { client_test::copyLibrary("talsClient.dll", L"C:\\lib\\talsClient.dll"); }
};

TEST_F(SOloaderTest, LoadsFromADirectoryWithItsOwnSearchPath) {
  const SOloader loader(L"talsClient", L"C:\\lib");
  const auto calls = journal().calls("LoadLibraryExW");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].args, "C:\\lib\\talsClient, null, 8");
  EXPECT_EQ(journal().count("SetDllDirectoryW"), 0U);
}

TEST_F(SOloaderTest, LogsThePathBeforeItLoadsFromADirectory) {
  const LogRecorder log;
  Texts atTheLoad;
  host::CallHooks::instance().before("LoadLibraryExW", journal().count("LoadLibraryExW") + 1,
                                     [&] { atTheLoad = log.texts(); });
  const SOloader loader(L"talsClient", L"C:\\lib");
  EXPECT_EQ(atTheLoad, Texts{"[DBG] [TPM] Use LOAD_WITH_ALTERED_SEARCH_PATH flag to load library: "
                             "C:\\lib\\talsClient"});
}

TEST_F(SOloaderTest, ATrailingBackslashIsDoubled) {
  const SOloader loader(L"talsClient", L"C:\\lib\\");
  EXPECT_EQ(argument(journal().calls("LoadLibraryExW").at(0), 0), "C:\\lib\\\\talsClient");
}

TEST_F(SOloaderTest, ADirectoryOfOneCharacterIsADirectory) {
  textThrownBy<MissingFileError>([] { const SOloader loader(L"talsClient", L"d"); });
  EXPECT_EQ(argument(journal().calls("LoadLibraryExW").at(0), 0), "d\\talsClient");
  EXPECT_EQ(journal().count("LoadLibraryW"), 0U);
}

TEST_F(SOloaderTest, WithoutADirectoryTheSystemSearchesForTheBareName) {
  host::machine().currentDirectory = L"C:\\lib";
  const LogRecorder log;
  const SOloader loader(L"talsClient", L"");
  EXPECT_EQ(journal().namesOf({"SetDllDirectoryW", "LoadLibraryW", "LoadLibraryExW"}),
            (Texts{"SetDllDirectoryW", "LoadLibraryW"}));
  EXPECT_EQ(journal().calls("SetDllDirectoryW").at(0).args, ".");
  EXPECT_EQ(journal().calls("LoadLibraryW").at(0).args, "talsClient");
  EXPECT_EQ(log.texts(), Texts{});
}

TEST_F(SOloaderTest, TheSearchPathOfTheProcessIsNotPutBack) {
  host::machine().currentDirectory = L"C:\\lib";
  { const SOloader loader(L"talsClient", L""); }
  EXPECT_EQ(journal().count("SetDllDirectoryW"), 1U);
}

TEST_F(SOloaderTest, AFailedLoadLogsTheAddressOfTheLoaderObject) {
  const LogRecorder log;
  alignas(SOloader) unsigned char place[sizeof(SOloader)];
  textThrownBy<MissingFileError>([&] { new (place) SOloader(L"nothing", L"C:\\lib"); });
  EXPECT_EQ(log.texts().back(), "[DBG] [TPM] [" +
                                    host::hexText(reinterpret_cast<std::uintptr_t>(place)) +
                                    "] Failed to load a library. Name= C:\\lib\\nothing. Error= "
                                    "126");
}

TEST_F(SOloaderTest, AFailedLoadFromADirectoryNamesThePath) {
  try {
    const SOloader loader(L"nothing", L"C:\\lib");
    FAIL();
  } catch (const MissingFileError& error) {
    EXPECT_EQ(error.resourceId(), 250);
    EXPECT_EQ(error.params(), Texts{"C:\\lib\\nothing"});
  }
}

TEST_F(SOloaderTest, AFailedLoadWithoutADirectoryNamesTheBareName) {
  const LogRecorder log;
  try {
    const SOloader loader(L"nothing", L"");
    FAIL();
  } catch (const MissingFileError& error) {
    EXPECT_EQ(error.resourceId(), 250);
    EXPECT_EQ(error.params(), Texts{"nothing"});
  }
  EXPECT_EQ(log.withoutAddresses(),
            Texts{"[DBG] [TPM] [0x] Failed to load a library. Name= nothing. Error= 126"});
}

TEST_F(SOloaderTest, AFailedLoadShowsTheLastErrorOfTheLoad) {
  const LogRecorder log;
  faults().failOnce("LoadLibraryExW", ERROR_BAD_EXE_FORMAT);
  textThrownBy<MissingFileError>([] { const SOloader loader(L"talsClient", L"C:\\lib"); });
  EXPECT_TRUE(log.contains("Error= 193"));
}

TEST_F(SOloaderTest, ANameWithoutANarrowFormIsShownWithQuestionMarks) {
  try {
    const SOloader loader(L"n\u00FCx", L"");
    FAIL();
  } catch (const MissingFileError& error) {
    EXPECT_EQ(error.params(), Texts{"n?x"});
  }
}

TEST_F(SOloaderTest, UnloadsTheLibrary) {
  { const SOloader loader(L"talsClient", L"C:\\lib"); }
  EXPECT_EQ(journal().count("FreeLibrary"), 1U);
  EXPECT_EQ(ledger().open("module"), 0U);
  EXPECT_EQ(ledger().violations(), Texts{});
}

TEST_F(SOloaderTest, WithNothingLoadedNothingIsUnloaded) {
  textThrownBy<MissingFileError>([] { const SOloader loader(L"nothing", L"C:\\lib"); });
  EXPECT_EQ(journal().count("FreeLibrary"), 0U);
}

// In the two tests below the memory stays the test's own after the loader is gone.
TEST_F(SOloaderTest, TheHandleIsNullAfterTheUnloading) {
  alignas(SOloader) unsigned char place[sizeof(SOloader)];
  auto* const loader = new (place) SOloader(L"talsClient", L"C:\\lib");
  loader->~SOloader();
  HMODULE left = nullptr;
  std::memcpy(&left, place, sizeof left);
  EXPECT_EQ(left, nullptr);
}

TEST_F(SOloaderTest, DestroyingALoaderWhoseHandleIsNullMakesNoPlatformCall) {
  alignas(SOloader) unsigned char place[sizeof(SOloader)];
  auto* const loader = new (place) SOloader(L"talsClient", L"C:\\lib");
  loader->~SOloader();
  journal().clear();
  std::launder(reinterpret_cast<SOloader*>(place))->~SOloader();
  EXPECT_EQ(journal().names(), Texts{});
  EXPECT_EQ(ledger().violations(), Texts{});
}

TEST_F(SOloaderTest, TakesNoLock) {
  journal().clear();
  {
    const SOloader loader(L"talsClient", L"C:\\lib");
    loader.getProcedure("talsInit");
    textThrownBy<SysException>([&] { loader.getProcedure("nothing"); });
  }
  textThrownBy<MissingFileError>([] { const SOloader loader(L"nothing", L""); });
  EXPECT_EQ(
      journal().namesOf({"LoadLibraryExW", "LoadLibraryW", "GetProcAddress", "FreeLibrary",
                         "CreateMutexW", "WaitForSingleObject", "WaitForMultipleObjects",
                         "InitializeCriticalSectionAndSpinCount", "EnterCriticalSection"}),
      (Texts{"LoadLibraryExW", "GetProcAddress", "GetProcAddress", "FreeLibrary", "LoadLibraryW"}));
}

TEST_F(SOloaderTest, GivesTheAddressOfAProcedure) {
  const SOloader loader(L"talsClient", L"C:\\lib");
  EXPECT_NE(loader.getProcedure("talsInit"), nullptr);
  EXPECT_EQ(argument(journal().calls("GetProcAddress").at(0), 1), "talsInit");
}

TEST_F(SOloaderTest, AProcedureThatIsNotExportedThrows) {
  const SOloader loader(L"talsClient", L"C:\\lib");
  EXPECT_EQ(textThrownBy<SysException>([&] { loader.getProcedure("nothing"); }),
            "VUSL\\Support\\win32\\SOloader:74:Failed to get procedure address.Name= nothing. "
            "Error= 127");
}

TEST_F(SOloaderTest, AProcedureThatIsNotExportedLogsNothing) {
  const SOloader loader(L"talsClient", L"C:\\lib");
  const LogRecorder log;
  textThrownBy<SysException>([&] { loader.getProcedure("nothing"); });
  EXPECT_EQ(log.texts(), Texts{});
}

TEST_F(SOloaderTest, TheExceptionOfAProcedureRecordsTheLastError) {
  const SOloader loader(L"talsClient", L"C:\\lib");
  faults().failOnce("GetProcAddress", 5);
  try {
    loader.getProcedure("talsInit");
    FAIL();
  } catch (SysException& error) {
    SetLastError(6);
    EXPECT_EQ(error.errorText(),
              "VUSL\\Support\\win32\\SOloader:74:Failed to get procedure address.Name= talsInit. "
              "Error= 5Access is denied.\r\n");
  }
}

}  // namespace
