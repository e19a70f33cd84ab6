// What the loader makes of calls that fail, and of arguments at the edge.

#include <string>
#include <vector>

#include "VUSL/Support/ResourceLoader.h"
#include "VUSL/Support/ResourceMissingException.h"
#include "tests/support/MachineTest.h"
#include "tests/support/ResourceLibrary.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

constexpr uint32_t kId = 101;
constexpr char kNotFound[] =
    "Error during loading a string resource. Following string resource id could not be found: "
    "101.";

class ResourceLoaderFailureTest : public host::MachineTest {
 protected:
  ResourceLoaderFailureTest() {
    reset();
    ResourceLoader::initialiseLibraries();
  }
  ~ResourceLoaderFailureTest() override { reset(); }

  static void reset() {
    ResourceLoader::resourceLibraries.clear();
    ResourceLoader::libraryBaseName.clear();
    ResourceLoader::useOwnModule = false;
  }

  static void install(const std::wstring& fileName, const std::u16string& text) {
    host::machine().drive.write(L"C:\\Program Files\\Orvix\\TPMEnrollmentService\\" + fileName,
                                host::resourceLibrary({{kId, text}}));
  }

  std::wstring load(int32_t language) {
    loader.loadString(kId, buffer, language, 64);
    return buffer;
  }

  ResourceLoader loader;
  wchar_t buffer[64] = {};
};

TEST_F(ResourceLoaderFailureTest, asksTheNextLibraryWhenOneIsNotLoaded) {
  install(L"en-US.dll", u"own");
  install(L"VUSL_en-US.dll", u"support");
  faults().failOnce("LoadLibraryExW", 8);
  EXPECT_EQ(load(0), L"support");
}

TEST_F(ResourceLoaderFailureTest, doesNotTryALibraryAgainThatWasNotLoaded) {
  install(L"en-US.dll", u"own");
  install(L"VUSL_en-US.dll", u"support");
  faults().failOnce("LoadLibraryExW", 8);
  load(0);
  EXPECT_EQ(load(0), L"support");
  EXPECT_EQ(journal().calls("LoadLibraryExW").size(), 2U);
}

TEST_F(ResourceLoaderFailureTest, throwsWhenNoLibraryIsLoaded) {
  install(L"en-US.dll", u"own");
  install(L"VUSL_en-US.dll", u"support");
  faults().failFrom("LoadLibraryExW", 8);
  EXPECT_EQ(thrownBy<ResourceMissingException>([&] { load(4); }), kNotFound);
}

TEST_F(ResourceLoaderFailureTest, asksTheNextLibraryWhenAStringIsNotRead) {
  install(L"en-US.dll", u"own");
  install(L"VUSL_en-US.dll", u"support");
  faults().failOnce("LoadStringW", 8);
  EXPECT_EQ(load(0), L"support");
}

TEST_F(ResourceLoaderFailureTest, throwsWhenNoStringIsRead) {
  install(L"en-US.dll", u"own");
  faults().failFrom("LoadStringW", 8);
  EXPECT_EQ(thrownBy<ResourceMissingException>([&] { load(0); }), kNotFound);
}

TEST_F(ResourceLoaderFailureTest, asksTheProgramAlsoWithoutItsHandle) {
  ResourceLoader::useOwnModule = true;
  host::machine().stringTables[host::machine().programPath][kId] = L"own";
  faults().failOnce("GetModuleHandleW", 8);
  EXPECT_EQ(load(0), L"own");
  EXPECT_EQ(journal().calls("LoadStringW").at(0).args, "null, 101, 64");
}

TEST_F(ResourceLoaderFailureTest, throwsWhenTheProgramsStringIsNotReadEither) {
  ResourceLoader::useOwnModule = true;
  host::machine().stringTables[host::machine().programPath][kId] = L"own";
  faults().failOnce("LoadStringW", 8);
  EXPECT_EQ(thrownBy<ResourceMissingException>([&] { load(0); }), kNotFound);
}

TEST_F(ResourceLoaderFailureTest, asksTheNextLibraryWhenAFileIsNone) {
  host::machine().drive.write(L"C:\\Program Files\\Orvix\\TPMEnrollmentService\\en-US.dll",
                              "MZ and no more");
  install(L"VUSL_en-US.dll", u"support");
  EXPECT_EQ(load(0), L"support");
}

TEST_F(ResourceLoaderFailureTest, takesAnEmptyStringForAMissingOne) {
  install(L"en-US.dll", u"");
  install(L"VUSL_en-US.dll", u"support");
  EXPECT_EQ(load(0), L"support");
}

TEST_F(ResourceLoaderFailureTest, keepsZeroCharactersAndLoneSurrogates) {
  install(L"en-US.dll", {u'a', u'\0', 0xD83D, u'b'});
  load(0);
  EXPECT_EQ(std::wstring(buffer, 4), (std::wstring{L'a', L'\0', wchar_t{0xD83D}, L'b'}));
}

TEST_F(ResourceLoaderFailureTest, cutsAStringToTheBuffer) {
  install(L"en-US.dll", u"abcdef");
  wchar_t small[4] = {};
  loader.loadString(kId, small, 0, 4);
  EXPECT_STREQ(small, L"abc");
}

TEST_F(ResourceLoaderFailureTest, findsNothingThatFitsIntoABufferOfOne) {
  // The length that the platform tells is that of what it copied.
  install(L"en-US.dll", u"abc");
  wchar_t small[1] = {L'x'};
  EXPECT_EQ(thrownBy<ResourceMissingException>([&] { loader.loadString(kId, small, 0, 1); }),
            kNotFound);
  EXPECT_EQ(small[0], L'\0');
}

TEST_F(ResourceLoaderFailureTest, findsNothingForANullBuffer) {
  install(L"en-US.dll", u"abc");
  EXPECT_EQ(thrownBy<ResourceMissingException>([&] { loader.loadString(kId, nullptr, 0, 64); }),
            kNotFound);
}

TEST_F(ResourceLoaderFailureTest, namesALargeIdAsUnsigned) {
  EXPECT_EQ(
      thrownBy<ResourceMissingException>([&] { loader.loadString(0xFFFFFFFF, buffer, 0, 64); }),
      "Error during loading a string resource. Following string resource id could not be "
      "found: 4294967295.");
}

TEST_F(ResourceLoaderFailureTest, loadsNoLibraryFromAnEmptyList) {
  EXPECT_EQ(loader.loadFromLibraries({}, kId, buffer, 64), 0);
  EXPECT_TRUE(journal().calls("LoadLibraryExW").empty());
}

TEST_F(ResourceLoaderFailureTest, makesTheNamesOfTheLibrariesWithoutThePlatform) {
  ResourceLoader::resourceLibraries.clear();
  journal().clear();
  ResourceLoader::initialiseLibraries();
  EXPECT_TRUE(journal().entries().empty());
}

TEST_F(ResourceLoaderFailureTest, refusesALanguageBelowTheFirst) {
  EXPECT_EQ(thrownBy<ResourceMissingException>([] { ResourceLoader::libraryFileName(L"", -1); }),
            "Could not find language mapping for languageID=-1");
}

TEST_F(ResourceLoaderFailureTest, appendsToListsThatAreFilledASecondTime) {
  ResourceLoader::initialiseLibraries();
  EXPECT_EQ(ResourceLoader::resourceLibraries[0],
            (std::vector<std::wstring>{L"en-US.dll", L"VUSL_en-US.dll", L"en-US.dll",
                                       L"VUSL_en-US.dll"}));
}

TEST_F(ResourceLoaderFailureTest, keepsALibraryOfItsOwnForEachLoader) {
  install(L"en-US.dll", u"own");
  load(0);
  ResourceLoader other;
  other.loadString(kId, buffer, 0, 64);
  EXPECT_EQ(journal().calls("LoadLibraryExW").size(), 2U);
  EXPECT_EQ(ledger().open("module"), 2U);
}

}  // namespace
