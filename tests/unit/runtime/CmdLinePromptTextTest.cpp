// The text with which a value is asked for.

#include <string>

#include "VUSL/Support/ResourceMissingException.h"
#include "tests/unit/runtime/CmdLinePromptFixture.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

class CmdLinePromptTextTest : public CmdLinePromptFixture {};

TEST_F(CmdLinePromptTextTest, textIsInTheUsersLanguage) {
  install(L"de-DE.dll", u"Kennwort: ");
  host::machine().userLanguage = 0x0407;
  addPlain();
  parse({L"-pin"}, "1\n");
  EXPECT_EQ(written(), "Kennwort: \n");
}

TEST_F(CmdLinePromptTextTest, textOfTheSupportLibraryIsFoundToo) {
  host::machine().drive.write(L"C:\\Program Files\\Orvix\\TPMEnrollmentService\\en-US.dll", "");
  install(L"VUSL_en-US.dll", u"Value: ");
  addPlain();
  parse({L"-pin"}, "1\n");
  EXPECT_EQ(written(), "Value: \n");
}

TEST_F(CmdLinePromptTextTest, characterWithoutANarrowFormIsAQuestionMark) {
  install(L"en-US.dll", u"Schl\u00FCssel: ");
  addPlain();
  parse({L"-pin"}, "1\n");
  EXPECT_EQ(written(), "Schl?ssel: \n");
}

TEST_F(CmdLinePromptTextTest, longTextIsCutToItsBuffer) {
  install(L"en-US.dll", std::u16string(3000, u'x'));
  addPlain();
  parse({L"-pin"}, "1\n");
  EXPECT_EQ(written(), std::string(2047, 'x') + "\n");
}

TEST_F(CmdLinePromptTextTest, missingTextIsThrownBeforeAnythingIsWrittenOrHidden) {
  CmdLineParameter& pin = addConfirmed();
  pin.promptId = 7;
  EXPECT_EQ(thrownBy<ResourceMissingException>([&] { parse({L"-pin"}, "1\n1\n"); }),
            "Error during loading a string resource. Following string resource id could not be "
            "found: 7.");
  EXPECT_EQ(written(), "");
  EXPECT_EQ(consoleCalls(), Texts{});
  EXPECT_EQ(pin.index, 1);
  EXPECT_EQ(pin.value, L"");
}

TEST_F(CmdLinePromptTextTest, textThatCannotBeLoadedIsThrown) {
  for (const char* call : {"LoadLibraryExW", "LoadStringW"}) {
    faults().failFrom(call, 8);
    addPlain();
    EXPECT_EQ(thrownBy<ResourceMissingException>([&] { parse({L"-pin"}, "1\n"); }),
              "Error during loading a string resource. Following string resource id could not be "
              "found: 1001.");
    EXPECT_EQ(written(), "");
  }
}

TEST_F(CmdLinePromptTextTest, callForTheTextThatFailsOnceLeadsToTheNextLibrary) {
  install(L"VUSL_en-US.dll", u"Value: ");
  for (const char* call : {"LoadLibraryExW", "LoadStringW"}) {
    CmdLineParameter& pin = addPlain();
    faults().failOnce(call, 8);
    parse({L"-pin"}, "1\n");
    EXPECT_EQ(written(), "Value: \n") << call;
    buffer.str("");
    pin.name = L"done";
  }
}

TEST_F(CmdLinePromptTextTest, textIsLookedUpWithoutABaseNameWhateverWasSetBefore) {
  ResourceLoader::libraryBaseName = L"X";
  install(L"X_en-US.dll", u"Of X: ");
  addPlain();
  parse({L"-pin"}, "1\n");
  EXPECT_EQ(written(), "PIN: \n");
  EXPECT_EQ(ResourceLoader::libraryBaseName, L"");
}

// The lists are made once, and the name is cleared for each text all the same.
TEST_F(CmdLinePromptTextTest, baseNameIsClearedAlsoWhenTheListsHaveBeenMade) {
  ResourceLoader::initialiseLibraries();
  ResourceLoader::libraryBaseName = L"X";
  addPlain();
  parse({L"-pin"}, "1\n");
  EXPECT_EQ(ResourceLoader::libraryBaseName, L"");
}

TEST_F(CmdLinePromptTextTest, eachPromptHasItsOwnText) {
  host::machine().drive.write(L"C:\\Program Files\\Orvix\\TPMEnrollmentService\\en-US.dll",
                              host::resourceLibrary({{kId, u"PIN: "}, {7, u"Code: "}}));
  addPlain();
  add(L"code", CmdLineParameterKind::PromptPlain).promptId = 7;
  parse({L"-pin", L"-code"}, "1\n2\n");
  EXPECT_EQ(written(), "PIN: \nCode: \n");
}

}  // namespace
