#include "tests/seam/LogTexts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "tests/seam/SeamRules.h"

namespace seam {

void PrintTo(const LogText& text, std::ostream* out) {
  *out << text.level << " \"" << text.text << '"';
}

}  // namespace seam

namespace {

using Texts = std::set<seam::LogText>;

// What a single file with these lines logs.
Texts loggedBy(const std::vector<std::string>& code, const std::string& name = "service/A.cpp") {
  seam::SourceFile file;
  file.name = name;
  file.lines = code;
  file.code = code;
  return seam::loggedTexts({{name, file}});
}

TEST(LogTextsTest, AnItemHasTheLevelOfItsCallAndDebugWithoutOne) {
  EXPECT_EQ(
      loggedBy({"LogItem() << \"a\";", "LogItem().debug() << \"b\";", "LogItem().info() << \"c\";",
                "LogItem().error() << \"d\";", "LogItem().fatal() << \"e\";"}),
      (Texts{{"DEBUG", "a"}, {"DEBUG", "b"}, {"INFO", "c"}, {"ERROR", "d"}, {"FATAL", "e"}}));
}

TEST(LogTextsTest, ValuesShowAsAnEllipsisAndLiteralsAsTheyStand) {
  EXPECT_EQ(loggedBy({"LogItem() << \"a <<; \" << f(1, \")\") / 2 << \" \\\"b\\\\\"",
                      "          \"c\" << LogBase::kHexadecimal << x;"}),
            (Texts{{"DEBUG", "a <<; … \"b\\c…"}}));
}

TEST(LogTextsTest, LocationsAndTagsStandAheadOfTheText) {
  EXPECT_EQ(loggedBy({"constexpr char kRun[] = \"Run\";", "LogItem(\"~X\") << \"a\";",
                      "LogItem() << LogTag(this, kRun) << \"b\";",
                      "LogItem() << LogAddress(this) << \"c\";"}),
            (Texts{{"DEBUG", "~X a"}, {"DEBUG", "[0x…] [Run] b"}, {"DEBUG", "[0x…] c"}}));
}

TEST(LogTextsTest, NamedTextsAreReadTheFilesOwnFirst) {
  seam::SourceFile other;
  other.name = "client/B.h";
  other.code = {"inline constexpr wchar_t kX[] = L\"other\";",
                "inline constexpr wchar_t kY[] = L\"y\";"};
  seam::SourceFile own;
  own.name = "service/A.cpp";
  own.code = {"constexpr char kX[] =", "    \"ow\"", "    \"n\";",
              "LogItem() << kX << b::kY << kZ;"};
  EXPECT_EQ(seam::loggedTexts({{other.name, other}, {own.name, own}}), (Texts{{"DEBUG", "owny…"}}));
}

TEST(LogTextsTest, TextsThatAnotherFunctionLogsAreFound) {
  EXPECT_EQ(
      loggedBy({"LogResult(\"a: \", result);", "if (StepFailed(\"b: \", result)) return;",
                "void LogResult(const char* text, HRESULT result);",
                "LogStatus(LogItem().info(), \"C\", error, status);"}),
      (Texts{{"DEBUG", "a: …"}, {"DEBUG", "b: …"}, {"INFO", "C failed with status = … for a …"}}));
}

TEST(LogTextsTest, AnItemThatGoesElsewhereShowsAsAnEmptyText) {
  EXPECT_EQ(loggedBy({"Other(LogItem().error(), \"a\");"}), (Texts{{"ERROR", ""}}));
}

TEST(LogTextsTest, ThePageHasARowForEachText) {
  EXPECT_EQ(seam::tabledTexts("| level | text | meaning |\n|---|---|---|\n| | **a** | |\n"
                              "| ERROR | `a: …` | why |\n| `DEBUG` | everything |\n"),
            (Texts{{"ERROR", "a: …"}}));
  EXPECT_THROW(seam::tabledTexts("| ERROR | `a` | |\n"), std::runtime_error);
  EXPECT_THROW(seam::tabledTexts("| INFO | `a` | x |\n| INFO | `a` | y |\n"), std::runtime_error);
}

Texts without(const Texts& texts, const Texts& others) {
  Texts rest;
  std::ranges::set_difference(texts, others, std::inserter(rest, rest.end()));
  return rest;
}

// The page of the log and the sources of this checkout.
class LogPageTest : public ::testing::Test {
 protected:
  static Texts page() {
    std::ifstream file(SOURCE_ROOT "/docs/log.md");
    return seam::tabledTexts({std::istreambuf_iterator<char>(file), {}});
  }
  static Texts product() {
    return seam::loggedTexts(seam::readTree(SOURCE_ROOT, seam::kProductRooms));
  }
};

TEST_F(LogPageTest, EveryTextOfTheProductStandsOnThePage) {
  EXPECT_EQ(without(product(), page()), Texts{});
}

TEST_F(LogPageTest, EveryTextOfThePageIsTheProducts) {
  EXPECT_EQ(without(page(), product()), Texts{});
}

TEST_F(LogPageTest, ThePageIsRead) {
  EXPECT_TRUE(page().contains({"INFO", "Starting the service control dispatcher."}));
  EXPECT_GT(page().size(), 100U);
}

}  // namespace
