// The registry. The calls answer with a status and leave the last error alone.

#include <string>

#include "tests/contract/Contract.h"

namespace {

constexpr wchar_t kPath[] = L"Software\\Contract";

std::string bytesOf(const std::wstring& text) {
  return {reinterpret_cast<const char*>(text.c_str()), (text.size() + 1) * sizeof(wchar_t)};
}

HKEY open(const wchar_t* path = kPath, REGSAM access = KEY_READ) {
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, access, &key), 0);
  return key;
}

HKEY openWithText() {
  contract::putValue(L"", L"InstallDir64", REG_SZ, bytesOf(L"C:\\stack"));
  SetLastError(contract::kUntouched);
  return open();
}

constexpr DWORD kTextSize = 9 * sizeof(wchar_t);

TEST(RegOpenKeyExW, OpensAKeyWhateverItsCase) {
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\contract", 0, KEY_READ, &key), 0);
  EXPECT_EQ(RegCloseKey(key), 0);
}

TEST(RegOpenKeyExW, OfAMissingKeyIs2AndGivesNull) {
  HKEY key = HKEY_USERS;
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Contract\\None", 0, KEY_READ, &key), 2);
  EXPECT_EQ(key, nullptr);
  EXPECT_EQ(GetLastError(), contract::kUntouched);
}

TEST(RegOpenKeyExW, OpensAKeyBelowAnother) {
  contract::putKey(L"tALS Client");
  const HKEY parent = open();
  HKEY child = nullptr;
  EXPECT_EQ(RegOpenKeyExW(parent, L"TALS client", 0, KEY_READ | KEY_WOW64_64KEY, &child), 0);
  EXPECT_EQ(RegCloseKey(child), 0);
  EXPECT_EQ(RegCloseKey(parent), 0);
}

TEST(RegOpenKeyExW, WithoutANameOpensTheSameKeyAgain) {
  const HKEY key = openWithText();
  HKEY again = nullptr;
  EXPECT_EQ(RegOpenKeyExW(key, L"", 0, KEY_READ, &again), 0);
  EXPECT_NE(again, key);
  EXPECT_EQ(RegCloseKey(key), 0);
  EXPECT_EQ(RegQueryValueExW(again, L"InstallDir64", nullptr, nullptr, nullptr, nullptr), 0);
  EXPECT_EQ(RegCloseKey(again), 0);
}

TEST(RegOpenKeyExW, BelowAClosedKeyIs6) {
  const HKEY key = open();
  RegCloseKey(key);
  HKEY child = nullptr;
  EXPECT_EQ(RegOpenKeyExW(key, L"x", 0, KEY_READ, &child), 6);
}

TEST(RegOpenKeyExW, OfARootWithoutANameGivesTheRoot) {
  HKEY key = nullptr;
  EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, nullptr, 0, KEY_READ, &key), 0);
  EXPECT_EQ(key, HKEY_LOCAL_MACHINE);
}

TEST(RegQueryValueExW, TellsTypeAndSizeInBytesWithTheTerminator) {
  const HKEY key = openWithText();
  DWORD size = 0;
  DWORD type = 0;
  EXPECT_EQ(RegQueryValueExW(key, L"installdir64", nullptr, &type, nullptr, &size), 0);
  EXPECT_EQ(size, kTextSize);
  EXPECT_EQ(type, REG_SZ);
  EXPECT_EQ(GetLastError(), contract::kUntouched);
  RegCloseKey(key);
}

TEST(RegQueryValueExW, GivesTheValue) {
  const HKEY key = openWithText();
  wchar_t text[20] = {};
  DWORD size = sizeof text;
  EXPECT_EQ(RegQueryValueExW(key, L"InstallDir64", nullptr, nullptr, reinterpret_cast<BYTE*>(text),
                             &size),
            0);
  EXPECT_STREQ(text, L"C:\\stack");
  EXPECT_EQ(size, kTextSize);
  RegCloseKey(key);
}

TEST(RegQueryValueExW, OfABufferTooSmallIs234WithTheSizeNeeded) {
  const HKEY key = openWithText();
  BYTE bytes[4] = {};
  DWORD size = sizeof bytes;
  EXPECT_EQ(RegQueryValueExW(key, L"InstallDir64", nullptr, nullptr, bytes, &size), 234);
  EXPECT_EQ(size, kTextSize);
  EXPECT_EQ(bytes[0], 0);
  RegCloseKey(key);
}

TEST(RegQueryValueExW, OfAMissingValueIs2) {
  const HKEY key = open();
  DWORD size = 0;
  EXPECT_EQ(RegQueryValueExW(key, L"None", nullptr, nullptr, nullptr, &size), 2);
  RegCloseKey(key);
}

TEST(RegQueryValueExW, GivesAValueWithoutATerminatorAsItIsStored) {
  contract::putValue(L"", L"Bare", REG_BINARY, "abcde");
  const HKEY key = open();
  char bytes[8] = "-------";
  DWORD size = sizeof bytes;
  DWORD type = 0;
  EXPECT_EQ(RegQueryValueExW(key, L"Bare", nullptr, &type, reinterpret_cast<BYTE*>(bytes), &size),
            0);
  EXPECT_EQ(size, 5U);
  EXPECT_EQ(type, REG_BINARY);
  EXPECT_STREQ(bytes, "abcde--");
  RegCloseKey(key);
}

TEST(RegQueryValueExW, AddsNoTerminatorToATextThatHasNone) {
  const std::string whole = bytesOf(L"abc");
  contract::putValue(L"", L"Unended", REG_SZ, whole.substr(0, whole.size() - sizeof(wchar_t)));
  const HKEY key = open();
  wchar_t text[8] = L"-------";
  DWORD size = sizeof text;
  EXPECT_EQ(
      RegQueryValueExW(key, L"Unended", nullptr, nullptr, reinterpret_cast<BYTE*>(text), &size), 0);
  EXPECT_EQ(size, 3 * sizeof(wchar_t));
  EXPECT_STREQ(text, contract::butUnderWine(L"abc----", L"abc",
                                            "Wine adds one where there is room, which nobody "
                                            "promises"));
  RegCloseKey(key);
}

TEST(RegQueryValueExW, WithABufferAndNoSizeIs87) {
  const HKEY key = openWithText();
  BYTE byte = 0;
  EXPECT_EQ(RegQueryValueExW(key, L"InstallDir64", nullptr, nullptr, &byte, nullptr), 87);
  RegCloseKey(key);
}

TEST(RegQueryValueExW, OfAKeyDeletedMeanwhileIs1018) {
  contract::putKey(L"Passing");
  const HKEY key = open(L"Software\\Contract\\Passing");
  contract::deleteKey(L"Passing");
  DWORD size = 0;
  EXPECT_EQ(RegQueryValueExW(key, L"InstallDir64", nullptr, nullptr, nullptr, &size), 1018);
  RegCloseKey(key);
}

TEST(RegQueryValueExW, OfAClosedKeyIs6) {
  const HKEY key = open();
  RegCloseKey(key);
  DWORD size = 0;
  EXPECT_EQ(RegQueryValueExW(key, L"InstallDir64", nullptr, nullptr, nullptr, &size), 6);
}

TEST(RegQueryValueExW, OfAKeyOpenedForAnythingElseIs5) {
  constexpr REGSAM kEnumerate = 0x8;
  const HKEY key = open(kPath, kEnumerate);
  DWORD size = 0;
  EXPECT_EQ(RegQueryValueExW(key, L"InstallDir64", nullptr, nullptr, nullptr, &size), 5);
  RegCloseKey(key);
}

TEST(RegCloseKey, OfAClosedKeyIs6) {
  const HKEY key = open();
  EXPECT_EQ(RegCloseKey(key), 0);
  EXPECT_EQ(RegCloseKey(key), 6);
  EXPECT_EQ(GetLastError(), contract::kUntouched);
}

TEST(RegCloseKey, OfNullIs6) {
  EXPECT_EQ(RegCloseKey(nullptr), 6);
}

TEST(RegCloseKey, OfARootSucceedsEachTime) {
  EXPECT_EQ(RegCloseKey(HKEY_LOCAL_MACHINE), 0);
  EXPECT_EQ(RegCloseKey(HKEY_LOCAL_MACHINE), 0);
}

}  // namespace
