// The registry and its calls, which answer with their status and leave the last error alone.

#include <cstring>

#include "platform/host/RegistryViews.h"
#include "tests/support/MachineTest.h"

namespace {

constexpr wchar_t kKeyPath[] = L"HKLM\\Software\\Orvix";

class RegistryTest : public host::MachineTest {
 protected:
  RegistryTest() {
    registry.setText(kKeyPath, L"InstallDir64", L"C:\\stack");
    host::setLastError(77);
  }
  ~RegistryTest() override { EXPECT_EQ(host::lastError(), 77U); }

  static HKEY open(const wchar_t* path = L"Software\\Orvix") {
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ, &key), 0);
    return key;
  }

  host::RegistryStore& registry = host::machine().registry;
};

TEST_F(RegistryTest, KeysIgnoreCase) {
  EXPECT_TRUE(registry.hasKey(L"hklm\\SOFTWARE\\orvix"));
}

TEST_F(RegistryTest, ARootHasALongName) {
  EXPECT_TRUE(registry.hasKey(L"HKEY_LOCAL_MACHINE\\Software\\Orvix\\"));
}

TEST_F(RegistryTest, AKeyBringsTheKeysAboveIt) {
  registry.createKey(L"HKLM\\a\\b\\c");
  EXPECT_TRUE(registry.hasKey(L"HKLM\\a\\b"));
  EXPECT_TRUE(registry.hasKey(L"HKLM\\a"));
}

TEST_F(RegistryTest, DeletingAKeyTakesWhatIsBelowIt) {
  registry.createKey(L"HKLM\\a\\b\\c");
  registry.createKey(L"HKLM\\a\\bee");
  registry.deleteKey(L"HKLM\\a\\B");
  EXPECT_FALSE(registry.hasKey(L"HKLM\\a\\b"));
  EXPECT_FALSE(registry.hasKey(L"HKLM\\a\\b\\c"));
  EXPECT_TRUE(registry.hasKey(L"HKLM\\a\\bee"));
}

TEST_F(RegistryTest, ADeletedValueIsGone) {
  registry.deleteValue(kKeyPath, L"INSTALLDIR64");
  EXPECT_EQ(registry.value(kKeyPath, L"InstallDir64"), nullptr);
  EXPECT_TRUE(registry.hasKey(kKeyPath));
}

TEST_F(RegistryTest, AMissingKeyIs2AndGivesNull) {
  HKEY key = HKEY_USERS;
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\None", 0, KEY_READ, &key), 2);
  EXPECT_EQ(key, nullptr);
}

TEST_F(RegistryTest, AKeyIsOpenedBelowAnother) {
  registry.createKey(L"HKLM\\Software\\Orvix\\tALS Client");
  const HKEY parent = open();
  HKEY child = nullptr;
  EXPECT_EQ(RegOpenKeyExW(parent, L"TALS client", 0, KEY_READ | KEY_WOW64_64KEY, &child), 0);
  EXPECT_EQ(ledger().open("key"), 2U);
  EXPECT_EQ(RegCloseKey(child), 0);
  EXPECT_EQ(RegCloseKey(parent), 0);
  EXPECT_EQ(ledger().open("key"), 0U);
}

TEST_F(RegistryTest, WithoutANameTheSameKeyIsOpenedAgain) {
  const HKEY key = open();
  HKEY again = nullptr;
  EXPECT_EQ(RegOpenKeyExW(key, L"", 0, KEY_READ, &again), 0);
  EXPECT_NE(again, key);
  EXPECT_EQ(RegCloseKey(key), 0);
  EXPECT_EQ(RegQueryValueExW(again, L"InstallDir64", nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(RegCloseKey(again), 0);
}

TEST_F(RegistryTest, TheSizeIsToldInBytesWithTheTerminator) {
  const HKEY key = open();
  DWORD size = 0;
  DWORD type = 0;
  EXPECT_EQ(RegQueryValueExW(key, L"installdir64", nullptr, &type, nullptr, &size), 0);
  EXPECT_EQ(size, 9 * sizeof(wchar_t));
  EXPECT_EQ(type, REG_SZ);
  RegCloseKey(key);
}

TEST_F(RegistryTest, TheValueIsGiven) {
  const HKEY key = open();
  wchar_t text[20] = {};
  DWORD size = sizeof text;
  EXPECT_EQ(RegQueryValueExW(key, L"InstallDir64", nullptr, nullptr, reinterpret_cast<BYTE*>(text),
                             &size),
            0);
  EXPECT_STREQ(text, L"C:\\stack");
  EXPECT_EQ(size, 9 * sizeof(wchar_t));
  RegCloseKey(key);
}

TEST_F(RegistryTest, ABufferTooSmallIs234WithTheSizeNeeded) {
  const HKEY key = open();
  BYTE bytes[4] = {};
  DWORD size = sizeof bytes;
  EXPECT_EQ(RegQueryValueExW(key, L"InstallDir64", nullptr, nullptr, bytes, &size), 234);
  EXPECT_EQ(size, 9 * sizeof(wchar_t));
  EXPECT_EQ(bytes[0], 0);
  RegCloseKey(key);
}

TEST_F(RegistryTest, AMissingValueIs2) {
  const HKEY key = open();
  DWORD size = 0;
  EXPECT_EQ(RegQueryValueExW(key, L"None", nullptr, nullptr, nullptr, &size), 2);
  RegCloseKey(key);
}

TEST_F(RegistryTest, AValueWithoutTerminatorIsGivenAsItIsStored) {
  registry.setValue(kKeyPath, L"Bare", REG_SZ, "abcde");
  const HKEY key = open();
  char bytes[8] = "-------";
  DWORD size = sizeof bytes;
  EXPECT_EQ(RegQueryValueExW(key, L"Bare", nullptr, nullptr, reinterpret_cast<BYTE*>(bytes), &size),
            0);
  EXPECT_EQ(size, 5U);
  EXPECT_STREQ(bytes, "abcde--");
  RegCloseKey(key);
}

TEST_F(RegistryTest, ABufferWithoutItsSizeIs87) {
  const HKEY key = open();
  BYTE byte = 0;
  EXPECT_EQ(RegQueryValueExW(key, L"InstallDir64", nullptr, nullptr, &byte, nullptr), 87);
  RegCloseKey(key);
}

TEST_F(RegistryTest, AKeyDeletedMeanwhileIs1018) {
  const HKEY key = open();
  registry.deleteKey(kKeyPath);
  DWORD size = 0;
  EXPECT_EQ(RegQueryValueExW(key, L"InstallDir64", nullptr, nullptr, nullptr, &size), 1018);
  RegCloseKey(key);
}

TEST_F(RegistryTest, ASecondCloseIs6AndAViolation) {
  const HKEY key = open();
  EXPECT_EQ(RegCloseKey(key), 0);
  EXPECT_TRUE(ledger().violations().empty());
  EXPECT_EQ(RegCloseKey(key), 6);
  EXPECT_GE(ledger().violations().size(), 1U);
}

TEST_F(RegistryTest, AClosedKeyIsNotUsedAnyMore) {
  const HKEY key = open();
  RegCloseKey(key);
  DWORD size = 0;
  EXPECT_EQ(RegQueryValueExW(key, L"InstallDir64", nullptr, nullptr, nullptr, &size), 6);
  HKEY child = nullptr;
  EXPECT_EQ(RegOpenKeyExW(key, L"x", 0, KEY_READ, &child), 6);
  EXPECT_EQ(ledger().violations().size(), 2U);
}

TEST_F(RegistryTest, RootsAreNeitherClosedNorAccounted) {
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, nullptr, 0, KEY_READ, &key), 0);
  EXPECT_EQ(key, HKEY_LOCAL_MACHINE);
  EXPECT_EQ(ledger().open("key"), 0U);
  EXPECT_EQ(RegCloseKey(HKEY_LOCAL_MACHINE), 0);
  EXPECT_EQ(RegCloseKey(HKEY_LOCAL_MACHINE), 0);
  EXPECT_TRUE(ledger().violations().empty());
}

TEST_F(RegistryTest, AKeyIsNotClosedByCloseHandle) {
  const HKEY key = open();
  EXPECT_FALSE(CloseHandle(key));
  EXPECT_EQ(ledger().open("key"), 1U);
  RegCloseKey(key);
  host::setLastError(77);
}

TEST_F(RegistryTest, AKeyOpenedForAnythingElseDoesNotShowItsValues) {
  constexpr REGSAM kEnumerate = 0x8;
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Orvix", 0, kEnumerate, &key), 0);
  DWORD size = 0;
  EXPECT_EQ(RegQueryValueExW(key, L"InstallDir64", nullptr, nullptr, nullptr, &size), 5);
  RegCloseKey(key);
}

TEST_F(RegistryTest, AKeyOfThe64BitViewAloneIsMissingWithoutTheFlag) {
  registry.createKey(L"HKLM\\Software\\Orvix\\below");
  registry.createKey(L"HKLM\\Software\\Orvix2");
  host::registryViews().showOnlyIn64Bit(L"HKLM\\SOFTWARE\\Orvix");
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Orvix", 0, KEY_READ, &key), 2);
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Orvix\\below", 0, KEY_READ, &key), 2);
  RegCloseKey(open(L"Software\\Orvix2"));
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Orvix\\below", 0,
                          KEY_READ | KEY_WOW64_64KEY, &key),
            0);
  RegCloseKey(key);
}

TEST_F(RegistryTest, BothViewsAtOnceAre87) {
  constexpr REGSAM k32BitView = 0x200;
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Orvix", 0,
                          KEY_READ | KEY_WOW64_64KEY | k32BitView, &key),
            87);
}

TEST_F(RegistryTest, AFaultIsTheStatusAndLeavesTheLastErrorAlone) {
  faults().failOnce("RegOpenKeyExW", 5);
  HKEY key = HKEY_USERS;
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software", 0, KEY_READ, &key), 5);
  EXPECT_EQ(key, nullptr);
  EXPECT_EQ(journal().calls("RegOpenKeyExW").at(0).lastError, 77U);
  EXPECT_TRUE(journal().calls("RegOpenKeyExW").at(0).faulted);
}

}  // namespace
