#include "VUSL/Support/ConfigLine.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Kind = ConfigLine::Kind;

struct Row {
  const char* line;
  Kind kind;
  const char* text;
  const char* key;
  const char* value;
};

class ConfigLineTest : public ::testing::TestWithParam<Row> {};

TEST_P(ConfigLineTest, lineIsTakenApart) {
  const ConfigLine line = parseConfigLine(GetParam().line);
  EXPECT_EQ(line.kind, GetParam().kind);
  EXPECT_EQ(line.text, GetParam().text);
  EXPECT_EQ(line.key, GetParam().key);
  EXPECT_EQ(line.value, GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, ConfigLineTest,
    ::testing::Values(Row{"", Kind::kBlank, "", "", ""}, Row{" \t\r\n", Kind::kBlank, "", "", ""},
                      Row{" # a = b ", Kind::kComment, "# a = b", "", ""},
                      Row{"#", Kind::kComment, "#", "", ""},
                      Row{" no setting ", Kind::kNoEquals, "no setting", "", ""},
                      Row{"\f", Kind::kNoEquals, "\f", "", ""},
                      Row{" = value", Kind::kNoKey, "= value", "", ""},
                      Row{"=", Kind::kNoKey, "=", "", ""}, Row{"a=", Kind::kSetting, "a=", "a", ""},
                      Row{"a = \"\"", Kind::kSetting, "a = \"\"", "a", ""},
                      Row{" a = x\r", Kind::kSetting, "a = x", "a", "x"},
                      Row{"a=b=c", Kind::kSetting, "a=b=c", "a", "b=c"},
                      Row{"a#b = 1", Kind::kSetting, "a#b = 1", "a#b", "1"},
                      Row{"a = b # c", Kind::kSetting, "a = b # c", "a", "b # c"},
                      Row{"a = \" x \"", Kind::kSetting, "a = \" x \"", "a", " x "},
                      Row{"a = \"x\" y", Kind::kSetting, "a = \"x\" y", "a", "x"},
                      Row{"a = \"x", Kind::kSetting, "a = \"x", "a", "x"},
                      Row{"a = b\"c", Kind::kSetting, "a = b\"c", "a", "b"}));

TEST(ConfigLinePiecesTest, textsArePiecesOfTheLine) {
  const std::string whole = "  key = \"value\"  ";
  const ConfigLine line = parseConfigLine(whole);
  EXPECT_EQ(line.text.data(), whole.data() + 2);
  EXPECT_EQ(line.key.data(), whole.data() + 2);
  EXPECT_EQ(line.value.data(), whole.data() + 9);
}

}  // namespace
