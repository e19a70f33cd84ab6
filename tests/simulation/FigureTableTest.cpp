#include "tools/runner/FigureTable.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

constexpr char kPage[] =
    "# Page\n\n| what | figure | by |\n|---|---|---|\n"
    "| lives | 1 | `x` |\n| long lives | 2 | `x` |\n\nlives | lives\n";

TEST(FigureTableTest, FigureTakesThePlaceOfItsRowsAlone) {
  EXPECT_EQ(runner::withFigures(kPage, {{"lives", "3 000"}}, "./dev y"),
            "# Page\n\n| what | figure | by |\n|---|---|---|\n"
            "| lives | 3 000 | `./dev y` |\n| long lives | 2 | `x` |\n\nlives | lives\n");
}

TEST(FigureTableTest, FigureWithoutARowIsRefused) {
  EXPECT_THROW(runner::withFigures(kPage, {{"lives", "3"}, {"deaths", "4"}}, "y"),
               std::invalid_argument);
}

TEST(FigureTableTest, PageThatIsNotThereIsNotMade) {
  EXPECT_EQ(runner::writeFigures("/nowhere/page.md", {{"lives", "3"}}, "y"),
            "/nowhere/page.md cannot be read");
}

TEST(FigureTableTest, DigitsStandInThrees) {
  EXPECT_EQ(runner::inThrees(0), "0");
  EXPECT_EQ(runner::inThrees(999), "999");
  EXPECT_EQ(runner::inThrees(1000), "1 000");
  EXPECT_EQ(runner::inThrees(1234567), "1 234 567");
}

}  // namespace
