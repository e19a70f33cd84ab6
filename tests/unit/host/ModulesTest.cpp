// Libraries and their procedures.

#include "tests/support/MachineTest.h"
#include "tests/support/ResourceLibrary.h"

namespace {

constexpr wchar_t kModulePath[] = L"C:\\lib\\talsClient.dll";

class ModulesTest : public host::MachineTest {
 protected:
  static void install(const std::wstring& path) {
    host::machine().drive.copyIn(STANDINS_DIR "/talsClient.dll", path);
  }
  // Where the library was found that a bare name leads to.
  static std::wstring found(const wchar_t* name) {
    const HMODULE module = LoadLibraryW(name);
    wchar_t path[MAX_PATH] = {};
    if (module != nullptr) {
      GetModuleFileNameW(module, path, MAX_PATH);
      FreeLibrary(module);
    }
    return path;
  }
};

TEST_F(ModulesTest, ALibraryIsLoadedAndLetGo) {
  install(kModulePath);
  const HMODULE module = LoadLibraryExW(kModulePath, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  ASSERT_NE(module, nullptr);
  EXPECT_EQ(ledger().open("module"), 1U);
  EXPECT_NE(GetProcAddress(module, "talsInit"), nullptr);
  EXPECT_TRUE(FreeLibrary(module));
  EXPECT_EQ(ledger().open("module"), 0U);
}

TEST_F(ModulesTest, ANameWithoutAnExtensionGetsOne) {
  install(kModulePath);
  EXPECT_EQ(found(L"C:\\lib\\talsClient"), kModulePath);
}

TEST_F(ModulesTest, ADotAtTheEndSaysThatThereIsNoExtension) {
  install(L"C:\\lib\\bare");
  EXPECT_EQ(found(L"C:\\lib\\bare."), L"C:\\lib\\bare");
  EXPECT_EQ(found(L"C:\\lib\\bare"), L"");
}

TEST_F(ModulesTest, ADotInAFolderIsNoExtension) {
  install(L"C:\\l.ib\\talsClient.dll");
  EXPECT_EQ(found(L"C:\\l.ib\\talsClient"), L"C:\\l.ib\\talsClient.dll");
}

TEST_F(ModulesTest, APathMayGoUpAndHaveDoubledSeparators) {
  install(kModulePath);
  EXPECT_EQ(found(L"C:\\lib\\..\\lib\\\\talsClient"), kModulePath);
}

TEST_F(ModulesTest, AMissingLibraryFailsWith126) {
  EXPECT_EQ(LoadLibraryW(L"none"), nullptr);
  EXPECT_EQ(host::lastError(), 126U);
  EXPECT_EQ(LoadLibraryExW(L"C:\\none\\none.dll", nullptr, LOAD_WITH_ALTERED_SEARCH_PATH), nullptr);
  EXPECT_EQ(host::lastError(), 126U);
}

TEST_F(ModulesTest, AMissingDataFileFailsWith2) {
  EXPECT_EQ(LoadLibraryExW(L"en-US.dll", nullptr, LOAD_LIBRARY_AS_DATAFILE), nullptr);
  EXPECT_EQ(host::lastError(), 2U);
}

TEST_F(ModulesTest, AFileThatIsNoLibraryFailsWith193) {
  host::machine().drive.write(kModulePath, "text");
  EXPECT_EQ(LoadLibraryW(kModulePath), nullptr);
  EXPECT_EQ(host::lastError(), 193U);
  EXPECT_EQ(LoadLibraryExW(kModulePath, nullptr, LOAD_LIBRARY_AS_DATAFILE), nullptr);
  EXPECT_EQ(host::lastError(), 193U);
}

TEST_F(ModulesTest, ADataFileRunsNoCode) {
  host::machine().drive.write(L"C:\\lib\\en-US.dll", host::resourceLibrary({{101, u"text"}}));
  const HMODULE module = LoadLibraryExW(L"C:\\lib\\en-US.dll", nullptr, LOAD_LIBRARY_AS_DATAFILE);
  ASSERT_NE(module, nullptr);
  EXPECT_EQ(GetProcAddress(module, "talsInit"), nullptr);
  EXPECT_EQ(host::lastError(), 127U);
  EXPECT_TRUE(FreeLibrary(module));
}

TEST_F(ModulesTest, ABareNameIsSearchedInTheProgramsFolderFirst) {
  install(L"C:\\Windows\\System32\\x.dll");
  install(L"C:\\set\\x.dll");
  install(L"C:\\Program Files\\Orvix\\TPMEnrollmentService\\x.dll");
  SetDllDirectoryW(L"C:\\set");
  EXPECT_EQ(found(L"x"), L"C:\\Program Files\\Orvix\\TPMEnrollmentService\\x.dll");
}

TEST_F(ModulesTest, ThenInTheFolderThatWasSet) {
  install(L"C:\\Windows\\System32\\x.dll");
  install(L"C:\\set\\x.dll");
  SetDllDirectoryW(L"C:\\set");
  EXPECT_EQ(found(L"x"), L"C:\\set\\x.dll");
}

TEST_F(ModulesTest, ThenInTheSystemsFolderAndTheCurrentOneLast) {
  host::machine().currentDirectory = L"C:\\now";
  install(L"C:\\now\\x.dll");
  install(L"C:\\now\\y.dll");
  install(L"C:\\Windows\\System32\\x.dll");
  EXPECT_EQ(found(L"x"), L"C:\\Windows\\System32\\x.dll");
  EXPECT_EQ(found(L"y"), L"C:\\now\\y.dll");
}

TEST_F(ModulesTest, ADotAsTheFolderIsTheCurrentDirectory) {
  host::machine().currentDirectory = L"C:\\now";
  install(L"C:\\now\\x.dll");
  install(L"C:\\Windows\\System32\\x.dll");
  SetDllDirectoryW(L".");
  EXPECT_EQ(found(L"x"), L"C:\\now\\x.dll");
}

TEST_F(ModulesTest, WithAFolderSetTheCurrentDirectoryIsNotSearched) {
  host::machine().currentDirectory = L"C:\\now";
  install(L"C:\\now\\x.dll");
  SetDllDirectoryW(L"C:\\set");
  EXPECT_EQ(found(L"x"), L"");
  SetDllDirectoryW(nullptr);
  EXPECT_EQ(found(L"x"), L"C:\\now\\x.dll");
}

TEST_F(ModulesTest, AMissingProcedureFailsWith127) {
  install(kModulePath);
  const HMODULE module = LoadLibraryW(kModulePath);
  EXPECT_EQ(GetProcAddress(module, "talsNone"), nullptr);
  EXPECT_EQ(host::lastError(), 127U);
  FreeLibrary(module);
}

TEST_F(ModulesTest, WhatALibraryOnlyUsesIsNotItsOwn) {
  install(kModulePath);
  const HMODULE module = LoadLibraryW(kModulePath);
  EXPECT_EQ(GetProcAddress(module, "malloc"), nullptr);
  EXPECT_EQ(host::lastError(), 127U);
  FreeLibrary(module);
}

TEST_F(ModulesTest, TwoLoadsAreOneLibraryThatIsLetGoTwice) {
  install(kModulePath);
  const HMODULE first = LoadLibraryW(kModulePath);
  const HMODULE second = LoadLibraryW(L"c:\\LIB\\TALSCLIENT");
  EXPECT_EQ(first, second);
  EXPECT_EQ(ledger().open("module"), 2U);
  EXPECT_TRUE(FreeLibrary(first));
  EXPECT_NE(GetProcAddress(second, "talsInit"), nullptr);
  EXPECT_TRUE(FreeLibrary(second));
  EXPECT_EQ(ledger().open("module"), 0U);
  EXPECT_TRUE(ledger().violations().empty());
}

TEST_F(ModulesTest, LettingGoOnceTooOftenFailsWith6AndIsAViolation) {
  install(kModulePath);
  const HMODULE module = LoadLibraryW(kModulePath);
  FreeLibrary(module);
  EXPECT_FALSE(FreeLibrary(module));
  EXPECT_EQ(host::lastError(), 6U);
  EXPECT_EQ(ledger().violations().size(), 1U);
}

TEST_F(ModulesTest, ALibraryLetGoIsNotUsedAnyMore) {
  install(kModulePath);
  const HMODULE module = LoadLibraryW(kModulePath);
  FreeLibrary(module);
  EXPECT_EQ(GetProcAddress(module, "talsInit"), nullptr);
  EXPECT_EQ(host::lastError(), 6U);
  EXPECT_EQ(ledger().violations().size(), 1U);
}

TEST_F(ModulesTest, NullIsNoLibrary) {
  EXPECT_FALSE(FreeLibrary(nullptr));
  EXPECT_EQ(host::lastError(), 6U);
  EXPECT_EQ(GetProcAddress(nullptr, "talsInit"), nullptr);
  EXPECT_EQ(host::lastError(), 6U);
}

TEST_F(ModulesTest, TheProgramHasItsPathAndLastError0) {
  wchar_t path[MAX_PATH];
  host::setLastError(77);
  EXPECT_EQ(GetModuleFileNameW(nullptr, path, MAX_PATH), 68U);
  EXPECT_STREQ(path, L"C:\\Program Files\\Orvix\\TPMEnrollmentService\\TPMEnrollmentService.exe");
  EXPECT_EQ(host::lastError(), 0U);
  EXPECT_EQ(GetModuleFileNameW(GetModuleHandleW(nullptr), path, MAX_PATH), 68U);
}

TEST_F(ModulesTest, TheLastErrorCanBeToldToStay) {
  host::machine().moduleFileNameClearsLastError = false;
  wchar_t path[MAX_PATH];
  host::setLastError(77);
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  EXPECT_EQ(host::lastError(), 77U);
}

TEST_F(ModulesTest, APathThatDoesNotFitIsCutWith122) {
  wchar_t path[5];
  EXPECT_EQ(GetModuleFileNameW(nullptr, path, 5), 5U);
  EXPECT_STREQ(path, L"C:\\P");
  EXPECT_EQ(host::lastError(), 122U);
}

TEST_F(ModulesTest, ALoadedLibraryIsFoundByName) {
  install(kModulePath);
  EXPECT_EQ(GetModuleHandleW(L"talsClient"), nullptr);
  EXPECT_EQ(host::lastError(), 126U);
  const HMODULE module = LoadLibraryW(kModulePath);
  EXPECT_EQ(GetModuleHandleW(L"TALSCLIENT"), module);
  FreeLibrary(module);
}

TEST_F(ModulesTest, AFaultLoadsNothing) {
  install(kModulePath);
  faults().failOnce("LoadLibraryW", 8);
  EXPECT_EQ(LoadLibraryW(kModulePath), nullptr);
  EXPECT_EQ(host::lastError(), 8U);
  EXPECT_EQ(ledger().open("module"), 0U);
}

class StringsTest : public host::MachineTest {
 protected:
  static HMODULE load(const std::string& bytes) {
    host::machine().drive.write(L"C:\\lib\\en-US.dll", bytes);
    return LoadLibraryExW(L"C:\\lib\\en-US.dll", nullptr, LOAD_LIBRARY_AS_DATAFILE);
  }
  wchar_t buffer_[8] = L"before";
};

TEST_F(StringsTest, AStringIsReadFromItsLibrary) {
  const HMODULE module = load(host::resourceLibrary({{101, u"text"}}));
  EXPECT_EQ(LoadStringW(module, 101, buffer_, 8), 4);
  EXPECT_STREQ(buffer_, L"text");
}

TEST_F(StringsTest, AMissingStringLeavesTheBufferEmptyAndFailsWith1814) {
  const HMODULE module = load(host::resourceLibrary({{101, u"text"}}));
  EXPECT_EQ(LoadStringW(module, 102, buffer_, 8), 0);
  EXPECT_STREQ(buffer_, L"");
  EXPECT_EQ(host::lastError(), 1814U);
}

TEST_F(StringsTest, OneLibraryOfSeveralLanguagesAnswersInTheUsers) {
  host::machine().userLanguage = 0x0407;
  const HMODULE module =
      load(host::resourceLibrary({{0x0407, {{101, u"deutsch"}}}, {0x0409, {{101, u"english"}}}}));
  EXPECT_EQ(LoadStringW(module, 101, buffer_, 8), 7);
  EXPECT_STREQ(buffer_, L"deutsch");
}

TEST_F(StringsTest, AStringIsCutToItsBuffer) {
  const HMODULE module = load(host::resourceLibrary({{101, u"text"}}));
  EXPECT_EQ(LoadStringW(module, 101, buffer_, 4), 3);
  EXPECT_STREQ(buffer_, L"tex");
  EXPECT_EQ(LoadStringW(module, 101, buffer_, 1), 0);
  EXPECT_STREQ(buffer_, L"");
}

TEST_F(StringsTest, WithNoRoomTheStringsPlaceIsGiven) {
  const HMODULE module = load(host::resourceLibrary({{101, u"text"}}));
  const wchar_t* place = nullptr;
  ASSERT_EQ(LoadStringW(module, 101, reinterpret_cast<LPWSTR>(&place), 0), 4);
  EXPECT_EQ(std::wstring(place, 4), L"text");
}

TEST_F(StringsTest, ANullBufferGetsNothing) {
  const HMODULE module = load(host::resourceLibrary({{101, u"text"}}));
  EXPECT_EQ(LoadStringW(module, 101, nullptr, 8), 0);
  EXPECT_EQ(LoadStringW(module, 101, buffer_, -1), 0);
}

TEST_F(StringsTest, ALibraryThatIsGoneHasNoStrings) {
  const HMODULE module = load(host::resourceLibrary({{101, u"text"}}));
  FreeLibrary(module);
  EXPECT_EQ(LoadStringW(module, 101, buffer_, 8), 0);
  EXPECT_EQ(host::lastError(), 6U);
}

TEST_F(StringsTest, AFileThatIsCutShortInItsHeadersIsNoLibrary) {
  EXPECT_EQ(load("MZ and no more"), nullptr);
  EXPECT_EQ(host::lastError(), 193U);
  EXPECT_EQ(load(""), nullptr);
  EXPECT_EQ(host::lastError(), 193U);
}

TEST_F(StringsTest, AFileThatIsCutShortInItsResourcesHasNoStrings) {
  const HMODULE module = load(host::resourceLibrary({{101, u"text"}}).substr(0, 0x200));
  ASSERT_NE(module, nullptr);
  EXPECT_EQ(LoadStringW(module, 101, buffer_, 8), 0);
  EXPECT_EQ(host::lastError(), 1812U);
}

TEST_F(StringsTest, TheProgramHasTheStringsThatTheMachineSays) {
  host::machine().stringTables[host::machine().programPath][101] = L"text";
  EXPECT_EQ(LoadStringW(nullptr, 101, buffer_, 8), 4);
  EXPECT_STREQ(buffer_, L"text");
  EXPECT_EQ(LoadStringW(GetModuleHandleW(nullptr), 102, buffer_, 8), 0);
  EXPECT_EQ(host::lastError(), 1814U);
}

TEST_F(StringsTest, AFaultLoadsNoString) {
  const HMODULE module = load(host::resourceLibrary({{101, u"text"}}));
  faults().failOnce("LoadStringW", 8);
  EXPECT_EQ(LoadStringW(module, 101, buffer_, 8), 0);
  EXPECT_EQ(host::lastError(), 8U);
}

}  // namespace
