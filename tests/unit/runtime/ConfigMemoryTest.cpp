#include "VUSL/Support/ConfigMemory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <list>
#include <string>
#include <utility>
#include <vector>

#include "VUSL/Support/Exception.h"
#include "tests/support/LogRecorder.h"
#include "tests/unit/runtime/FailingAllocation.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

// One read: the setting as stored (null for absent) and what comes of it.
struct TextRow {
  const char* name;
  const char* stored;
  const std::list<std::string>* allowed;
  const std::string* defaultValue;
  bool result;
  const char* output;
};

struct NumberRow {
  const char* name;
  const char* stored;
  const std::list<int32_t>* allowed;
  const int32_t* defaultValue;
  bool result;
  int32_t output;
};

struct RangeRow {
  const char* name;
  const char* stored;
  const int32_t* defaultValue;
  bool result;
  int32_t output;
};

const std::list<std::string> kWords = {"DEBUG", "INFO"};
const std::list<std::string> kNoWords;
const std::string kDefaultWord = "default";
const std::list<int32_t> kNumbers = {10, 20};
const std::list<int32_t> kNoNumbers;
const int32_t kDefaultNumber = 77;
const int32_t kSmallDefault = -3;
const char* const kAbsent = nullptr;

template <class Row>
std::string rowName(const ::testing::TestParamInfo<Row>& info) {
  return info.param.name;
}

ConfigMemory storeOf(const char* stored) {
  ConfigMemory store;
  if (stored != nullptr) {
    store.setSetting("key", stored);
  }
  return store;
}

class GetStringTest : public ::testing::TestWithParam<TextRow> {};

TEST_P(GetStringTest, outcome) {
  ConfigMemory store = storeOf(GetParam().stored);
  std::string output = "untouched";
  EXPECT_EQ(store.getString("key", &output, GetParam().allowed, GetParam().defaultValue),
            GetParam().result);
  EXPECT_EQ(output, GetParam().output);
}

INSTANTIATE_TEST_SUITE_P(
    Table, GetStringTest,
    ::testing::Values(
        TextRow{"absentWithDefault", kAbsent, nullptr, &kDefaultWord, true, "default"},
        TextRow{"absentWithDefaultOutsideTheList", kAbsent, &kWords, &kDefaultWord, true,
                "default"},
        TextRow{"absentWithoutDefault", kAbsent, nullptr, nullptr, false, "untouched"},
        TextRow{"presentWithoutList", "VERBOSE", nullptr, &kDefaultWord, true, "VERBOSE"},
        TextRow{"presentInList", "INFO", &kWords, &kDefaultWord, true, "INFO"},
        TextRow{"presentNotInList", "VERBOSE", &kWords, &kDefaultWord, false, "untouched"},
        TextRow{"presentInAnotherCase", "info", &kWords, &kDefaultWord, false, "untouched"},
        TextRow{"presentLongerThanTheWord", "INFO ", &kWords, nullptr, false, "untouched"},
        TextRow{"presentWithEmptyList", "INFO", &kNoWords, &kDefaultWord, false, "untouched"},
        TextRow{"emptyWithoutList", "", nullptr, &kDefaultWord, true, ""},
        TextRow{"emptyWithList", "", &kWords, &kDefaultWord, false, "untouched"}),
    rowName<TextRow>);

const NumberRow kNumberRows[] = {
    {"absentWithDefault", kAbsent, nullptr, &kDefaultNumber, true, 77},
    {"absentWithDefaultOutsideTheList", kAbsent, &kNumbers, &kDefaultNumber, true, 77},
    {"absentWithoutDefault", kAbsent, nullptr, nullptr, false, -1},
    // Deliberate: a value that does not convert never falls back on the default.
    {"notANumberWithDefault", "abc", nullptr, &kDefaultNumber, false, -1},
    {"emptyWithDefault", "", nullptr, &kDefaultNumber, false, -1},
    {"blank", "  ", nullptr, &kDefaultNumber, false, -1},
    {"signAlone", "-", nullptr, &kDefaultNumber, false, -1},
    {"presentWithoutList", "3600", nullptr, &kDefaultNumber, true, 3600},
    {"presentInList", "20", &kNumbers, &kDefaultNumber, true, 20},
    {"presentInListByItsValue", "010", &kNumbers, nullptr, true, 10},
    {"presentNotInList", "30", &kNumbers, &kDefaultNumber, false, -1},
    {"presentWithEmptyList", "10", &kNoNumbers, &kDefaultNumber, false, -1},
    {"negative", "-5", nullptr, nullptr, true, -5},
    {"zero", "0", nullptr, nullptr, true, 0},
    {"plusSign", "+5", nullptr, nullptr, true, 5},
    {"whiteSpaceAhead", " \t 12", nullptr, nullptr, true, 12},
    {"textBehind", "12abc", nullptr, nullptr, true, 12},
    {"unitBehind", "3600 seconds", nullptr, nullptr, true, 3600},
    {"hexadecimalIsItsZero", "0x10", nullptr, nullptr, true, 0},
    {"leadingZerosAreDecimal", "0010", nullptr, nullptr, true, 10},
    {"groupedIsItsFirstGroup", "1,000", nullptr, nullptr, true, 1},
    {"fractionIsCut", "3.9", nullptr, nullptr, true, 3},
};

class GetIntTest : public ::testing::TestWithParam<NumberRow> {};

TEST_P(GetIntTest, outcome) {
  ConfigMemory store = storeOf(GetParam().stored);
  int32_t output = -1;
  EXPECT_EQ(store.getInt("key", &output, GetParam().allowed, GetParam().defaultValue),
            GetParam().result);
  EXPECT_EQ(output, GetParam().output);
}

INSTANTIATE_TEST_SUITE_P(Table, GetIntTest, ::testing::ValuesIn(kNumberRows), rowName<NumberRow>);
INSTANTIATE_TEST_SUITE_P(
    Bounds, GetIntTest,
    ::testing::Values(NumberRow{"largest", "2147483647", nullptr, nullptr, true, 2147483647},
                      NumberRow{"tooLarge", "2147483648", nullptr, &kDefaultNumber, false, -1},
                      NumberRow{"smallest", "-2147483648", nullptr, nullptr, true,
                                std::numeric_limits<int32_t>::min()},
                      NumberRow{"tooSmall", "-2147483649", nullptr, &kDefaultNumber, false, -1}),
    rowName<NumberRow>);

class GetLongTest : public ::testing::TestWithParam<NumberRow> {};

TEST_P(GetLongTest, outcomeIsThatOfGetInt) {
  ConfigMemory store = storeOf(GetParam().stored);
  std::list<long> allowed;
  if (GetParam().allowed != nullptr) {
    allowed.assign(GetParam().allowed->begin(), GetParam().allowed->end());
  }
  const long defaultValue = 77;
  long output = -1;
  EXPECT_EQ(store.getLong("key", &output, GetParam().allowed == nullptr ? nullptr : &allowed,
                          GetParam().defaultValue == nullptr ? nullptr : &defaultValue),
            GetParam().result);
  EXPECT_EQ(output, GetParam().output);
}

INSTANTIATE_TEST_SUITE_P(Table, GetLongTest, ::testing::ValuesIn(kNumberRows), rowName<NumberRow>);

TEST(GetLongBoundsTest, largestOfThePlatformsTypeConverts) {
  const long largest = std::numeric_limits<long>::max();
  ConfigMemory store = storeOf(std::to_string(largest).c_str());
  long output = -1;
  EXPECT_TRUE(store.getLong("key", &output, nullptr, nullptr));
  EXPECT_EQ(output, largest);
}

TEST(GetLongBoundsTest, numberTooLargeForThePlatformsTypeFails) {
  ConfigMemory store = storeOf("9223372036854775808");
  long output = -1;
  EXPECT_FALSE(store.getLong("key", &output, nullptr, nullptr));
  EXPECT_EQ(output, -1);
}

class GetIntInRangeTest : public ::testing::TestWithParam<RangeRow> {};

TEST_P(GetIntInRangeTest, outcomeBetween5And9) {
  ConfigMemory store = storeOf(GetParam().stored);
  int32_t output = -1;
  EXPECT_EQ(store.getIntInRange("key", &output, 5, 9, GetParam().defaultValue), GetParam().result);
  EXPECT_EQ(output, GetParam().output);
}

INSTANTIATE_TEST_SUITE_P(
    Table, GetIntInRangeTest,
    ::testing::Values(
        RangeRow{"absentWithDefaultAboveTheBounds", kAbsent, &kDefaultNumber, true, 77},
        RangeRow{"absentWithDefaultBelowTheBounds", kAbsent, &kSmallDefault, true, -3},
        RangeRow{"absentWithoutDefault", kAbsent, nullptr, false, -1},
        RangeRow{"notANumber", "abc", &kDefaultNumber, false, -1},
        RangeRow{"empty", "", &kDefaultNumber, false, -1},
        RangeRow{"minimum", "5", &kDefaultNumber, true, 5},
        RangeRow{"maximum", "9", &kDefaultNumber, true, 9},
        RangeRow{"between", "7", &kDefaultNumber, true, 7},
        RangeRow{"belowTheMinimum", "4", &kDefaultNumber, false, -1},
        RangeRow{"aboveTheMaximum", "10", &kDefaultNumber, false, -1},
        RangeRow{"tooLargeForTheType", "2147483648", &kDefaultNumber, false, -1}),
    rowName<RangeRow>);

TEST(ConfigMemoryTest, keysAreCaseSensitive) {
  ConfigMemory store;
  store.setSetting("A", "1");
  std::string output;
  EXPECT_FALSE(store.getString("a", &output, nullptr, nullptr));
}

TEST(ConfigMemoryTest, settingAnExistingKeyOverwritesIt) {
  ConfigMemory store;
  EXPECT_TRUE(store.setSetting("key", "old"));
  EXPECT_TRUE(store.setSetting("key", "new"));
  std::string output;
  EXPECT_TRUE(store.getString("key", &output, nullptr, nullptr));
  EXPECT_EQ(output, "new");
}

TEST(ConfigMemoryTest, settingThatRunsOutOfMemoryReturnsFalse) {
  ConfigMemory store;
  bool result = true;
  {
    const FailingAllocation failing(1);
    result = store.setSetting("key", "value");
  }
  EXPECT_FALSE(result);
  std::string output;
  EXPECT_FALSE(store.getString("key", &output, nullptr, nullptr));
}

TEST(ConfigMemoryTest, keysAndValuesAreBytesThatNothingInterprets) {
  const std::string key("k\0=\xFF\n", 5);
  const std::string text(" \"v\0\xFE ", 6);
  ConfigMemory store;
  EXPECT_TRUE(store.setSetting(key, text));
  std::string output;
  EXPECT_TRUE(store.getString(key, &output, nullptr, nullptr));
  EXPECT_EQ(output, text);
}

TEST(ConfigMemoryTest, readsOfMissingAndBadValuesLogNothing) {
  LogRecorder log;
  ConfigMemory store = storeOf("abc");
  std::string text;
  int32_t number = 0;
  long longNumber = 0;
  EXPECT_FALSE(store.getString("absent", &text, nullptr, nullptr));
  EXPECT_FALSE(store.getString("key", &text, &kWords, nullptr));
  EXPECT_FALSE(store.getInt("absent", &number, nullptr, nullptr));
  EXPECT_FALSE(store.getInt("key", &number, nullptr, nullptr));
  EXPECT_FALSE(store.getLong("key", &longNumber, nullptr, nullptr));
  EXPECT_FALSE(store.getIntInRange("key", &number, 1, 2, nullptr));
  EXPECT_EQ(log.texts(), std::vector<std::string>{});
}

TEST(ConfigMemoryTest, copyHasSettingsOfItsOwn) {
  ConfigMemory first = storeOf("old");
  ConfigMemory second = first;
  first.setSetting("key", "new");
  std::string output;
  second.getString("key", &output, nullptr, nullptr);
  EXPECT_EQ(output, "old");
}

TEST(ConfigMemoryTest, emptyPrefixOnAnEmptyStoreGivesFalseAndEmptiesTheMatches) {
  ConfigMemory store;
  Pairs matches = {{"earlier", "match"}};
  EXPECT_FALSE(store.getSettingsByPrefix("", &matches));
  EXPECT_EQ(matches, Pairs{});
}

TEST(ConfigMemoryTest, emptyPrefixGivesAllPairsInByteOrderOfTheKeys) {
  ConfigMemory store;
  for (const char* key : {"b", "a", "B", "ab", "\xC3\xA4"}) {
    store.setSetting(key, "1");
  }
  Pairs matches;
  EXPECT_TRUE(store.getSettingsByPrefix("", &matches));
  EXPECT_EQ(matches, (Pairs{{"B", "1"}, {"a", "1"}, {"ab", "1"}, {"b", "1"}, {"\xC3\xA4", "1"}}));
}

TEST(ConfigMemoryTest, prefixGivesTheKeysThatBeginWithIt) {
  ConfigMemory store;
  for (const char* key : {"Log", "LogLevel", "Lo", "log", "MaxLog", "LogZ"}) {
    store.setSetting(key, "1");
  }
  Pairs matches;
  EXPECT_TRUE(store.getSettingsByPrefix("Log", &matches));
  EXPECT_EQ(matches, (Pairs{{"Log", "1"}, {"LogLevel", "1"}, {"LogZ", "1"}}));
  EXPECT_FALSE(store.getSettingsByPrefix("LogLevelX", &matches));
  EXPECT_EQ(matches, Pairs{});
}

// "VUSL\Support\ConfigMemory", the line of the throw, and the text.
int lineOfNotSupported(const std::string& text) {
  const std::string before = "VUSL\\Support\\ConfigMemory:";
  const std::string behind = ":Not supported.";
  if (!text.starts_with(before) || !text.ends_with(behind)) {
    return 0;
  }
  return std::stoi(text.substr(before.size()));
}

TEST(ConfigMemoryTest, unsupportedOperationsThrowWithThePlaceOfTheThrow) {
  ConfigMemory store;
  const std::string ofUnsupported =
      thrownBy<Exception>([&] { store.unsupportedSettingsOperation(); });
  const std::string ofSave = thrownBy<Exception>([&] { store.saveSettings(); });
  const std::string ofReload = thrownBy<Exception>([&] { store.reloadSettings(); });
  EXPECT_GT(lineOfNotSupported(ofUnsupported), 0) << ofUnsupported;
  EXPECT_GT(lineOfNotSupported(ofSave), lineOfNotSupported(ofUnsupported)) << ofSave;
  EXPECT_GT(lineOfNotSupported(ofReload), lineOfNotSupported(ofSave)) << ofReload;
}

}  // namespace
