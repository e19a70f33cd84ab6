#include "VUSL/Support/TraceProvider.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

std::string bytesOf(const TraceProvider& provider) {
  const size_t length = provider.metadata[0] + 256U * provider.metadata[1];
  return std::string(reinterpret_cast<const char*>(provider.metadata), length);
}

void enable(TraceProvider& provider, ULONG control, UCHAR level, uint64_t any, uint64_t all) {
  TraceProvider::OnEnable(nullptr, control, level, any, all, nullptr, &provider);
}

class TraceProviderTest : public ::testing::Test {
 protected:
  TraceProvider provider{};
};

TEST_F(TraceProviderTest, isFoundByTheServicesLogFile) {
  const TraceProvider* found = FindTraceProvider("TPMEnrollmentService.log");
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(bytesOf(*found), std::string("\x17\0TPMEnrollmentService\0", 23));
  const GUID id = {0x590DE0FF, 0xDC7D, 0x4731, {0xAC, 0x4F, 0xA9, 0x61, 0xAF, 0x00, 0xE9, 0xDA}};
  EXPECT_EQ(std::memcmp(&found->id, &id, sizeof(id)), 0);
}

TEST_F(TraceProviderTest, isFoundByTheRecertificationsLogFile) {
  const TraceProvider* found = FindTraceProvider("OrvixVTMEKRecertification.log");
  ASSERT_NE(found, nullptr);
  EXPECT_EQ(bytesOf(*found), std::string("\x1C\0OrvixVTMEKRecertification\0", 28));
  const GUID id = {0xF33E9E07, 0x8792, 0x47E8, {0xB3, 0xFA, 0x2C, 0x92, 0xAB, 0x32, 0xC5, 0xB3}};
  EXPECT_EQ(std::memcmp(&found->id, &id, sizeof(id)), 0);
}

TEST_F(TraceProviderTest, isNotFoundByAnotherLogFile) {
  EXPECT_EQ(FindTraceProvider("talsClient.log"), nullptr);
  EXPECT_EQ(FindTraceProvider("tpmenrollmentservice.log"), nullptr);
}

TEST_F(TraceProviderTest, wantsNothingUntilASessionEnablesIt) {
  EXPECT_FALSE(provider.isEnabled(0, 0));
}

TEST_F(TraceProviderTest, wantsEventsUpToTheLevelOfTheSession) {
  enable(provider, 1, 4, 0, 0);
  EXPECT_EQ(provider.levelPlus1, 5U);
  EXPECT_TRUE(provider.isEnabled(4, 0));
  EXPECT_FALSE(provider.isEnabled(5, 0));
}

TEST_F(TraceProviderTest, wantsEveryEventAtTheLevelZero) {
  enable(provider, 1, 0, 0, 0);
  EXPECT_EQ(provider.levelPlus1, 256U);
  EXPECT_TRUE(provider.isEnabled(255, 0));
}

TEST_F(TraceProviderTest, keepsTheKeywordsOfTheSession) {
  enable(provider, 1, 5, 0x6, 0x2);
  EXPECT_EQ(provider.keywordAny, 0x6U);
  EXPECT_EQ(provider.keywordAll, 0x2U);
  EXPECT_TRUE(provider.isEnabled(5, 0x2));
  EXPECT_FALSE(provider.isEnabled(5, 0x4));
  EXPECT_FALSE(provider.isEnabled(5, 0x8));
}

TEST_F(TraceProviderTest, wantsNoEventWithoutAnyOfTheSessionsKeywords) {
  enable(provider, 1, 5, 0x1, 0);
  EXPECT_TRUE(provider.isEnabled(5, 0x1));
  EXPECT_TRUE(provider.isEnabled(5, 0x3));
  EXPECT_FALSE(provider.isEnabled(5, 0x2));
}

TEST_F(TraceProviderTest, wantsAnEventWithNoKeywordWhateverTheSessionsKeywords) {
  enable(provider, 1, 5, 0x6, 0x2);
  EXPECT_TRUE(provider.isEnabled(5, 0));
}

TEST_F(TraceProviderTest, keepsTheKeywordsWhenItIsDisabled) {
  enable(provider, 1, 5, 0x6, 0x2);
  enable(provider, 0, 3, 0x1, 0x1);
  EXPECT_EQ(provider.levelPlus1, 0U);
  EXPECT_EQ(provider.keywordAny, 0x6U);
  EXPECT_EQ(provider.keywordAll, 0x2U);
}

TEST_F(TraceProviderTest, staysAsItIsForAnyOtherControl) {
  enable(provider, 1, 5, 0x6, 0x2);
  enable(provider, 2, 3, 0x1, 0x1);
  EXPECT_EQ(provider.levelPlus1, 6U);
  EXPECT_EQ(provider.keywordAny, 0x6U);
  EXPECT_EQ(provider.keywordAll, 0x2U);
}

TEST_F(TraceProviderTest, callsTheChainedCallbackWithItsContext) {
  std::vector<ULONG> controls;
  provider.chainedContext = &controls;
  provider.chainedCallback = [](LPCGUID, ULONG control, UCHAR, ULONGLONG, ULONGLONG,
                                PEVENT_FILTER_DESCRIPTOR, PVOID context) {
    static_cast<std::vector<ULONG>*>(context)->push_back(control);
  };
  enable(provider, 1, 5, 0, 0);
  enable(provider, 2, 5, 0, 0);
  EXPECT_EQ(controls, (std::vector<ULONG>{1, 2}));
}

}  // namespace
