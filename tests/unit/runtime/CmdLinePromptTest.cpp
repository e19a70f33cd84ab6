// Values that are asked for on the console.

#include <ios>
#include <sstream>
#include <string>
#include <vector>

#include "VUSL/Support/CmdLineProc.h"
#include "VUSL/Support/InvalidInputError.h"
#include "VUSL/Support/ResourceLoader.h"
#include "VUSL/Support/ResourceMissingException.h"
#include "tests/support/MachineTest.h"
#include "tests/support/ResourceLibrary.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

using Standard = host::Machine::Standard;
using Texts = std::vector<std::string>;

constexpr uint32_t kId = 1001;
constexpr DWORD kEchoOn = 0x1F7;
constexpr DWORD kEchoOff = 0x1F3;

// Notes the console's mode whenever something is written, and what was written by then.
class WatchedOutput : public std::stringbuf {
 public:
  std::vector<DWORD> modes;

 protected:
  std::streamsize xsputn(const char* text, std::streamsize count) override {
    modes.push_back(host::machine().inputMode);
    return std::stringbuf::xsputn(text, count);
  }
};

class CmdLinePromptTest : public host::MachineTest {
 protected:
  CmdLinePromptTest() {
    ResourceLoader::resourceLibraries.clear();
    ResourceLoader::libraryBaseName.clear();
    host::machine().input = Standard::kConsole;
    install(L"en-US.dll", u"PIN: ");
  }
  ~CmdLinePromptTest() override { ResourceLoader::resourceLibraries.clear(); }

  static void install(const std::wstring& fileName, const std::u16string& text) {
    host::machine().drive.write(L"C:\\Program Files\\Orvix\\TPMEnrollmentService\\" + fileName,
                                host::resourceLibrary({{kId, text}}));
  }

  // A record in a group of its own that is asked for on the test's streams.
  CmdLineParameter& add(const vusl::string_t& name, CmdLineParameterKind kind) {
    CmdLineParameter& parameter = parser.addParameter(parser.addGroup(name), name);
    parameter.kind = kind;
    parameter.promptId = kId;
    parameter.in = &input;
    parameter.out = &output;
    return parameter;
  }
  CmdLineParameter& addPlain() { return add(L"pin", CmdLineParameterKind::PromptPlain); }
  CmdLineParameter& addConfirmed() { return add(L"pin", CmdLineParameterKind::PromptConfirmed); }

  void parse(std::vector<const wchar_t*> arguments, const std::string& typed) {
    input.str(typed);
    arguments.insert(arguments.begin(), L"program.exe");
    parser.parseCommandLine(static_cast<int>(arguments.size()), arguments.data());
  }

  static Texts consoleCalls() {
    Texts names;
    for (const std::string& name : journal().names()) {
      if (name.find("Console") != std::string::npos || name == "GetStdHandle") {
        names.push_back(name);
      }
    }
    return names;
  }

  std::string written() const { return buffer.str(); }

  WatchedOutput buffer;
  std::ostream output{&buffer};
  std::istringstream input;
  std::ostringstream otherOutput;
  std::istringstream otherInput;
  vusl::CmdLineProc parser{L"-", otherOutput, otherInput};
};

// Asked for once.

TEST_F(CmdLinePromptTest, plainValueIsOneLineAfterTheText) {
  const CmdLineParameter& pin = addPlain();
  parse({L"-pin"}, "1 2 Abc\nmore\n");
  EXPECT_EQ(pin.value, L"1 2 Abc");
  EXPECT_EQ(pin.index, 1);
  EXPECT_EQ(written(), "PIN: \n");
}

TEST_F(CmdLinePromptTest, plainValueIsTypedInTheOpen) {
  addPlain();
  parse({L"-pin"}, "1234\n");
  EXPECT_EQ(consoleCalls(), Texts{});
  EXPECT_EQ(buffer.modes.at(0), kEchoOn);
}

TEST_F(CmdLinePromptTest, valueIsWidenedFromUtf8) {
  const CmdLineParameter& pin = addPlain();
  parse({L"-pin"},
        "Gr\xC3\xBC\xC3\x9F"
        "e\n");
  EXPECT_EQ(pin.value, L"Gr\u00FC\u00DFe");
}

TEST_F(CmdLinePromptTest, lastLineNeedsNoEnd) {
  const CmdLineParameter& pin = addPlain();
  parse({L"-pin"}, "1234");
  EXPECT_EQ(pin.value, L"1234");
}

TEST_F(CmdLinePromptTest, endOfTheInputIsAnEmptyValueInPlaceOfTheDefault) {
  CmdLineParameter& pin = addPlain();
  pin.value = L"default";
  parse({L"-pin"}, "");
  EXPECT_EQ(pin.value, L"");
  EXPECT_EQ(written(), "PIN: \n");
}

TEST_F(CmdLinePromptTest, recordsOwnStreamsAreUsedAndNotTheParsers) {
  addPlain();
  otherInput.str("other\n");
  parse({L"-pin"}, "1234\n");
  EXPECT_EQ(otherOutput.str(), "");
  EXPECT_EQ(otherInput.tellg(), 0);
}

// Asked for twice.

TEST_F(CmdLinePromptTest, confirmedValueIsTypedTwiceAndStored) {
  const CmdLineParameter& pin = addConfirmed();
  parse({L"-pin"}, "1234\n1234\n");
  EXPECT_EQ(pin.value, L"1234");
  EXPECT_EQ(written(), "PIN: \nRetype the value to confirm: \n");
}

TEST_F(CmdLinePromptTest, confirmationThatFailsTwiceShowsTheMismatchTwiceAndAsksFromTheStart) {
  const CmdLineParameter& pin = addConfirmed();
  parse({L"-pin"}, "1\n2\nabc\nABC\nright\nright\n");
  EXPECT_EQ(pin.value, L"right");
  EXPECT_EQ(written(),
            "PIN: \nRetype the value to confirm: \n"
            "The provided parameter value and its confirmation do not match!\n\n"
            "PIN: \nRetype the value to confirm: \n"
            "The provided parameter value and its confirmation do not match!\n\n"
            "PIN: \nRetype the value to confirm: \n");
}

TEST_F(CmdLinePromptTest, thereIsNoLimitToTheTries) {
  const CmdLineParameter& pin = addConfirmed();
  std::string typed;
  for (int i = 0; i < 10000; ++i) typed += "a\nb\n";
  parse({L"-pin"}, typed + "right\nright\n");
  EXPECT_EQ(pin.value, L"right");
}

// At the end both entries are empty, and so equal.
TEST_F(CmdLinePromptTest, endOfTheInputEndsTheTriesWithAnEmptyValue) {
  CmdLineParameter& pin = addConfirmed();
  pin.value = L"default";
  parse({L"-pin"}, "only");
  EXPECT_EQ(pin.value, L"");
  EXPECT_EQ(written(),
            "PIN: \nRetype the value to confirm: \n"
            "The provided parameter value and its confirmation do not match!\n\n"
            "PIN: \nRetype the value to confirm: \n");
  EXPECT_EQ(host::machine().inputMode, kEchoOn);
}

// The echo.

TEST_F(CmdLinePromptTest, inputIsHiddenFromTheFirstTextToTheLastLineEnd) {
  addConfirmed();
  parse({L"-pin"}, "1\n2\n3\n3\n");
  ASSERT_FALSE(buffer.modes.empty());
  for (const DWORD mode : buffer.modes) EXPECT_EQ(mode, kEchoOff);
  EXPECT_EQ(host::machine().inputMode, kEchoOn);
}

TEST_F(CmdLinePromptTest, echoIsTurnedOffAndOnByTheSameThreeCalls) {
  addConfirmed();
  parse({L"-pin"}, "1\n1\n");
  EXPECT_EQ(consoleCalls(), (Texts{"GetStdHandle", "GetConsoleMode", "SetConsoleMode",
                                   "GetStdHandle", "GetConsoleMode", "SetConsoleMode"}));
}

// Deliberate: the flag is added to the mode of that moment, whatever the mode was before.
TEST_F(CmdLinePromptTest, echoIsOnAfterwardsEvenIfItWasOffBefore) {
  host::machine().inputMode = kEchoOff;
  addConfirmed();
  parse({L"-pin"}, "1\n1\n");
  EXPECT_EQ(host::machine().inputMode, kEchoOn);
}

TEST_F(CmdLinePromptTest, promptWorksWithoutAConsole) {
  for (const Standard standard : {Standard::kFile, Standard::kNone}) {
    host::machine().input = standard;
    CmdLineParameter& pin = addConfirmed();
    parse({L"-pin"}, "1234\n1234\n");
    EXPECT_EQ(pin.value, L"1234");
    EXPECT_EQ(host::machine().inputMode, kEchoOn);
    EXPECT_TRUE(journal().calls("SetConsoleMode").empty());
    pin.name = L"done";
    input.clear();
  }
}

TEST_F(CmdLinePromptTest, invalidHandleIsNotAskedForItsMode) {
  faults().failFrom("GetStdHandle", 6);
  const CmdLineParameter& pin = addConfirmed();
  parse({L"-pin"}, "1234\n1234\n");
  EXPECT_EQ(pin.value, L"1234");
  EXPECT_EQ(consoleCalls(), (Texts{"GetStdHandle", "GetStdHandle"}));
}

TEST_F(CmdLinePromptTest, eachCallOfTheConsoleMayFailOnceAndTheEchoIsOnAfterwards) {
  const CmdLineParameter& pin = addConfirmed();
  for (const char* call : {"GetStdHandle", "GetConsoleMode", "SetConsoleMode"}) {
    faults().failOnce(call, 6);
    input.clear();
    parse({L"-pin"}, std::string(call) + "\n" + call + "\n");
    EXPECT_EQ(pin.value, std::wstring(call, call + std::string(call).size()));
    EXPECT_EQ(buffer.modes.front(), kEchoOn) << call;
    EXPECT_EQ(host::machine().inputMode, kEchoOn) << call;
    buffer.modes.clear();
  }
}

TEST_F(CmdLinePromptTest, echoIsTurnedOnAgainWhenReadingThrows) {
  CmdLineParameter& pin = addConfirmed();
  pin.value = L"default";
  input.exceptions(std::ios::eofbit);
  EXPECT_THROW(parse({L"-pin"}, "only"), std::ios_base::failure);
  EXPECT_EQ(buffer.modes.front(), kEchoOff);
  EXPECT_EQ(host::machine().inputMode, kEchoOn);
  EXPECT_EQ(pin.value, L"default");
}

// The text.

TEST_F(CmdLinePromptTest, textIsInTheUsersLanguage) {
  install(L"de-DE.dll", u"Kennwort: ");
  host::machine().userLanguage = 0x0407;
  addPlain();
  parse({L"-pin"}, "1\n");
  EXPECT_EQ(written(), "Kennwort: \n");
}

TEST_F(CmdLinePromptTest, textOfTheSupportLibraryIsFoundToo) {
  host::machine().drive.write(L"C:\\Program Files\\Orvix\\TPMEnrollmentService\\en-US.dll", "");
  install(L"VUSL_en-US.dll", u"Value: ");
  addPlain();
  parse({L"-pin"}, "1\n");
  EXPECT_EQ(written(), "Value: \n");
}

TEST_F(CmdLinePromptTest, characterWithoutANarrowFormIsAQuestionMark) {
  install(L"en-US.dll", u"Schl\u00FCssel: ");
  addPlain();
  parse({L"-pin"}, "1\n");
  EXPECT_EQ(written(), "Schl?ssel: \n");
}

TEST_F(CmdLinePromptTest, longTextIsCutToItsBuffer) {
  install(L"en-US.dll", std::u16string(3000, u'x'));
  addPlain();
  parse({L"-pin"}, "1\n");
  EXPECT_EQ(written(), std::string(2047, 'x') + "\n");
}

TEST_F(CmdLinePromptTest, missingTextIsThrownBeforeAnythingIsWrittenOrHidden) {
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

TEST_F(CmdLinePromptTest, textThatCannotBeLoadedIsThrown) {
  for (const char* call : {"LoadLibraryExW", "LoadStringW"}) {
    faults().failFrom(call, 8);
    addPlain();
    EXPECT_EQ(thrownBy<ResourceMissingException>([&] { parse({L"-pin"}, "1\n"); }),
              "Error during loading a string resource. Following string resource id could not be "
              "found: 1001.");
    EXPECT_EQ(written(), "");
  }
}

// When it is asked.

TEST_F(CmdLinePromptTest, nothingIsAskedWhenTheRestOfTheLineIsWrong) {
  addPlain();
  add(L"needed", CmdLineParameterKind::NoValue).required = true;
  EXPECT_THROW(parse({L"-pin"}, "1\n"), vusl::InvalidInputError);
  EXPECT_EQ(written(), "");
  EXPECT_EQ(input.tellg(), 0);
}

TEST_F(CmdLinePromptTest, nothingIsAskedWhenAGroupIsInConflict) {
  CmdLineGroup& group = parser.addGroup(L"both");
  parser.addParameter(group, L"a");
  parser.addParameter(group, L"b");
  addPlain();
  EXPECT_THROW(parse({L"-pin", L"-a", L"-b"}, "1\n"), vusl::InvalidInputError);
  EXPECT_EQ(written(), "");
}

TEST_F(CmdLinePromptTest, promptsComeInTheOrderOfTheCommandLine) {
  const CmdLineParameter& first = add(L"first", CmdLineParameterKind::PromptPlain);
  const CmdLineParameter& second = add(L"second", CmdLineParameterKind::PromptPlain);
  parse({L"-SECOND", L"-first"}, "one\ntwo\n");
  EXPECT_EQ(second.value, L"one");
  EXPECT_EQ(first.value, L"two");
}

TEST_F(CmdLinePromptTest, parameterGivenTwiceIsAskedForOnce) {
  CmdLineParameter& pin = addPlain();
  pin.alias = L"P";
  parse({L"-pin", L"-p", L"-PIN"}, "one\ntwo\n");
  EXPECT_EQ(pin.index, 3);
  EXPECT_EQ(pin.value, L"one");
  EXPECT_EQ(written(), "PIN: \n");
}

TEST_F(CmdLinePromptTest, everyRecordOfTheNameIsAskedForOnceEach) {
  const CmdLineParameter& first = addPlain();
  const CmdLineParameter& second = addPlain();
  parse({L"-pin"}, "one\ntwo\n");
  EXPECT_EQ(first.value, L"one");
  EXPECT_EQ(second.value, L"two");
}

// Each of the two is noted, under the one name that stands in the line, and that name means both.
TEST_F(CmdLinePromptTest, recordThatSharesAnotherOnesAliasIsAskedForTwice) {
  const CmdLineParameter& pin = addPlain();
  CmdLineParameter& code = add(L"code", CmdLineParameterKind::PromptPlain);
  code.alias = L"pin";
  parse({L"-pin"}, "one\ntwo\nthree\nfour\n");
  EXPECT_EQ(pin.value, L"three");
  EXPECT_EQ(code.value, L"four");
}

TEST_F(CmdLinePromptTest, recordOfTheNameThatIsNotAskedForKeepsItsArgument) {
  addPlain();
  const CmdLineParameter& file = add(L"pin", CmdLineParameterKind::ValueRequired);
  parse({L"-pin", L"a.txt"}, "one\n");
  EXPECT_EQ(file.value, L"a.txt");
  EXPECT_EQ(written(), "PIN: \n");
}

}  // namespace
