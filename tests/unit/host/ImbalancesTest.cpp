#include "platform/host/Imbalances.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

namespace host {
namespace {

using Lines = std::vector<std::string>;

TEST(ImbalancesTest, NothingNamedAndNothingThereIsNothing) {
  EXPECT_EQ(comparedLedger({}, {}), Lines{});
}

TEST(ImbalancesTest, WhatIsNamedComesBackWithItsReason) {
  EXPECT_EQ(comparedLedger({{"null handle closed", 2}},
                           {"CloseHandle: null is no handle", "CloseHandle: null is no handle"}),
            (Lines{"named: CloseHandle: null is no handle (both event handles are closed at the "
                   "end, opened or not)",
                   "named: CloseHandle: null is no handle (both event handles are closed at the "
                   "end, opened or not)"}));
}

TEST(ImbalancesTest, WhatComesOnceTooOftenIsNotNamed) {
  const Lines compared =
      comparedLedger({{"null handle closed", 1}},
                     {"CloseHandle: null is no handle", "CloseHandle: null is no handle"});
  ASSERT_EQ(compared.size(), 2U);
  EXPECT_TRUE(compared[0].starts_with("named: "));
  EXPECT_EQ(compared[1], "unnamed: CloseHandle: null is no handle");
}

TEST(ImbalancesTest, WhatIsInTheListButNotNamedIsNotNamed) {
  EXPECT_EQ(comparedLedger({}, {"boundary from CreateBoundaryDescriptorW is still open"}),
            Lines{"unnamed: boundary from CreateBoundaryDescriptorW is still open"});
}

TEST(ImbalancesTest, ALineThatOnlyBeginsLikeOneOfTheListIsNotNamed) {
  EXPECT_EQ(comparedLedger({{"null handle closed", 1}}, {"CloseHandle: null is no handle at all"}),
            (Lines{"unnamed: CloseHandle: null is no handle at all",
                   "missing: CloseHandle: null is no handle (null handle closed)"}));
}

TEST(ImbalancesTest, WhatIsNamedAndDoesNotComeIsMissing) {
  EXPECT_EQ(
      comparedLedger({{"COM ended too often", 2}}, {"CoUninitialize: the thread has not begun COM"})
          .back(),
      "missing: CoUninitialize: the thread has not begun COM (COM ended too often)");
}

TEST(ImbalancesTest, LinesOfOneNameCountEach) {
  EXPECT_EQ(comparedLedger({{"child kept", 1}}, {"process from CreateProcessW is still open"}),
            (Lines{"named: process from CreateProcessW is still open (the launch lets go of its "
                   "child without closing its handles)",
                   "missing: thread from CreateProcessW is still open (child kept)"}));
}

TEST(ImbalancesTest, EachNameStandsOnceAmongTheNames) {
  EXPECT_EQ(imbalanceNames(),
            (std::vector<std::string_view>{
                "null handle closed", "boundary kept", "child kept", "language library kept",
                "unregistered provider let go", "COM ended too often", "released definition used",
                "folder released twice", "definition released twice", "settings kept"}));
}

TEST(ImbalancesTest, ThePageAboutScenariosListsEachWithItsLine) {
  std::ifstream page(std::string(SOURCE_ROOT) + "/docs/scenarios.md");
  const std::string text((std::istreambuf_iterator<char>(page)), std::istreambuf_iterator<char>());
  for (const Imbalance& row : imbalances()) {
    const std::size_t at = text.find("| `" + std::string(row.name) + "` |");
    ASSERT_NE(at, std::string::npos) << row.name;
    const std::string line = text.substr(at, text.find('\n', at) - at);
    EXPECT_NE(line.find("`" + std::string(row.text) + "`"), std::string::npos) << line;
  }
}

}  // namespace
}  // namespace host
