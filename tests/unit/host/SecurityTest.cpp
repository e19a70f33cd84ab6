// The process's token, privileges and security identifiers.

#include <cstring>

#include "tests/support/MachineTest.h"

namespace {

class SecurityTest : public host::MachineTest {
 protected:
  static HANDLE openToken(DWORD access = TOKEN_QUERY | TOKEN_ADJUST_PRIVILEGES) {
    HANDLE token = nullptr;
    EXPECT_TRUE(OpenProcessToken(GetCurrentProcess(), access, &token));
    return token;
  }

  static LUID luidOf(const wchar_t* name) {
    LUID luid{};
    EXPECT_TRUE(LookupPrivilegeValueW(nullptr, name, &luid));
    return luid;
  }

  // Removes privileges; the call's result, with its last error.
  static std::pair<BOOL, DWORD> remove(HANDLE token, const std::vector<LUID>& luids) {
    struct {
      DWORD count;
      LUID_AND_ATTRIBUTES entries[40];
    } record{static_cast<DWORD>(luids.size()), {}};
    for (std::size_t i = 0; i < luids.size(); ++i) {
      record.entries[i] = {luids[i], SE_PRIVILEGE_REMOVED};
    }
    host::setLastError(77);
    const BOOL result = AdjustTokenPrivileges(
        token, FALSE, reinterpret_cast<PTOKEN_PRIVILEGES>(&record), 0, nullptr, nullptr);
    return {result, host::lastError()};
  }

  const std::set<std::wstring>& held = host::machine().token.privileges;
};

TEST_F(SecurityTest, ATokenIsAHandleOfTheLedger) {
  const HANDLE token = openToken();
  EXPECT_EQ(ledger().open("token"), 1U);
  EXPECT_TRUE(CloseHandle(token));
  EXPECT_EQ(ledger().open("token"), 0U);
}

TEST_F(SecurityTest, OnlyTheProcessItselfHasAToken) {
  HANDLE token = nullptr;
  EXPECT_FALSE(OpenProcessToken(nullptr, TOKEN_QUERY, &token));
  EXPECT_EQ(host::lastError(), 6U);
  EXPECT_EQ(token, nullptr);
}

TEST_F(SecurityTest, ATokenThatGivesNoHandleIsOpenedAndLeavesTheCallersValue) {
  host::machine().token.givesNoHandle = true;
  HANDLE token = INVALID_HANDLE_VALUE;
  EXPECT_EQ(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token), TRUE);
  EXPECT_EQ(token, INVALID_HANDLE_VALUE);
  EXPECT_EQ(ledger().open("token"), 0U);
}

TEST_F(SecurityTest, ATokenHoldsAllThirtySixPrivileges) {
  EXPECT_EQ(held.size(), 36U);
}

TEST_F(SecurityTest, PrivilegesHaveThePlatformsNumbers) {
  EXPECT_EQ(luidOf(L"SeCreateTokenPrivilege").LowPart, 2U);
  EXPECT_EQ(luidOf(L"SeDebugPrivilege").LowPart, 20U);
  EXPECT_EQ(luidOf(L"sechangenotifyprivilege").LowPart, 23U);
  EXPECT_EQ(luidOf(L"SeDelegateSessionUserImpersonatePrivilege").LowPart, 36U);
}

TEST_F(SecurityTest, AnUnknownPrivilegeFailsWith1313) {
  LUID luid{};
  EXPECT_FALSE(LookupPrivilegeValueW(nullptr, L"SeNoSuchPrivilege", &luid));
  EXPECT_EQ(host::lastError(), 1313U);
}

TEST_F(SecurityTest, AnOlderSystemKnowsFewerPrivileges) {
  host::machine().token.unknownPrivileges = {L"SeRelabelPrivilege"};
  LUID luid{};
  EXPECT_FALSE(LookupPrivilegeValueW(nullptr, L"SeRelabelPrivilege", &luid));
  EXPECT_EQ(host::lastError(), 1313U);
}

TEST_F(SecurityTest, ARemovedPrivilegeIsGoneForGood) {
  const HANDLE token = openToken();
  const LUID debug = luidOf(L"SeDebugPrivilege");
  EXPECT_EQ(remove(token, {debug, luidOf(L"SeTcbPrivilege")}), std::pair(TRUE, DWORD{0}));
  EXPECT_EQ(held.size(), 34U);
  EXPECT_FALSE(held.contains(L"SeDebugPrivilege"));
  EXPECT_FALSE(held.contains(L"SeTcbPrivilege"));
  EXPECT_EQ(remove(token, {debug}), std::pair(TRUE, DWORD{1300}));
  CloseHandle(token);
}

TEST_F(SecurityTest, APrivilegeNotHeldSucceedsWith1300AndTheOthersGo) {
  host::machine().token.privileges = {L"SeTcbPrivilege", L"SeChangeNotifyPrivilege"};
  const HANDLE token = openToken();
  EXPECT_EQ(remove(token, {luidOf(L"SeDebugPrivilege"), luidOf(L"SeTcbPrivilege")}),
            std::pair(TRUE, DWORD{1300}));
  EXPECT_EQ(held, (std::set<std::wstring>{L"SeChangeNotifyPrivilege"}));
  CloseHandle(token);
}

TEST_F(SecurityTest, ARecordWithoutPrivilegesChangesNothing) {
  const HANDLE token = openToken();
  EXPECT_EQ(remove(token, {}), std::pair(TRUE, DWORD{0}));
  EXPECT_EQ(held.size(), 36U);
  CloseHandle(token);
}

TEST_F(SecurityTest, AdjustingNeedsTheAccess) {
  const HANDLE token = openToken(TOKEN_QUERY);
  EXPECT_EQ(remove(token, {}), std::pair(FALSE, DWORD{5}));
  CloseHandle(token);
}

TEST_F(SecurityTest, AClosedTokenIsNotUsedAnyMore) {
  const HANDLE token = openToken();
  CloseHandle(token);
  EXPECT_EQ(remove(token, {}), std::pair(FALSE, DWORD{6}));
  EXPECT_EQ(ledger().violations().size(), 1U);
}

TEST_F(SecurityTest, TheIntegrityLevelTakesTwoCalls) {
  host::machine().token.integrityLevel = SECURITY_MANDATORY_LOW_RID;
  const HANDLE token = openToken();
  DWORD size = 0;
  EXPECT_FALSE(GetTokenInformation(token, TokenIntegrityLevel, nullptr, 0, &size));
  EXPECT_EQ(host::lastError(), 122U);
  EXPECT_EQ(size, 28U);
  alignas(TOKEN_MANDATORY_LABEL) char buffer[28];
  EXPECT_FALSE(GetTokenInformation(token, TokenIntegrityLevel, buffer, 27, &size));
  EXPECT_EQ(host::lastError(), 122U);
  ASSERT_TRUE(GetTokenInformation(token, TokenIntegrityLevel, buffer, 28, &size));
  const auto* label = reinterpret_cast<const TOKEN_MANDATORY_LABEL*>(buffer);
  ASSERT_EQ(*GetSidSubAuthorityCount(label->Label.Sid), 1);
  EXPECT_EQ(*GetSidSubAuthority(label->Label.Sid, 0), 0x1000U);
  CloseHandle(token);
}

TEST_F(SecurityTest, QueryingNeedsTheAccess) {
  const HANDLE token = openToken(TOKEN_ADJUST_PRIVILEGES);
  DWORD size = 0;
  EXPECT_FALSE(GetTokenInformation(token, TokenIntegrityLevel, nullptr, 0, &size));
  EXPECT_EQ(host::lastError(), 5U);
  CloseHandle(token);
}

TEST_F(SecurityTest, TheAdministratorsSid) {
  BYTE sid[SECURITY_MAX_SID_SIZE];
  DWORD size = sizeof sid;
  ASSERT_TRUE(CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, sid, &size));
  EXPECT_EQ(size, 16U);
  const BYTE expected[16] = {1, 2, 0, 0, 0, 0, 0, 5, 32, 0, 0, 0, 0x20, 2, 0, 0};
  EXPECT_EQ(std::memcmp(sid, expected, sizeof expected), 0);
}

TEST_F(SecurityTest, TheLocalSystemSid) {
  BYTE sid[SECURITY_MAX_SID_SIZE];
  DWORD size = sizeof sid;
  ASSERT_TRUE(CreateWellKnownSid(WinLocalSystemSid, nullptr, sid, &size));
  EXPECT_EQ(size, 12U);
  const BYTE expected[12] = {1, 1, 0, 0, 0, 0, 0, 5, 18, 0, 0, 0};
  EXPECT_EQ(std::memcmp(sid, expected, sizeof expected), 0);
}

TEST_F(SecurityTest, ASidThatDoesNotFitFailsWith122AndTellsTheSize) {
  BYTE sid[8];
  DWORD size = sizeof sid;
  EXPECT_FALSE(CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, sid, &size));
  EXPECT_EQ(host::lastError(), 122U);
  EXPECT_EQ(size, 16U);
}

TEST_F(SecurityTest, AQueryOfTheLevelCanClaimSuccessWithoutABuffer) {
  host::machine().token.answersWithoutBuffer = true;
  const HANDLE token = openToken();
  DWORD size = 0;
  EXPECT_TRUE(GetTokenInformation(token, TokenIntegrityLevel, nullptr, 0, &size));
  CloseHandle(token);
}

TEST_F(SecurityTest, AQueryOfTheLevelCanAskForMoreThanItFills) {
  host::machine().token.integritySlack = 100;
  const HANDLE token = openToken();
  DWORD size = 0;
  EXPECT_FALSE(GetTokenInformation(token, TokenIntegrityLevel, nullptr, 0, &size));
  EXPECT_EQ(size, 128U);
  CloseHandle(token);
}

TEST_F(SecurityTest, TheLevelsSidCanHaveSubAuthoritiesAheadOfTheLevel) {
  host::machine().token.integrityPrefix = {7};
  host::machine().token.integrityLevel = SECURITY_MANDATORY_LOW_RID;
  const HANDLE token = openToken();
  alignas(TOKEN_MANDATORY_LABEL) char buffer[32];
  DWORD size = 0;
  ASSERT_TRUE(GetTokenInformation(token, TokenIntegrityLevel, buffer, sizeof buffer, &size));
  const auto* label = reinterpret_cast<const TOKEN_MANDATORY_LABEL*>(buffer);
  ASSERT_EQ(*GetSidSubAuthorityCount(label->Label.Sid), 2);
  EXPECT_EQ(*GetSidSubAuthority(label->Label.Sid, 0), 7U);
  EXPECT_EQ(*GetSidSubAuthority(label->Label.Sid, 1), 0x1000U);
  CloseHandle(token);
}

}  // namespace
