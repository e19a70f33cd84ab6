#include "tests/unit/task/LifecycleFixture.h"

namespace {

// Stored paths that the comparison meets. The service is in C:\\x unless a row says otherwise.

const std::wstring kProgram = L"\\OrvixVTMEKRecertification.exe";

struct Row {
  const char* name;
  std::wstring stored;
  const char* compared;  // the end of the log's line; nothing beyond ASCII has a narrow form
  std::wstring directory = L"C:\\x";
};

class StoredPathTest : public LifecycleTest, public ::testing::WithParamInterface<Row> {
 protected:
  StoredPathTest() {
    makeTask(L"C:\\elsewhere");
    changeStored(
        [](ITaskDefinition* definition) { setFirstPathOf(definition, GetParam().stored); });
  }

  static std::string compareLine() {
    return std::string("[DBG] [TPM] Compare: ") + GetParam().compared;
  }
};

class EqualPathTest : public StoredPathTest {};

TEST_P(EqualPathTest, isLeftAlone) {
  EnsureTask(GetParam().directory);
  EXPECT_EQ(log.texts(), (Texts{compareLine(), "[DBG] [TPM] Task is Ok, Skipping..."}));
  expectBalanced();
  EXPECT_EQ(storedPath(), GetParam().stored);
}

INSTANTIATE_TEST_SUITE_P(
    Rows, EqualPathTest,
    ::testing::Values(Row{"Quoted", L"\"C:\\x" + kProgram + L"\"", "C:\\xandC:\\x"},
                      Row{"WithoutQuotes", L"C:\\x" + kProgram, "C:\\xandC:\\x"},
                      Row{"AnotherProgram", L"\"C:\\x\\another.exe\"", "C:\\xandC:\\x"},
                      Row{"OnlyTheOpeningQuote", L"\"C:\\x\\y.exe", "C:\\xandC:\\x"},
                      Row{"OnlyTheClosingQuote", L"C:\\x\\y.exe\"", "C:\\xandC:\\x"},
                      Row{"SlashAheadOfTheProgram", L"\"C:\\x/y.exe\"", "C:\\xandC:\\x"},
                      Row{"EndsInASeparator", L"\"C:\\x\\", "C:\\xandC:\\x"},
                      Row{"BlankInTheDirectory", L"\"C:\\Program Files\\a b\\y.exe\"",
                          "C:\\Program Files\\a bandC:\\Program Files\\a b",
                          L"C:\\Program Files\\a b"},
                      Row{"BeyondAscii", L"\"C:\\\u00DC \u8A8D\\y.exe\"", "C:\\? ?andC:\\? ?",
                          L"C:\\\u00DC \u8A8D"}),
    [](const auto& row) { return std::string(row.param.name); });

class UnequalPathTest : public StoredPathTest {};

TEST_P(UnequalPathTest, isRepointed) {
  EnsureTask(GetParam().directory);
  EXPECT_EQ(log.texts(), (Texts{compareLine(), "[DBG] [TPM] Success! Task successfully registered.",
                                "[DBG] [TPM] Task has beed updated to new OVER location, Ending"}));
  expectBalanced();
  EXPECT_EQ(storedPath(), L"\"" + GetParam().directory + kProgram + L"\"");
}

INSTANTIATE_TEST_SUITE_P(
    Rows, UnequalPathTest,
    ::testing::Values(
        Row{"LetterCaseAlone", L"\"c:\\X" + kProgram + L"\"", "c:\\XandC:\\x"},
        Row{"TrailingBackslash", L"\"C:\\x\\" + kProgram + L"\"", "C:\\x\\andC:\\x"},
        Row{"WithoutASeparator", L"OrvixVTMEKRecertification.exe",
            "OrvixVTMEKRecertification.exeandC:\\x"},
        Row{"QuotedWithoutASeparator", L"\"OrvixVTMEKRecertification.exe\"",
            "OrvixVTMEKRecertification.exe\"andC:\\x"},
        // The directory without a program after it loses its own last part.
        Row{"DirectoryAlone", L"\"C:\\x\"", "C:andC:\\x"},
        Row{"SlashesAreNotBackslashes", L"\"C:/x/y/z.exe\"", "C:/x/yandC:\\x\\y", L"C:\\x\\y"},
        Row{"TwoLeadingQuotes", L"\"\"C:\\x\\y.exe\"", "\"C:\\xandC:\\x"},
        Row{"QuoteInside", L"C:\\\"x\"\\y.exe", "C:\\\"x\"andC:\\x"},
        Row{"OneQuote", L"\"", "andC:\\x"},
        Row{"BlankAheadOfTheQuote", L" \"C:\\x\\y.exe\"", " \"C:\\xandC:\\x"},
        Row{"BlankBehindTheDirectory", L"\"C:\\x \\y.exe\"", "C:\\x andC:\\x"},
        Row{"BeyondAscii", L"\"C:\\\u00DC\\y.exe\"", "C:\\?andC:\\x"},
        Row{"NewDirectoryOfAnyCharacters", L"\"C:\\x\\y.exe\"", "C:\\xandC:\\R&D 'x' ?",
            L"C:\\R&D 'x' \u8A8D"},
        // Alike in the log's line, and different all the same.
        Row{"OneCharacterBeyondAscii", L"\"C:\\\u00DC\\y.exe\"", "C:\\?andC:\\?", L"C:\\\u00FC"}),
    [](const auto& row) { return std::string(row.param.name); });

}  // namespace
