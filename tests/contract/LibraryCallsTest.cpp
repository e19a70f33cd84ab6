// Libraries, their procedures and their strings; paths as text; known folders.

#include <cstdint>
#include <string>

#include "tests/contract/Contract.h"

namespace {

using contract::pathOf;

constexpr DWORD kAsFile = LOAD_LIBRARY_AS_DATAFILE;
constexpr DWORD kByPath = LOAD_WITH_ALTERED_SEARCH_PATH;

HMODULE load(const std::wstring& name, DWORD flags = kByPath) {
  SetLastError(contract::kUntouched);
  return LoadLibraryExW(pathOf(name).c_str(), nullptr, flags);
}

void expectNone(HMODULE module, DWORD error) {
  EXPECT_EQ(GetLastError(), error);
  EXPECT_EQ(module, nullptr);
}

// Where the library was found that a bare name leads to.
std::wstring found(const wchar_t* name) {
  const HMODULE module = LoadLibraryW(name);
  wchar_t path[MAX_PATH] = {};
  if (module != nullptr) {
    GetModuleFileNameW(module, path, MAX_PATH);
    FreeLibrary(module);
  }
  return path;
}

TEST(LoadLibraryExW, LoadsALibraryByItsPath) {
  contract::putLibrary(L"client.dll");
  const HMODULE module = load(L"client.dll");
  ASSERT_NE(module, nullptr);
  EXPECT_TRUE(FreeLibrary(module));
}

TEST(LoadLibraryExW, OfAMissingLibraryFailsWith126) {
  expectNone(load(L"none.dll"), 126);
  expectNone(load(L"none\\none.dll"), 126);
}

TEST(LoadLibraryExW, OfAMissingFileFailsWith2) {
  expectNone(load(L"none.dll", kAsFile), 2);
}

TEST(LoadLibraryExW, OfAFileThatIsNoLibraryFailsWith193) {
  contract::putFile(L"text.dll", "text");
  expectNone(load(L"text.dll"), 193);
  expectNone(load(L"text.dll", kAsFile), 193);
}

TEST(LoadLibraryW, AddsTheExtensionThatANameLacks) {
  contract::putLibrary(L"client.dll");
  EXPECT_EQ(found(pathOf(L"client").c_str()), pathOf(L"client.dll"));
}

TEST(LoadLibraryW, TakesADotAtTheEndForNoExtension) {
  contract::putLibrary(L"bare");
  const HMODULE module = LoadLibraryW(pathOf(L"bare.").c_str());
  EXPECT_NE(module, nullptr);
  FreeLibrary(module);
}

TEST(LoadLibraryW, OfAMissingLibraryFailsWith126) {
  SetLastError(contract::kUntouched);
  expectNone(LoadLibraryW(L"contract-none"), 126);
}

TEST(LoadLibraryW, GivesTheSameLibraryTwice) {
  contract::putLibrary(L"client.dll");
  const HMODULE first = LoadLibraryW(pathOf(L"client.dll").c_str());
  const HMODULE second = LoadLibraryW(L"c:\\CONTRACT\\CLIENT");
  EXPECT_EQ(first, second);
  EXPECT_TRUE(FreeLibrary(first));
  EXPECT_NE(GetProcAddress(second, "talsInit"), nullptr);
  EXPECT_TRUE(FreeLibrary(second));
}

TEST(FreeLibrary, OfNullFailsWith6) {
  EXPECT_FALSE(FreeLibrary(nullptr));
  EXPECT_EQ(GetLastError(), 6U);
}

TEST(FreeLibrary, LetsTheLastOneGo) {
  contract::putLibrary(L"client.dll");
  const HMODULE module = load(L"client.dll");
  EXPECT_TRUE(FreeLibrary(module));
  EXPECT_EQ(GetModuleHandleW(L"client.dll"), nullptr);
}

TEST(GetProcAddress, FindsAProcedureByItsName) {
  contract::putLibrary(L"client.dll");
  const HMODULE module = load(L"client.dll");
  EXPECT_NE(GetProcAddress(module, "talsInit"), nullptr);
  FreeLibrary(module);
}

TEST(GetProcAddress, OfAMissingProcedureFailsWith127) {
  contract::putLibrary(L"client.dll");
  const HMODULE module = load(L"client.dll");
  EXPECT_EQ(GetProcAddress(module, "TALSINIT"), nullptr) << "the case counts";
  EXPECT_EQ(GetLastError(), 127U);
  FreeLibrary(module);
}

TEST(SetDllDirectoryW, IsSearchedForABareName) {
  contract::putLibrary(L"set\\contract-set.dll");
  EXPECT_TRUE(SetDllDirectoryW(pathOf(L"set").c_str()));
  EXPECT_EQ(found(L"contract-set"), pathOf(L"set\\contract-set.dll"));
  SetDllDirectoryW(nullptr);
  EXPECT_EQ(found(L"contract-set"), L"");
}

TEST(SetDllDirectoryW, TakesThePlaceOfTheCurrentDirectory) {
  contract::putLibrary(L"now\\contract-now.dll");
  contract::putFolder(L"set");
  contract::enterFolder(L"now");
  SetDllDirectoryW(pathOf(L"set").c_str());
  EXPECT_EQ(found(L"contract-now"), L"");
  SetDllDirectoryW(nullptr);
  EXPECT_EQ(found(L"contract-now"), pathOf(L"now\\contract-now.dll"));
}

TEST(GetModuleHandleW, FindsALoadedLibraryByName) {
  contract::putLibrary(L"client.dll");
  EXPECT_EQ(GetModuleHandleW(L"client"), nullptr);
  EXPECT_EQ(GetLastError(), 126U);
  const HMODULE module = load(L"client.dll");
  EXPECT_EQ(GetModuleHandleW(L"CLIENT"), module);
  FreeLibrary(module);
}

TEST(GetModuleHandleW, OfNoNameIsTheProgram) {
  EXPECT_NE(GetModuleHandleW(nullptr), nullptr);
}

TEST(GetModuleFileNameW, GivesTheProgramsPathAndLastError0) {
  wchar_t path[MAX_PATH];
  const DWORD length = GetModuleFileNameW(nullptr, path, MAX_PATH);
  EXPECT_EQ(GetLastError(), 0U);
  ASSERT_GT(length, 7U);
  EXPECT_EQ(std::wstring(path).size(), length);
  EXPECT_EQ(std::wstring(path).substr(0, 3), L"C:\\");
  EXPECT_EQ(std::wstring(path).substr(length - 4), L".exe");
}

TEST(GetModuleFileNameW, CutsAPathThatDoesNotFitWith122) {
  wchar_t path[5];
  EXPECT_EQ(GetModuleFileNameW(nullptr, path, 5), 5U);
  EXPECT_EQ(GetLastError(), 122U);
  EXPECT_EQ(std::wstring(path).substr(0, 3), L"C:\\");
  EXPECT_EQ(path[4], contract::butUnderWine(L'\0', L'\\', "Wine does not end a path that it cut"));
}

TEST(LoadStringW, ReadsAString) {
  contract::putStrings(L"strings.dll");
  const HMODULE module = load(L"strings.dll", kAsFile);
  wchar_t buffer[8] = L"before";
  EXPECT_EQ(LoadStringW(module, 101, buffer, 8), 4);
  EXPECT_STREQ(buffer, L"text");
  FreeLibrary(module);
}

TEST(LoadStringW, OfAMissingStringGivesNothing) {
  contract::putStrings(L"strings.dll");
  const HMODULE module = load(L"strings.dll", kAsFile);
  wchar_t buffer[8] = L"before";
  EXPECT_EQ(LoadStringW(module, 102, buffer, 8), 0);
  EXPECT_EQ(LoadStringW(module, 9000, buffer, 8), 0);
  EXPECT_EQ(GetLastError(), 1814U);
  FreeLibrary(module);
}

TEST(LoadStringW, CutsAStringToItsBuffer) {
  contract::putStrings(L"strings.dll");
  const HMODULE module = load(L"strings.dll", kAsFile);
  wchar_t buffer[8] = L"before";
  EXPECT_EQ(LoadStringW(module, 101, buffer, 4), 3);
  EXPECT_STREQ(buffer, L"tex");
  FreeLibrary(module);
}

TEST(LoadStringW, GivesTheStringsPlaceWhereThereIsNoRoom) {
  contract::putStrings(L"strings.dll");
  const HMODULE module = load(L"strings.dll", kAsFile);
  const wchar_t* place = nullptr;
  ASSERT_EQ(LoadStringW(module, 101, reinterpret_cast<LPWSTR>(&place), 0), 4);
  EXPECT_EQ(std::wstring(place, 4), L"text");
  FreeLibrary(module);
}

std::wstring appended(const std::wstring& path, const std::wstring& more) {
  wchar_t buffer[520] = {};
  path.copy(buffer, 519);
  return PathAppendW(buffer, more.c_str()) ? buffer : L"failed:" + std::wstring(buffer);
}

TEST(PathAppendW, PutsOneSeparatorBetween) {
  EXPECT_EQ(appended(L"C:\\a", L"b"), L"C:\\a\\b");
  EXPECT_EQ(appended(L"C:\\a\\", L"b"), L"C:\\a\\b");
  EXPECT_EQ(appended(L"C:\\a", L"\\b"), L"C:\\a\\b");
  EXPECT_EQ(appended(L"C:\\", L"b"), L"C:\\b");
}

TEST(PathAppendW, ToNothingGivesTheSecondPart) {
  EXPECT_EQ(appended(L"", L"b\\c"), L"b\\c");
}

TEST(PathAppendW, ResolvesDots) {
  EXPECT_EQ(appended(L"C:\\a\\b", L"..\\conf"), L"C:\\a\\conf");
  EXPECT_EQ(appended(L"C:\\a", L".\\b"), L"C:\\a\\b");
  EXPECT_EQ(appended(L"C:\\a", L"..\\..\\b"), L"C:\\b");
}

TEST(PathAppendW, OfMoreThan259CharactersFailsAndEmptiesThePath) {
  const std::wstring path = L"C:\\" + std::wstring(200, L'a');
  EXPECT_EQ(appended(path, std::wstring(55, L'b')).size(), 259U);
  EXPECT_EQ(appended(path, std::wstring(56, L'b')), L"failed:");
}

std::wstring withoutFile(const std::wstring& path) {
  wchar_t buffer[520] = {};
  path.copy(buffer, 519);
  return PathRemoveFileSpecW(buffer) ? buffer : L"unchanged:" + std::wstring(buffer);
}

TEST(PathRemoveFileSpecW, LeavesTheFolder) {
  EXPECT_EQ(withoutFile(L"C:\\a\\b.txt"), L"C:\\a");
  EXPECT_EQ(withoutFile(L"C:\\a\\"), L"C:\\a");
  EXPECT_EQ(withoutFile(L"C:\\b.txt"), L"C:\\");
  EXPECT_EQ(withoutFile(L"b.txt"), L"");
}

TEST(PathRemoveFileSpecW, RemovesNothingWhereThereIsNoFile) {
  EXPECT_EQ(withoutFile(L"C:\\"), L"unchanged:C:\\");
  EXPECT_EQ(withoutFile(L""), L"unchanged:");
}

std::wstring endOf(const GUID& folder, const std::wstring& end) {
  PWSTR path = nullptr;
  EXPECT_EQ(SHGetKnownFolderPath(folder, 0, nullptr, &path), S_OK);
  const std::wstring text = path == nullptr ? L"" : path;
  CoTaskMemFree(path);
  return text.size() < end.size() ? text : text.substr(text.size() - end.size());
}

TEST(SHGetKnownFolderPath, GivesTheUsersFoldersWithoutASeparatorAtTheEnd) {
  EXPECT_EQ(endOf(FOLDERID_LocalAppData, L"\\AppData\\Local"), L"\\AppData\\Local");
  EXPECT_EQ(endOf(FOLDERID_LocalAppDataLow, L"\\AppData\\LocalLow"), L"\\AppData\\LocalLow");
}

TEST(SHGetKnownFolderPath, OfAnUnknownFolderFailsAndGivesNull) {
  auto* path = const_cast<PWSTR>(L"before");
  EXPECT_EQ(static_cast<std::uint32_t>(SHGetKnownFolderPath(GUID{}, 0, nullptr, &path)),
            contract::butUnderWine(0x80070002U, 0x80070057U, "Wine calls the argument invalid"));
  EXPECT_EQ(path, nullptr);
}

TEST(CoTaskMemFree, TakesNull) {
  CoTaskMemFree(nullptr);
  EXPECT_EQ(GetLastError(), contract::kUntouched);
}

}  // namespace
