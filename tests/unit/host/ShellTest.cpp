// Known folders, and paths as text.

#include "tests/support/MachineTest.h"

namespace {

class ShellTest : public host::MachineTest {
 protected:
  static std::wstring appended(const std::wstring& path, const wchar_t* more) {
    wchar_t buffer[520] = {};
    path.copy(buffer, 519);
    return PathAppendW(buffer, more) ? buffer : L"failed:" + std::wstring(buffer);
  }

  static std::wstring withoutFile(const std::wstring& path) {
    wchar_t buffer[520] = {};
    path.copy(buffer, 519);
    return PathRemoveFileSpecW(buffer) ? buffer : L"unchanged:" + std::wstring(buffer);
  }
};

TEST_F(ShellTest, TheLocalFolderIsTheSystemAccounts) {
  PWSTR path = nullptr;
  EXPECT_EQ(SHGetKnownFolderPath(FOLDERID_LocalAppData, 0, nullptr, &path), S_OK);
  EXPECT_STREQ(path, L"C:\\Windows\\System32\\config\\systemprofile\\AppData\\Local");
  CoTaskMemFree(path);
}

TEST_F(ShellTest, TheLowFolderIsTheSystemAccounts) {
  PWSTR path = nullptr;
  EXPECT_EQ(SHGetKnownFolderPath(FOLDERID_LocalAppDataLow, 0, nullptr, &path), S_OK);
  EXPECT_STREQ(path, L"C:\\Windows\\System32\\config\\systemprofile\\AppData\\LocalLow");
  CoTaskMemFree(path);
}

TEST_F(ShellTest, TheFoldersAreBelowThatOfTheUser) {
  host::machine().profileDirectory = L"C:\\Users\\me";
  PWSTR path = nullptr;
  EXPECT_EQ(SHGetKnownFolderPath(FOLDERID_LocalAppData, 0, nullptr, &path), S_OK);
  EXPECT_STREQ(path, L"C:\\Users\\me\\AppData\\Local");
  CoTaskMemFree(path);
}

TEST_F(ShellTest, AnUnknownFolderFailsAndGivesNull) {
  PWSTR path = const_cast<PWSTR>(L"before");
  EXPECT_EQ(SHGetKnownFolderPath(GUID{}, 0, nullptr, &path), static_cast<HRESULT>(0x80070002));
  EXPECT_EQ(path, nullptr);
}

TEST_F(ShellTest, AFaultIsTheResult) {
  faults().failOnce("SHGetKnownFolderPath", 5);
  PWSTR path = nullptr;
  EXPECT_EQ(SHGetKnownFolderPath(FOLDERID_LocalAppData, 0, nullptr, &path),
            static_cast<HRESULT>(0x80070005));
  faults().failOnce("SHGetKnownFolderPath", 0x80004005);
  EXPECT_EQ(SHGetKnownFolderPath(FOLDERID_LocalAppData, 0, nullptr, &path),
            static_cast<HRESULT>(0x80004005));
  EXPECT_EQ(path, nullptr);
}

TEST_F(ShellTest, ThePathIsAnAllocationUntilItIsFreed) {
  PWSTR path = nullptr;
  SHGetKnownFolderPath(FOLDERID_LocalAppData, 0, nullptr, &path);
  EXPECT_EQ(ledger().open("allocation"), 1U);
  CoTaskMemFree(path);
  EXPECT_EQ(ledger().open("allocation"), 0U);
  CoTaskMemFree(nullptr);
  EXPECT_TRUE(ledger().violations().empty());
  CoTaskMemFree(path);
  EXPECT_EQ(ledger().violations().size(), 1U);
}

TEST_F(ShellTest, AppendingPutsOneSeparatorBetween) {
  EXPECT_EQ(appended(L"C:\\a", L"b"), L"C:\\a\\b");
  EXPECT_EQ(appended(L"C:\\a\\", L"b"), L"C:\\a\\b");
  EXPECT_EQ(appended(L"C:\\a", L"\\b"), L"C:\\a\\b");
  EXPECT_EQ(appended(L"C:\\", L"b"), L"C:\\b");
}

TEST_F(ShellTest, AppendingToNothingGivesTheSecondPart) {
  EXPECT_EQ(appended(L"", L"b\\c"), L"b\\c");
  EXPECT_EQ(appended(L"", L"C:\\b"), L"C:\\b");
}

TEST_F(ShellTest, AppendingResolvesDots) {
  EXPECT_EQ(appended(L"C:\\a\\b", L"..\\conf"), L"C:\\a\\conf");
  EXPECT_EQ(appended(L"C:\\a", L".\\b"), L"C:\\a\\b");
  EXPECT_EQ(appended(L"C:\\a", L"..\\..\\b"), L"C:\\b");
}

TEST_F(ShellTest, AResultOf260CharactersFailsAndEmptiesThePath) {
  const std::wstring path = L"C:\\" + std::wstring(200, L'a');
  EXPECT_EQ(appended(path, std::wstring(55, L'b').c_str()).size(), 259U);
  EXPECT_EQ(appended(path, std::wstring(56, L'b').c_str()), L"failed:");
}

TEST_F(ShellTest, RemovingTheFileLeavesTheFolder) {
  EXPECT_EQ(withoutFile(L"C:\\a\\b.txt"), L"C:\\a");
  EXPECT_EQ(withoutFile(L"C:\\a\\"), L"C:\\a");
  EXPECT_EQ(withoutFile(L"C:\\b.txt"), L"C:\\");
  EXPECT_EQ(withoutFile(L"b.txt"), L"");
}

TEST_F(ShellTest, WhereThereIsNoFileNothingIsRemoved) {
  EXPECT_EQ(withoutFile(L"C:\\"), L"unchanged:C:\\");
  EXPECT_EQ(withoutFile(L""), L"unchanged:");
}

}  // namespace
