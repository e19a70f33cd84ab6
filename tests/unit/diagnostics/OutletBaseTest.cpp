#include "VUSL/Support/OutletBase.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "VUSL/Support/ConsoleLogOutlet.h"
#include "VUSL/Support/DebugLogOutlet.h"
#include "VUSL/Support/EtwLogOutlet.h"
#include "VUSL/Support/RollingDateFileLogOutlet.h"
#include "tests/unit/runtime/SlotOrder.h"

namespace {

class LineOutlet : public OutletBase<LineOutlet> {
 public:
  bool wantsPrefix() override { return prefixed; }
  void Dump(const vusl::string_t& message) override { lines.push_back(message); }

  bool prefixed = true;
  std::vector<std::wstring> lines;
};

class PlainOutlet : public OutletBase<PlainOutlet> {
 public:
  void Dump(const vusl::string_t&) override {}
};

class OutletBaseTest : public ::testing::Test {
 protected:
  ~OutletBaseTest() override { LineOutlet::level = 1; }

  void log(int level) { outlet.Log(L"stamp ", L"tag: ", L"text", level); }

  LineOutlet outlet;
};

TEST_F(OutletBaseTest, putsStampTagLevelAndMessageTogetherWithNothingBetween) {
  log(2);
  EXPECT_EQ(outlet.lines, std::vector<std::wstring>{L"stamp tag: [INF] text"});
}

TEST_F(OutletBaseTest, hasLevelAndMessageOnlyWithoutThePrefix) {
  outlet.prefixed = false;
  log(2);
  EXPECT_EQ(outlet.lines, std::vector<std::wstring>{L"[INF] text"});
}

TEST_F(OutletBaseTest, hasATagForEachLevelOfItemsAndNoneBeyond) {
  outlet.prefixed = false;
  LineOutlet::level = 0;
  for (int level = 0; level <= 6; ++level) log(level);
  EXPECT_EQ(outlet.lines,
            (std::vector<std::wstring>{L"[VER] text", L"[DBG] text", L"[INF] text", L"[ERR] text",
                                       L"[FTL] text", L"text", L"text"}));
}

TEST_F(OutletBaseTest, hasNoTagForALevelBelowZero) {
  outlet.prefixed = false;
  LineOutlet::level = -1;
  log(-1);
  EXPECT_EQ(outlet.lines, std::vector<std::wstring>{L"text"});
}

TEST_F(OutletBaseTest, startsAtTheThresholdDebug) {
  log(0);
  log(1);
  EXPECT_EQ(outlet.lines.size(), 1U);
}

TEST_F(OutletBaseTest, dropsAnItemBelowTheThreshold) {
  LineOutlet::level = 2;
  log(1);
  EXPECT_TRUE(outlet.lines.empty());
  log(2);
  EXPECT_EQ(outlet.lines.size(), 1U);
}

TEST_F(OutletBaseTest, dropsAVerboseItemAtEveryThresholdOfASetting) {
  for (const int threshold : {1, 2, 3, 4, 5}) {
    LineOutlet::level = threshold;
    log(0);
  }
  EXPECT_TRUE(outlet.lines.empty());
}

TEST_F(OutletBaseTest, dropsEveryItemAtTheThresholdNone) {
  LineOutlet::level = 5;
  for (int level = 0; level <= 4; ++level) log(level);
  EXPECT_TRUE(outlet.lines.empty());
}

TEST_F(OutletBaseTest, hasAThresholdForEachTypeOfOutlet) {
  LineOutlet::level = 4;
  EXPECT_EQ(PlainOutlet::level, 1);
  EXPECT_EQ(&RollingDateFileLogOutlet::level, &RollingFileLogOutlet::level);
  EXPECT_NE(&ConsoleLogOutlet::level, &DebugLogOutlet::level);
  EXPECT_NE(&DebugLogOutlet::level, &EtwLogOutlet::level);
}

TEST_F(OutletBaseTest, wantsThePrefixByDefault) {
  EXPECT_TRUE(PlainOutlet().wantsPrefix());
}

TEST_F(OutletBaseTest, hasItsOperationsInOrder) {
  EXPECT_EQ(slotOf(&LogOutlet::Log), 2U);
  EXPECT_EQ(slotOf(&LogOutlet::wantsPrefix), 3U);
  EXPECT_EQ(slotOf(&LogOutlet::reopen), 4U);
  EXPECT_EQ(slotOf(&OutletBase<LineOutlet>::Dump), 5U);
}

}  // namespace
