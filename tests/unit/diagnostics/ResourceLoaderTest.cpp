#include "VUSL/Support/ResourceLoader.h"

#include <map>
#include <set>
#include <string>
#include <vector>

#include "VUSL/Support/ResourceMissingException.h"
#include "tests/support/MachineTest.h"
#include "tests/support/ResourceLibrary.h"
#include "tests/unit/runtime/SlotOrder.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

using Names = std::vector<std::wstring>;

constexpr uint32_t kId = 101;

// Before any test has changed it.
const bool kOwnModuleAtTheStart = ResourceLoader::useOwnModule;

// A loader whose libraries are the lists themselves: a string is found where the test says so.
class ListLoader : public ResourceLoader {
 public:
  using ResourceLoader::loadString;

  int loadFromLibraries(const LibraryList& list, uint32_t id, wchar_t* buffer, int size) override {
    askedId = id;
    askedSize = size;
    asked.insert(asked.end(), list.begin(), list.end());
    for (const std::wstring& name : list) {
      if (holders.count(name) == 0) continue;
      buffer[name.copy(buffer, 63)] = L'\0';
      return static_cast<int>(name.size());
    }
    return 0;
  }

  std::set<std::wstring> holders;
  Names asked;
  uint32_t askedId = 0;
  int askedSize = 0;
};

class ResourceLoaderTest : public host::MachineTest {
 protected:
  ResourceLoaderTest() { reset(); }
  ~ResourceLoaderTest() override { reset(); }

  static void reset() {
    ResourceLoader::resourceLibraries.clear();
    ResourceLoader::libraryBaseName.clear();
    ResourceLoader::useOwnModule = false;
    ResourceLoader::languageOverrideSet = false;
    ResourceLoader::languageOverride = 0;
  }

  // A library beside the program that has the string, or has none if `text` is empty.
  static void install(const std::wstring& fileName, const std::u16string& text) {
    host::machine().drive.write(L"C:\\Program Files\\Orvix\\TPMEnrollmentService\\" + fileName,
                                host::resourceLibrary({{kId, text}}));
  }

  static int32_t languageOf(LANGID user) {
    host::machine().userLanguage = user;
    return ResourceLoader::currentLanguage();
  }

  std::wstring load(int32_t language) {
    loader.loadString(kId, buffer, language, 64);
    return buffer;
  }

  ListLoader loader;
  wchar_t buffer[ResourceLoader::kDefaultSize] = {};
};

TEST_F(ResourceLoaderTest, leavesTheProgramsOwnStringsAloneUnlessTold) {
  EXPECT_FALSE(kOwnModuleAtTheStart);
}

TEST_F(ResourceLoaderTest, namesSixLanguages) {
  EXPECT_EQ(ResourceLoader::languageNames(), (std::map<int32_t, std::wstring>{{0, L"en-US"},
                                                                              {1, L"es-ES"},
                                                                              {2, L"pt-BR"},
                                                                              {3, L"es-MX"},
                                                                              {4, L"de-DE"},
                                                                              {5, L"pl-PL"}}));
}

TEST_F(ResourceLoaderTest, takesEnglishForAUserOfItalian) {
  EXPECT_EQ(languageOf(0x0410), 0);
}

TEST_F(ResourceLoaderTest, takesMexicanSpanishForTheSublanguageTwo) {
  EXPECT_EQ(languageOf(0x080A), 3);
}

TEST_F(ResourceLoaderTest, takesSpanishForAnyOtherSublanguage) {
  EXPECT_EQ(languageOf(0x040A), 1);
  EXPECT_EQ(languageOf(0x0C0A), 1);
  EXPECT_EQ(languageOf(0x000A), 1);
  // Their low bits are those of Mexico, and there is more above them.
  EXPECT_EQ(languageOf(0x280A), 1);
  EXPECT_EQ(languageOf(0x480A), 1);
}

TEST_F(ResourceLoaderTest, takesTheLanguageOfThePrimaryWhateverTheSublanguage) {
  EXPECT_EQ(languageOf(0x0409), 0);
  EXPECT_EQ(languageOf(0x0809), 0);
  EXPECT_EQ(languageOf(0x0416), 2);
  EXPECT_EQ(languageOf(0x0816), 2);
  EXPECT_EQ(languageOf(0x0407), 4);
  EXPECT_EQ(languageOf(0x0C07), 4);
  EXPECT_EQ(languageOf(0x0415), 5);
}

TEST_F(ResourceLoaderTest, takesTheLowTenBitsForThePrimaryLanguage) {
  EXPECT_EQ(languageOf(0x0107), 0);
  EXPECT_EQ(languageOf(0x0207), 0);
  EXPECT_EQ(languageOf(0xFC07), 4);
}

TEST_F(ResourceLoaderTest, takesTheOverrideWhenItIsSet) {
  ResourceLoader::languageOverrideSet = true;
  ResourceLoader::languageOverride = 4;
  EXPECT_EQ(languageOf(0x0409), 4);
}

TEST_F(ResourceLoaderTest, doesNotLookAtTheOverrideUntilItIsSet) {
  ResourceLoader::languageOverride = 4;
  EXPECT_EQ(languageOf(0x0409), 0);
}

TEST_F(ResourceLoaderTest, letsTheTwoSpanishesStandInForEachOther) {
  EXPECT_EQ(ResourceLoader::fallbackLanguages(1), (std::vector<int32_t>{1, 3}));
  EXPECT_EQ(ResourceLoader::fallbackLanguages(3), (std::vector<int32_t>{3, 1}));
}

TEST_F(ResourceLoaderTest, hasNoStandInForOtherLanguages) {
  for (const int32_t language : {0, 2, 4, 5}) {
    EXPECT_EQ(ResourceLoader::fallbackLanguages(language), std::vector<int32_t>{language});
  }
}

TEST_F(ResourceLoaderTest, makesAFileNameFromBaseAndLanguage) {
  EXPECT_EQ(ResourceLoader::libraryFileName(L"VUSL", 2), L"VUSL_pt-BR.dll");
}

TEST_F(ResourceLoaderTest, makesAPlainFileNameFromAnEmptyBase) {
  EXPECT_EQ(ResourceLoader::libraryFileName(L"", 0), L"en-US.dll");
}

TEST_F(ResourceLoaderTest, refusesALanguageWithNoName) {
  EXPECT_EQ(thrownBy<ResourceMissingException>([] { ResourceLoader::libraryFileName(L"X", 6); }),
            "Could not find language mapping for languageID=6");
}

TEST_F(ResourceLoaderTest, putsTheOwnLibraryAndTheExactLanguageFirst) {
  ResourceLoader::libraryBaseName = L"X";
  ResourceLoader::initialiseLibraries();
  EXPECT_EQ(ResourceLoader::resourceLibraries[3],
            (Names{L"X_es-MX.dll", L"VUSL_es-MX.dll", L"X_es-ES.dll", L"VUSL_es-ES.dll"}));
  EXPECT_EQ(ResourceLoader::resourceLibraries[0], (Names{L"X_en-US.dll", L"VUSL_en-US.dll"}));
  EXPECT_EQ(ResourceLoader::resourceLibraries.size(), 6U);
}

TEST_F(ResourceLoaderTest, keepsItsListsWhenTheBaseNameChangesLater) {
  ResourceLoader::initialiseLibraries();
  ResourceLoader::libraryBaseName = L"X";
  EXPECT_EQ(ResourceLoader::resourceLibraries[0], (Names{L"en-US.dll", L"VUSL_en-US.dll"}));
}

TEST_F(ResourceLoaderTest, loadsALibraryAsADataFile) {
  ResourceLoader().loadLibrary(L"x.dll");
  const auto calls = journal().calls("LoadLibraryExW");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].args, "x.dll, null, 2");
}

TEST_F(ResourceLoaderTest, triesAMissingLibraryOnce) {
  ResourceLoader real;
  EXPECT_EQ(real.loadLibrary(L"x.dll"), nullptr);
  EXPECT_EQ(real.loadLibrary(L"x.dll"), nullptr);
  EXPECT_EQ(journal().calls("LoadLibraryExW").size(), 1U);
}

TEST_F(ResourceLoaderTest, triesAMissingLibraryAgainInAnotherLoader) {
  ResourceLoader().loadLibrary(L"x.dll");
  ResourceLoader().loadLibrary(L"x.dll");
  EXPECT_EQ(journal().calls("LoadLibraryExW").size(), 2U);
}

TEST_F(ResourceLoaderTest, asksTheLibrariesOfAListInOrder) {
  ResourceLoader real;
  EXPECT_EQ(real.loadFromLibraries({L"b.dll", L"a.dll"}, kId, buffer, 64), 0);
  const auto calls = journal().calls("LoadLibraryExW");
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_EQ(calls[0].args, "b.dll, null, 2");
  EXPECT_EQ(calls[1].args, "a.dll, null, 2");
}

TEST_F(ResourceLoaderTest, asksNoStringOfALibraryThatIsMissing) {
  ResourceLoader().loadFromLibraries({L"a.dll"}, kId, buffer, 64);
  EXPECT_TRUE(journal().calls("LoadStringW").empty());
}

TEST_F(ResourceLoaderTest, findsAStringOfTheRelatedLanguageBeforeTheEnglishOne) {
  ResourceLoader::initialiseLibraries();
  loader.holders = {L"VUSL_es-ES.dll", L"VUSL_en-US.dll"};
  EXPECT_EQ(load(3), L"VUSL_es-ES.dll");
}

TEST_F(ResourceLoaderTest, findsAStringInEnglishWhenTheLanguageLacksIt) {
  ResourceLoader::initialiseLibraries();
  loader.holders = {L"VUSL_en-US.dll"};
  EXPECT_EQ(load(4), L"VUSL_en-US.dll");
  EXPECT_EQ(loader.asked,
            (Names{L"de-DE.dll", L"VUSL_de-DE.dll", L"en-US.dll", L"VUSL_en-US.dll"}));
}

TEST_F(ResourceLoaderTest, takesEnglishForALanguageWithNoList) {
  ResourceLoader::initialiseLibraries();
  loader.holders = {L"en-US.dll"};
  EXPECT_EQ(load(17), L"en-US.dll");
}

TEST_F(ResourceLoaderTest, asksTheEnglishLibrariesOnceForAStringInEnglish) {
  ResourceLoader::initialiseLibraries();
  EXPECT_THROW(load(0), ResourceMissingException);
  EXPECT_EQ(loader.asked, (Names{L"en-US.dll", L"VUSL_en-US.dll"}));
}

TEST_F(ResourceLoaderTest, throwsWithTheIdWhenNoLibraryHasTheString) {
  ResourceLoader::initialiseLibraries();
  ResourceLoader real;
  EXPECT_EQ(thrownBy<ResourceMissingException>([&] { real.loadString(kId, buffer); }),
            "Error during loading a string resource. Following string resource id could not be "
            "found: 101.");
}

TEST_F(ResourceLoaderTest, throwsWhenThereAreNoLists) {
  EXPECT_EQ(thrownBy<ResourceMissingException>([&] { load(0); }),
            "Error during loading resource library. Could not find mapping for default language");
}

TEST_F(ResourceLoaderTest, throwsWithoutAnEnglishListAlsoWhereTheLanguageHasOne) {
  ResourceLoader::resourceLibraries[4] = {L"de-DE.dll"};
  loader.holders = {L"de-DE.dll"};
  EXPECT_EQ(thrownBy<ResourceMissingException>([&] { load(4); }),
            "Error during loading resource library. Could not find mapping for default language");
}

TEST_F(ResourceLoaderTest, takesTheCurrentLanguageWhereNoneIsGiven) {
  ResourceLoader::initialiseLibraries();
  host::machine().userLanguage = 0x0407;
  loader.holders = {L"de-DE.dll"};
  loader.loadString(kId, buffer, 64);
  EXPECT_STREQ(buffer, L"de-DE.dll");
  EXPECT_EQ(loader.askedId, 101U);
  EXPECT_EQ(loader.askedSize, 64);
}

TEST_F(ResourceLoaderTest, takesTheCurrentLanguageAndTheDefaultSizeWhereNeitherIsGiven) {
  ResourceLoader::initialiseLibraries();
  host::machine().userLanguage = 0x0415;
  loader.holders = {L"pl-PL.dll"};
  loader.loadString(kId, buffer);
  EXPECT_STREQ(buffer, L"pl-PL.dll");
  EXPECT_EQ(loader.askedId, 101U);
  EXPECT_EQ(loader.askedSize, 2048);
}

TEST_F(ResourceLoaderTest, doesNotAskTheProgramItselfByDefault) {
  ResourceLoader::initialiseLibraries();
  EXPECT_THROW(load(0), ResourceMissingException);
  EXPECT_TRUE(journal().calls("GetModuleHandleW").empty());
}

TEST_F(ResourceLoaderTest, asksTheProgramItselfLastWhenToldTo) {
  ResourceLoader::initialiseLibraries();
  ResourceLoader::useOwnModule = true;
  EXPECT_THROW(load(0), ResourceMissingException);
  const auto calls = journal().calls("GetModuleHandleW");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].args, "null");
  EXPECT_EQ(journal().calls("LoadStringW").size(), 1U);
}

TEST_F(ResourceLoaderTest, hasItsOperationsInOrder) {
  using WithLanguage = void (ResourceLoader::*)(uint32_t, wchar_t*, int32_t, int);
  using WithSize = void (ResourceLoader::*)(uint32_t, wchar_t*, int);
  using Plain = void (ResourceLoader::*)(uint32_t, wchar_t*);
  EXPECT_EQ(slotOf(static_cast<WithLanguage>(&ResourceLoader::loadString)), 2U);
  EXPECT_EQ(slotOf(static_cast<WithSize>(&ResourceLoader::loadString)), 3U);
  EXPECT_EQ(slotOf(static_cast<Plain>(&ResourceLoader::loadString)), 4U);
  EXPECT_EQ(slotOf(&ResourceLoader::loadFromLibraries), 5U);
  EXPECT_EQ(slotOf(&ResourceLoader::loadLibrary), 6U);
}

TEST_F(ResourceLoaderTest, loadsALibraryOnceAlsoWhenItIsThere) {
  install(L"x.dll", u"text");
  ResourceLoader real;
  const HMODULE library = real.loadLibrary(L"x.dll");
  EXPECT_NE(library, nullptr);
  EXPECT_EQ(real.loadLibrary(L"x.dll"), library);
  EXPECT_EQ(journal().calls("LoadLibraryExW").size(), 1U);
}

TEST_F(ResourceLoaderTest, leavesItsLibrariesLoadedWhenItGoes) {
  install(L"x.dll", u"text");
  ResourceLoader().loadLibrary(L"x.dll");
  EXPECT_TRUE(journal().calls("FreeLibrary").empty());
  EXPECT_EQ(ledger().open("module"), 1U);
}

TEST_F(ResourceLoaderTest, takesTheFirstLibraryOfAListThatHasTheString) {
  install(L"b.dll", u"");
  install(L"c.dll", u"third");
  install(L"d.dll", u"fourth");
  ResourceLoader real;
  EXPECT_EQ(real.loadFromLibraries({L"a.dll", L"b.dll", L"c.dll", L"d.dll"}, kId, buffer, 64), 5);
  EXPECT_STREQ(buffer, L"third");
  EXPECT_EQ(journal().calls("LoadLibraryExW").size(), 3U);
}

TEST_F(ResourceLoaderTest, findsAStringOfTheProgramItselfWhenToldTo) {
  ResourceLoader::initialiseLibraries();
  ResourceLoader::useOwnModule = true;
  host::machine().stringTables[host::machine().programPath][kId] = L"own";
  ResourceLoader real;
  real.loadString(kId, buffer, 4, 64);
  EXPECT_STREQ(buffer, L"own");
}

TEST_F(ResourceLoaderTest, doesNotAskTheProgramItselfForWhatALibraryHas) {
  ResourceLoader::initialiseLibraries();
  ResourceLoader::useOwnModule = true;
  host::machine().stringTables[host::machine().programPath][kId] = L"own";
  install(L"VUSL_en-US.dll", u"support");
  ResourceLoader real;
  real.loadString(kId, buffer, 4, 64);
  EXPECT_STREQ(buffer, L"support");
  EXPECT_TRUE(journal().calls("GetModuleHandleW").empty());
}

TEST_F(ResourceLoaderTest, loadsTheLibrariesOfAListThroughTheSlotForOne) {
  struct Told : ResourceLoader {
    HMODULE loadLibrary(const vusl::string_t& name) override {
      asked.push_back(name);
      return nullptr;
    }
    Names asked;
  } told;
  told.loadFromLibraries({L"a.dll", L"b.dll"}, kId, buffer, 64);
  EXPECT_EQ(told.asked, (Names{L"a.dll", L"b.dll"}));
}

}  // namespace
