#include <cstring>

#include "VUSL/Support/Exception.h"
#include "client/HKeyContainer.h"
#include "tests/unit/client/ClientTest.h"

namespace {

using client_test::Texts;
using client_test::textThrownBy;

constexpr wchar_t kPath[] = L"HKLM\\Software\\Values";

std::string bytesOf(std::wstring_view text) {
  return std::string(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t));
}

class GetValueStringTest : public host::MachineTest {
 protected:
  GetValueStringTest() {
    host::machine().registry.createKey(kPath);
    RegOpenKeyExW(HKEY_LOCAL_MACHINE, L"Software\\Values", 0, KEY_READ, &key);
  }
  ~GetValueStringTest() override { RegCloseKey(key); }

  std::uint32_t read() { return HKeyContainer::GetValueString(key, "Name", out); }

  HKEY key = nullptr;
  std::string out = "before";
  const LogRecorder log;
};

TEST_F(GetValueStringTest, ReadsAText) {
  host::machine().registry.setText(kPath, L"Name", L"C:\\a\\b");
  EXPECT_EQ(read(), 0U);
  EXPECT_EQ(out, "C:\\a\\b");
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] GetValueString success. Value=<C:\\a\\b>."});
}

TEST_F(GetValueStringTest, AnAbsentValueGivesThePlatformsStatus) {
  EXPECT_EQ(read(), 2U);
  EXPECT_EQ(out, "before");
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] GetValueString GetValueString failed."});
}

TEST_F(GetValueStringTest, AnEmptyValueCountsAsRead) {
  host::machine().registry.setText(kPath, L"Name", L"");
  EXPECT_EQ(read(), 0U);
  EXPECT_EQ(out, "");
}

TEST_F(GetValueStringTest, AValueOfNoBytesCountsAsRead) {
  host::machine().registry.setValue(kPath, L"Name", REG_SZ, "");
  EXPECT_EQ(read(), 0U);
  EXPECT_EQ(out, "");
}

TEST_F(GetValueStringTest, AFailureOfTheSecondQueryIsReturnedButDoesNotStopTheRest) {
  host::machine().registry.setText(kPath, L"Name", L"text");
  faults().failOnce("RegQueryValueExW", ERROR_MORE_DATA, 2);
  EXPECT_EQ(read(), 234U);
  EXPECT_EQ(out, "");
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] GetValueString success. Value=<>."});
}

TEST_F(GetValueStringTest, AValueWithoutItsTerminatorIsReadWhole) {
  host::machine().registry.setValue(kPath, L"Name", REG_SZ, bytesOf(L"abc"));
  EXPECT_EQ(read(), 0U);
  EXPECT_EQ(out, "abc");
}

TEST_F(GetValueStringTest, AValueEndsAtItsFirstTerminator) {
  host::machine().registry.setValue(kPath, L"Name", REG_SZ,
                                    bytesOf(std::wstring_view(L"ab\0cd\0", 6)));
  EXPECT_EQ(read(), 0U);
  EXPECT_EQ(out, "ab");
}

TEST_F(GetValueStringTest, ALastIncompleteCharacterIsNotRead) {
  host::machine().registry.setValue(kPath, L"Name", REG_SZ, bytesOf(L"ab") + "c");
  EXPECT_EQ(read(), 0U);
  EXPECT_EQ(out, "ab");
}

TEST_F(GetValueStringTest, AValueOfLessThanOneCharacterIsEmpty) {
  host::machine().registry.setValue(kPath, L"Name", REG_SZ, "c");
  EXPECT_EQ(read(), 0U);
  EXPECT_EQ(out, "");
}

TEST_F(GetValueStringTest, ALastIncompleteCharacterIsNotReadAlsoWhenTheValueShrankToIt) {
  host::machine().registry.setText(kPath, L"Name", L"a long text");
  host::CallHooks::instance().before(
      "RegQueryValueExW", journal().count("RegQueryValueExW") + 2,
      [] { host::machine().registry.setValue(kPath, L"Name", REG_SZ, bytesOf(L"ab") + "c"); });
  EXPECT_EQ(read(), 0U);
  EXPECT_EQ(out, "ab");
}

// The value's type is not asked for: its bytes are read as a text.
TEST_F(GetValueStringTest, ANumberIsReadAsItsCharacters) {
  host::machine().registry.setValue(kPath, L"Name", REG_DWORD, std::string("A\0\0\0", 4));
  EXPECT_EQ(read(), 0U);
  EXPECT_EQ(out, "A");
}

TEST_F(GetValueStringTest, ANumberOutsideTheNarrowSetIsRefused) {
  host::machine().registry.setValue(kPath, L"Name", REG_DWORD, std::string("\0\x01\0\0", 4));
  EXPECT_EQ(textThrownBy<Exception>([this] { read(); }),
            "Unicode installation path detected, terminating process.");
}

TEST_F(GetValueStringTest, OfSeveralTextsTheFirstIsRead) {
  host::machine().registry.setValue(kPath, L"Name", REG_MULTI_SZ,
                                    bytesOf(std::wstring_view(L"one\0two\0\0", 9)));
  EXPECT_EQ(read(), 0U);
  EXPECT_EQ(out, "one");
}

TEST_F(GetValueStringTest, VariablesInATextAreNotFilledIn) {
  host::machine().environment[L"ProgramFiles"] = L"C:\\Program Files";
  host::machine().registry.setValue(kPath, L"Name", REG_EXPAND_SZ, bytesOf(L"%ProgramFiles%\\a"));
  EXPECT_EQ(read(), 0U);
  EXPECT_EQ(out, "%ProgramFiles%\\a");
}

TEST_F(GetValueStringTest, BytesOutsideTheNarrowSetAreRefused) {
  host::machine().registry.setValue(kPath, L"Name", REG_BINARY, std::string(16, '\xFF'));
  EXPECT_EQ(textThrownBy<Exception>([this] { read(); }),
            "Unicode installation path detected, terminating process.");
}

TEST_F(GetValueStringTest, ATextOf32000CharactersIsReadWhole) {
  host::machine().registry.setText(kPath, L"Name", std::wstring(32'000, L'a'));
  EXPECT_EQ(read(), 0U);
  EXPECT_EQ(out, std::string(32'000, 'a'));
}

TEST_F(GetValueStringTest, BlanksAndATrailingBackslashAreKept) {
  host::machine().registry.setText(kPath, L"Name", L"  C:\\a b\\ ");
  EXPECT_EQ(read(), 0U);
  EXPECT_EQ(out, "  C:\\a b\\ ");
}

TEST_F(GetValueStringTest, EachFailureOfTheFirstQueryIsTheResult) {
  host::machine().registry.setText(kPath, L"Name", L"text");
  for (const DWORD status : {2U, 5U, 6U, 8U, 87U, 1018U, 1450U}) {
    faults().failOnce("RegQueryValueExW", status);
    EXPECT_EQ(read(), status);
    EXPECT_EQ(out, "before");
  }
}

TEST_F(GetValueStringTest, EachFailureOfTheSecondQueryIsTheResultWithAnEmptyText) {
  host::machine().registry.setText(kPath, L"Name", L"text");
  for (const DWORD status : {2U, 5U, 6U, 8U, 87U, 234U, 1018U, 1450U}) {
    out = "before";
    faults().failOnce("RegQueryValueExW", status, 2);
    EXPECT_EQ(read(), status);
    EXPECT_EQ(out, "") << status;
  }
}

TEST_F(GetValueStringTest, AValueThatShrankBetweenTheQueriesIsReadAsItIs) {
  host::machine().registry.setText(kPath, L"Name", L"a long text");
  host::CallHooks::instance().before(
      "RegQueryValueExW", journal().count("RegQueryValueExW") + 2,
      [] { host::machine().registry.setText(kPath, L"Name", L"short"); });
  EXPECT_EQ(read(), 0U);
  EXPECT_EQ(out, "short");
}

TEST_F(GetValueStringTest, AValueThatGrewBetweenTheQueriesGivesThePlatformsStatus) {
  host::machine().registry.setText(kPath, L"Name", L"short");
  host::CallHooks::instance().before(
      "RegQueryValueExW", journal().count("RegQueryValueExW") + 2,
      [] { host::machine().registry.setText(kPath, L"Name", L"a long text"); });
  EXPECT_EQ(read(), 234U);
}

TEST_F(GetValueStringTest, AnInstallDirectoryOutsideTheNarrowSetThrows) {
  host::machine().registry.setText(kPath, L"Name", L"C:\\\u0141\u00F3d\u017A");
  EXPECT_EQ(textThrownBy<Exception>([this] { read(); }),
            "Unicode installation path detected, terminating process.");
}

TEST_F(GetValueStringTest, ARefusedDirectoryLeavesItsBeginning) {
  host::machine().registry.setText(kPath, L"Name", L"C:\\p\u00FCt");
  textThrownBy<Exception>([this] { read(); });
  EXPECT_EQ(out, "C:\\p");
}

TEST_F(GetValueStringTest, ARefusedDirectoryIsNotLoggedAsASuccess) {
  host::machine().registry.setText(kPath, L"Name", L"C:\\p\u00FCt");
  textThrownBy<Exception>([this] { read(); });
  EXPECT_EQ(log.texts(), Texts{});
}

TEST_F(GetValueStringTest, ALastCharacterOutsideTheNarrowSetThrowsToo) {
  host::machine().registry.setText(kPath, L"Name", L"abc\u00FC");
  EXPECT_EQ(textThrownBy<Exception>([this] { read(); }),
            "Unicode installation path detected, terminating process.");
}

TEST_F(GetValueStringTest, TheNarrowSetIsAscii) {
  host::machine().registry.setText(kPath, L"Name", L"a\x7F");
  EXPECT_EQ(read(), 0U);
  EXPECT_EQ(out, "a\x7F");
  host::machine().registry.setText(kPath, L"Name", L"a\x80");
  EXPECT_EQ(textThrownBy<Exception>([this] { read(); }),
            "Unicode installation path detected, terminating process.");
}

TEST_F(GetValueStringTest, WithoutMemoryItAnswers234) {
  host::machine().registry.setText(kPath, L"Name", L"text");
  faults().failOnce("calloc", ENOMEM);
  EXPECT_EQ(read(), 234U);
  EXPECT_EQ(out, "before");
  EXPECT_EQ(log.texts(), Texts{"[ERR] [TPM] Malloc failed! GetValueString can't retrieve value."});
  EXPECT_EQ(journal().count("RegQueryValueExW"), 1U);
}

TEST_F(GetValueStringTest, TheFirstQueryHasNoBuffer) {
  host::machine().registry.setText(kPath, L"Name", L"text");
  read();
  const auto calls = journal().calls("RegQueryValueExW");
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_EQ(client_test::argument(calls[0], 1), "Name");
  EXPECT_EQ(client_test::argument(calls[0], 2), "0");
  EXPECT_EQ(client_test::argument(calls[1], 1), "Name");
  EXPECT_EQ(client_test::argument(calls[1], 2), std::to_string(5 * sizeof(wchar_t)));
}

}  // namespace
