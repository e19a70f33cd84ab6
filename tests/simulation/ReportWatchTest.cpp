#include "tools/simulate/ReportWatch.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/host/windows/windows.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

// A service whose report of STOPPED was overtaken by the handler's of STOP_PENDING, so that the
// manager got that one twice.
class OvertakenReportTest : public ::testing::Test {
 protected:
  OvertakenReportTest() {
    watch_.status({SERVICE_START_PENDING, 1, 0, 0, 5000});
    watch_.status({SERVICE_RUNNING, 0, 0, 1, 5000});
    watch_.stopRequested();
    watch_.status({SERVICE_STOP_PENDING, 2, 0, 1, 5000});
    watch_.status({SERVICE_STOP_PENDING, 2, 0, 1, 5000});
  }

  simulate::Verdict verdict_;
  simulate::ReportWatch watch_{verdict_};
};

TEST_F(OvertakenReportTest, LosesStopped) {
  EXPECT_TRUE(watch_.isStopped());
  EXPECT_THAT(verdict_.broken, IsEmpty());
  watch_.status({SERVICE_STOPPED, 0, 0, 1, 5000});
  EXPECT_THAT(verdict_.broken, ElementsAre("the check-point did not rise: 2 was told twice"));
}

TEST_F(OvertakenReportTest, ThatSeemedToFailIsFollowedByTheFailures) {
  watch_.reportFailed();
  watch_.status({SERVICE_STOPPED, 0, 1726, 1, 5000});
  EXPECT_THAT(verdict_.broken, IsEmpty());
}

}  // namespace
