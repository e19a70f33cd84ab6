// Values that are asked for on the console: what is written, read and stored, and when.

#include <istream>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <utility>
#include <vector>

#include "VUSL/Support/InvalidInputError.h"
#include "VUSL/Support/ResourceMissingException.h"
#include "tests/unit/runtime/CmdLinePromptFixture.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

class CmdLinePromptTest : public CmdLinePromptFixture {};

// Keeps what is written, and what of it a person at the console sees.
class BufferedOutput : public std::stringbuf {
 public:
  std::string shown;

 protected:
  int sync() override {
    shown = str();
    return 0;
  }
};

// Gives a line for each question, and notes what is shown and what is written when it is asked.
class AnsweringInput : public std::streambuf {
 public:
  AnsweringInput(const BufferedOutput& console, std::vector<std::string> answers)
      : output(&console), lines(std::move(answers)) {}

  std::vector<std::string> shown;
  std::vector<std::string> written;

 protected:
  int_type underflow() override {
    shown.push_back(output->shown);
    written.push_back(output->str());
    if (next == lines.size()) return traits_type::eof();
    std::string& line = lines[next++];
    setg(line.data(), line.data(), line.data() + line.size());
    return traits_type::to_int_type(line.front());
  }

 private:
  const BufferedOutput* output;
  std::vector<std::string> lines;
  std::size_t next = 0;
};

// Asked for once.

TEST_F(CmdLinePromptTest, plainValueIsOneLineAfterTheText) {
  const CmdLineParameter& pin = addPlain();
  parse({L"-pin"}, "1 2 Abc\nmore\n");
  EXPECT_EQ(pin.value, L"1 2 Abc");
  EXPECT_EQ(pin.index, 1);
  EXPECT_EQ(written(), "PIN: \n");
}

// The question stands on the console when the answer is waited for, and its line ends behind that.
TEST_F(CmdLinePromptTest, plainQuestionIsShownWhenItsAnswerIsRead) {
  BufferedOutput console;
  AnsweringInput person(console, {"12\n"});
  std::ostream to(&console);
  std::istream from(&person);
  CmdLineParameter& pin = addPlain();
  pin.out = &to;
  pin.in = &from;
  parse({L"-pin"}, "");
  EXPECT_EQ(pin.value, L"12");
  EXPECT_EQ(person.shown, Texts{"PIN: "});
  EXPECT_EQ(person.written, person.shown);
  EXPECT_EQ(console.str(), "PIN: \n");
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

TEST_F(CmdLinePromptTest, lineEndsAtTheLineFeedAlone) {
  const CmdLineParameter& pin = addPlain();
  parse({L"-pin"}, "12\r34\r\n");
  EXPECT_EQ(pin.value, L"12\r34\r");
}

TEST_F(CmdLinePromptTest, lineOfAMegabyteIsKeptWhole) {
  const CmdLineParameter& pin = addConfirmed();
  const std::string line(1U << 20U, 'x');
  parse({L"-pin"}, line + "\n" + line + "\n");
  EXPECT_EQ(pin.value, std::wstring(1U << 20U, L'x'));
}

TEST_F(CmdLinePromptTest, valueIsAskedForUnderTheAliasToo) {
  CmdLineParameter& pin = addPlain();
  pin.alias = L"Code";
  parse({L"-CODE"}, "1234\n");
  EXPECT_EQ(pin.value, L"1234");
}

// What was seen under the same name and did not ask has not asked for this one either.
TEST_F(CmdLinePromptTest, switchOfTheSameNameDoesNotCountAsAskedFor) {
  CmdLineParameter& plainSwitch = add(L"pin", CmdLineParameterKind::NoValue);
  plainSwitch.companions = {L"pin"};
  const CmdLineParameter& pin = addPlain();
  parse({L"-pin"}, "1234\n");
  EXPECT_EQ(plainSwitch.index, 1);
  EXPECT_EQ(pin.value, L"1234");
  EXPECT_EQ(written(), "PIN: \n");
}

TEST_F(CmdLinePromptTest, valueThatThePlatformDoesNotWidenIsEmpty) {
  for (const unsigned nth : {1U, 2U}) {
    CmdLineParameter& pin = addPlain();
    pin.value = L"default";
    faults().failOnce("MultiByteToWideChar", 8, nth);
    parse({L"-pin"}, "\xC3\xBC\n");
    EXPECT_EQ(pin.value, L"") << nth;
    pin.name = L"done";
  }
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

TEST_F(CmdLinePromptTest, questionIsShownWhenItsAnswerIsRead) {
  BufferedOutput console;
  AnsweringInput person(console, {"12\n", "12\n"});
  std::ostream to(&console);
  std::istream from(&person);
  CmdLineParameter& pin = addConfirmed();
  pin.out = &to;
  pin.in = &from;
  parse({L"-pin"}, "");
  EXPECT_EQ(pin.value, L"12");
  EXPECT_EQ(person.shown, (Texts{"PIN: ", "PIN: \nRetype the value to confirm: "}));
  EXPECT_EQ(person.written, person.shown);
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

// One name is noted for the two, since the case of its letters does not count.
TEST_F(CmdLinePromptTest, recordsWhoseNamesDifferInTheirCaseAreAskedForOnceEach) {
  const CmdLineParameter& first = addPlain();
  const CmdLineParameter& second = add(L"PIN", CmdLineParameterKind::PromptPlain);
  parse({L"-pin"}, "one\ntwo\nthree\nfour\n");
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

TEST_F(CmdLinePromptTest, recordIsAskedForBesideAnEarlierOneOfTheNameThatTakesAnArgument) {
  const CmdLineParameter& file = add(L"pin", CmdLineParameterKind::ValueRequired);
  const CmdLineParameter& pin = addPlain();
  parse({L"-pin", L"a.txt"}, "one\n");
  EXPECT_EQ(file.value, L"a.txt");
  EXPECT_EQ(pin.value, L"one");
}

// One prompt is noted for a name, and what was given first is the alias of one of the two.
TEST_F(CmdLinePromptTest, secondRecordOfTheNameIsNotAskedForWhenTheFirstWasGivenByItsAlias) {
  CmdLineParameter& first = addPlain();
  first.alias = L"p";
  const CmdLineParameter& second = addPlain();
  parse({L"-p", L"-pin"}, "one\ntwo\n");
  EXPECT_EQ(first.value, L"one");
  EXPECT_EQ(second.value, L"");
  EXPECT_EQ(second.index, 3);
  EXPECT_EQ(written(), "PIN: \n");
}

// Whatever bears the name is taken for something to ask for, and that begins with its text.
TEST_F(CmdLinePromptTest, recordOfTheNameThatIsNotAskedForNeedsATextAllTheSame) {
  add(L"pin", CmdLineParameterKind::NoValue).promptId = 7;
  const CmdLineParameter& pin = addPlain();
  EXPECT_EQ(thrownBy<ResourceMissingException>([&] { parse({L"-pin"}, "one\n"); }),
            "Error during loading a string resource. Following string resource id could not be "
            "found: 7.");
  EXPECT_EQ(pin.value, L"");
}

TEST_F(CmdLinePromptTest, promptsThatWereAnsweredStayAnsweredWhenALaterOneFails) {
  const CmdLineParameter& first = addPlain();
  add(L"code", CmdLineParameterKind::PromptPlain).promptId = 7;
  EXPECT_THROW(parse({L"-pin", L"-code"}, "one\ntwo\n"), ResourceMissingException);
  EXPECT_EQ(first.value, L"one");
}

TEST_F(CmdLinePromptTest, recordOfTheNameThatIsNotAskedForKeepsItsArgument) {
  addPlain();
  const CmdLineParameter& file = add(L"pin", CmdLineParameterKind::ValueRequired);
  parse({L"-pin", L"a.txt"}, "one\n");
  EXPECT_EQ(file.value, L"a.txt");
  EXPECT_EQ(written(), "PIN: \n");
}

}  // namespace
