#include "client/IntegrityLevel.h"

#include "tests/unit/client/ClientTest.h"
#include "tests/unit/runtime/FailingAllocation.h"

namespace {

using client_test::argument;
using client_test::Texts;

class IntegrityLevelTest : public host::MachineTest {
 protected:
  const LogRecorder log;
  DWORD level = 7;
};

TEST_F(IntegrityLevelTest, ALowLevelIsLow) {
  host::machine().token.integrityLevel = 0x1000;
  EXPECT_TRUE(IsLowIntegrityLevel());
  EXPECT_EQ(log.texts(),
            Texts{"[INF] [TPM] IsLowIntegrityLevel Current process is running at a Low "
                  "Integrity Level."});
}

TEST_F(IntegrityLevelTest, AnyOtherLevelIsLoggedInDecimal) {
  host::machine().token.integrityLevel = 0x4000;
  EXPECT_FALSE(IsLowIntegrityLevel());
  EXPECT_EQ(log.texts(),
            Texts{"[INF] [TPM] IsLowIntegrityLevel Current process integrity level: 16384"});
}

TEST_F(IntegrityLevelTest, OnlyExactlyTheLowLevelIsLow) {
  host::machine().token.integrityLevel = 0x0FFF;
  EXPECT_FALSE(IsLowIntegrityLevel());
  host::machine().token.integrityLevel = 0;
  EXPECT_FALSE(IsLowIntegrityLevel());
}

TEST_F(IntegrityLevelTest, AsksItsOwnTokenWithTheRightToQuery) {
  QueryIntegrityLevel(level);
  const auto opened = journal().calls("OpenProcessToken");
  ASSERT_EQ(opened.size(), 1U);
  EXPECT_EQ(argument(opened[0], 1), "8");
  const auto asked = journal().calls("GetTokenInformation");
  ASSERT_EQ(asked.size(), 2U);
  EXPECT_EQ(argument(asked[0], 1), "25");
  EXPECT_EQ(argument(asked[0], 2), "0");
}

// The first of the two queries always fails; with 122 that is the normal path.
TEST_F(IntegrityLevelTest, ALastErrorOf122IsTheNormalPath) {
  host::machine().token.integrityLevel = 0x2000;
  EXPECT_TRUE(QueryIntegrityLevel(level));
  EXPECT_EQ(level, 0x2000U);
  EXPECT_EQ(journal().calls("GetTokenInformation").at(0).lastError, 122U);
  EXPECT_EQ(log.texts(), Texts{});
}

TEST_F(IntegrityLevelTest, ClosesTheTokenOnEveryWayOut) {
  QueryIntegrityLevel(level);
  EXPECT_EQ(ledger().open("token"), 0U);
  faults().failOnce("GetTokenInformation", 5);
  QueryIntegrityLevel(level);
  EXPECT_EQ(ledger().open("token"), 0U);
  faults().failOnce("GetTokenInformation", 5, 2);
  QueryIntegrityLevel(level);
  EXPECT_EQ(ledger().open("token"), 0U);
  EXPECT_EQ(journal().count("CloseHandle"), 3U);
}

TEST_F(IntegrityLevelTest, ATokenThatCannotBeOpened) {
  faults().failOnce("OpenProcessToken", 5);
  EXPECT_FALSE(QueryIntegrityLevel(level));
  EXPECT_EQ(level, 7U);
  EXPECT_EQ(log.texts(), (Texts{"[ERR] [TPM] GetErrorString Access is denied.\r\n",
                                "[ERR] [TPM] Error while opening process token: Access is "
                                "denied.\r\n"}));
  EXPECT_EQ(journal().count("CloseHandle"), 0U);
}

// The call's result alone says whether there is a token.
TEST_F(IntegrityLevelTest, ATokenOpenedWithoutAHandleFailsAtTheFirstQuery) {
  host::machine().token.givesNoHandle = true;
  EXPECT_FALSE(QueryIntegrityLevel(level));
  EXPECT_EQ(level, 7U);
  EXPECT_EQ(log.texts(),
            (Texts{"[ERR] [TPM] GetErrorString The handle is invalid.\r\n",
                   "[ERR] [TPM] Error while retrieving TokenIntegrityLevel. This behaviour is "
                   "expected for WinXP. Error: The handle is invalid.\r\n"}));
  EXPECT_EQ(journal().count("GetTokenInformation"), 1U);
  EXPECT_EQ(journal().count("CloseHandle"), 0U);
}

TEST_F(IntegrityLevelTest, ASizeThatCannotBeLearnt) {
  faults().failOnce("GetTokenInformation", 5);
  EXPECT_FALSE(QueryIntegrityLevel(level));
  EXPECT_EQ(log.texts(),
            (Texts{"[ERR] [TPM] GetErrorString Access is denied.\r\n",
                   "[ERR] [TPM] Error while retrieving TokenIntegrityLevel. This behaviour is "
                   "expected for WinXP. Error: Access is denied.\r\n"}));
}

TEST_F(IntegrityLevelTest, AnAnswerWithoutABufferIsAFailure) {
  host::machine().token.answersWithoutBuffer = true;
  EXPECT_FALSE(QueryIntegrityLevel(level));
  EXPECT_EQ(level, 7U);
  EXPECT_EQ(log.texts(),
            Texts{"[ERR] [TPM] Error while retrieving TokenIntegrityLevel. GetTokenInformation "
                  "returned true though empty buffer, so something went wrong in WINAPI."});
  EXPECT_EQ(journal().count("GetTokenInformation"), 1U);
  EXPECT_EQ(ledger().open("token"), 0U);
}

TEST_F(IntegrityLevelTest, ABufferThatCannotBeAllocated) {
  // So large that nothing else is as large.
  host::machine().token.integritySlack = 1U << 24U;
  {
    const FailingAllocation failing(1U << 24U);
    EXPECT_FALSE(QueryIntegrityLevel(level));
  }
  EXPECT_EQ(level, 7U);
  EXPECT_EQ(log.texts(),
            Texts{"[ERR] [TPM] Error while allocating buffer for integrity token: std::bad_alloc"});
  EXPECT_EQ(journal().count("GetTokenInformation"), 1U);
  EXPECT_EQ(ledger().open("token"), 0U);
}

TEST_F(IntegrityLevelTest, ABufferWhoseAllocationFailsInAnotherWay) {
  host::machine().token.integritySlack = 1U << 24U;
  {
    const StrangeAllocation failing(1U << 24U);
    EXPECT_FALSE(QueryIntegrityLevel(level));
  }
  EXPECT_EQ(level, 7U);
  EXPECT_EQ(log.texts(), Texts{"[ERR] [TPM] Error while allocating buffer for integrity token"});
  EXPECT_EQ(ledger().open("token"), 0U);
}

TEST_F(IntegrityLevelTest, TheBufferIsAsLargeAsTheFirstQueryTold) {
  host::machine().token.integritySlack = 100;
  EXPECT_TRUE(QueryIntegrityLevel(level));
  EXPECT_EQ(argument(journal().calls("GetTokenInformation").at(1), 2),
            std::to_string(sizeof(TOKEN_MANDATORY_LABEL) + 12 + 100));
}

TEST_F(IntegrityLevelTest, TheLevelIsTheLastSubAuthority) {
  host::machine().token.integrityPrefix = {0x1000, 0x3000};
  host::machine().token.integrityLevel = 0x2000;
  EXPECT_TRUE(QueryIntegrityLevel(level));
  EXPECT_EQ(level, 0x2000U);
}

TEST_F(IntegrityLevelTest, ALabelThatCannotBeRead) {
  faults().failOnce("GetTokenInformation", 5, 2);
  EXPECT_FALSE(QueryIntegrityLevel(level));
  EXPECT_EQ(level, 7U);
  EXPECT_EQ(log.texts(), (Texts{"[ERR] [TPM] GetErrorString Access is denied.\r\n",
                                "[ERR] [TPM] Error while retrieving integrity token: Access is "
                                "denied.\r\n"}));
}

TEST_F(IntegrityLevelTest, AFailedQueryCountsAsNotLow) {
  host::machine().token.integrityLevel = 0x1000;
  faults().failOnce("OpenProcessToken", 5);
  EXPECT_FALSE(IsLowIntegrityLevel());
  EXPECT_EQ(log.texts().back(),
            "[ERR] [TPM] IsLowIntegrityLevel Cannot determine integrity level. Assuming that "
            "process isn't running in low level integrity.");
}

}  // namespace
