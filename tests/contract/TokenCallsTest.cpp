// The process's token, privileges and security identifiers.

#include <cstring>
#include <initializer_list>
#include <utility>

#include "tests/contract/Contract.h"

namespace {

class Token {
 public:
  explicit Token(DWORD access = TOKEN_QUERY | TOKEN_ADJUST_PRIVILEGES) {
    EXPECT_TRUE(OpenProcessToken(GetCurrentProcess(), access, &handle_));
  }
  ~Token() { CloseHandle(handle_); }
  Token(const Token&) = delete;
  Token& operator=(const Token&) = delete;
  operator HANDLE() const { return handle_; }

 private:
  HANDLE handle_ = nullptr;
};

LUID luidOf(const wchar_t* name) {
  LUID luid{};
  EXPECT_TRUE(LookupPrivilegeValueW(nullptr, name, &luid));
  return luid;
}

// Removes privileges; the call's result with its last error.
std::pair<BOOL, DWORD> removePrivileges(HANDLE token, std::initializer_list<LUID> luids) {
  struct {
    DWORD count;
    LUID_AND_ATTRIBUTES entries[4];
  } record{static_cast<DWORD>(luids.size()), {}};
  std::size_t next = 0;
  for (const LUID& luid : luids) {
    record.entries[next].Luid = luid;
    record.entries[next++].Attributes = SE_PRIVILEGE_REMOVED;
  }
  SetLastError(contract::kUntouched);
  const BOOL result = AdjustTokenPrivileges(
      token, FALSE, reinterpret_cast<PTOKEN_PRIVILEGES>(&record), 0, nullptr, nullptr);
  return {result, GetLastError()};
}

TEST(OpenProcessToken, GivesAHandleThatIsClosedOnce) {
  HANDLE token = nullptr;
  ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token));
  EXPECT_TRUE(CloseHandle(token));
  EXPECT_FALSE(CloseHandle(token));
}

TEST(OpenProcessToken, OfNoProcessFailsWith6) {
  HANDLE token = nullptr;
  EXPECT_FALSE(OpenProcessToken(nullptr, TOKEN_QUERY, &token));
  EXPECT_EQ(GetLastError(), 6U);
  EXPECT_EQ(token, nullptr);
}

TEST(LookupPrivilegeValueW, GivesThePlatformsNumbers) {
  EXPECT_EQ(luidOf(L"SeCreateTokenPrivilege").LowPart, 2U);
  EXPECT_EQ(luidOf(L"SeDebugPrivilege").LowPart, 20U);
  EXPECT_EQ(luidOf(L"SeChangeNotifyPrivilege").LowPart, 23U);
  EXPECT_EQ(luidOf(L"SeChangeNotifyPrivilege").HighPart, 0);
}

TEST(LookupPrivilegeValueW, IgnoresTheCaseOfAName) {
  EXPECT_EQ(luidOf(L"sechangenotifyprivilege").LowPart, 23U);
}

TEST(LookupPrivilegeValueW, KnowsTheYoungestOnes) {
  contract::keptByStandIn("Wine knows fewer privileges");
  EXPECT_EQ(luidOf(L"SeRelabelPrivilege").LowPart, 32U);
  EXPECT_EQ(luidOf(L"SeDelegateSessionUserImpersonatePrivilege").LowPart, 36U);
}

TEST(LookupPrivilegeValueW, OfAnUnknownNameFailsWith1313) {
  LUID luid{};
  EXPECT_FALSE(LookupPrivilegeValueW(nullptr, L"SeNoSuchPrivilege", &luid));
  EXPECT_EQ(GetLastError(), 1313U);
}

TEST(AdjustTokenPrivileges, RemovesForGood) {
  const Token token;
  const LUID shutdown = luidOf(L"SeShutdownPrivilege");
  EXPECT_EQ(removePrivileges(token, {shutdown}), std::pair(TRUE, DWORD{0}));
  EXPECT_EQ(removePrivileges(token, {shutdown}), std::pair(TRUE, DWORD{1300}));
}

TEST(AdjustTokenPrivileges, OfOneThatIsNotHeldSucceedsWith1300AndTheOthersGo) {
  const Token token;
  const LUID backup = luidOf(L"SeBackupPrivilege");
  const LUID restore = luidOf(L"SeRestorePrivilege");
  EXPECT_EQ(removePrivileges(token, {backup}), std::pair(TRUE, DWORD{0}));
  EXPECT_EQ(removePrivileges(token, {backup, restore}), std::pair(TRUE, DWORD{1300}));
  EXPECT_EQ(removePrivileges(token, {restore}), std::pair(TRUE, DWORD{1300}));
}

TEST(AdjustTokenPrivileges, OfNoneSucceedsWith0) {
  EXPECT_EQ(removePrivileges(Token(), {}), std::pair(TRUE, DWORD{0}));
}

TEST(AdjustTokenPrivileges, WithoutTheAccessFailsWith5) {
  EXPECT_EQ(removePrivileges(Token(TOKEN_QUERY), {}), std::pair(FALSE, DWORD{5}));
}

TEST(AdjustTokenPrivileges, OfAClosedTokenFailsWith6) {
  HANDLE token = nullptr;
  OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token);
  CloseHandle(token);
  EXPECT_EQ(removePrivileges(token, {}), std::pair(FALSE, DWORD{6}));
}

TEST(GetTokenInformation, TellsTheSizeOfTheIntegrityLevelFirst) {
  const Token token;
  DWORD size = 0;
  EXPECT_FALSE(GetTokenInformation(token, TokenIntegrityLevel, nullptr, 0, &size));
  EXPECT_EQ(GetLastError(), 122U);
  EXPECT_EQ(size, 28U);
}

TEST(GetTokenInformation, FillsNothingThatDoesNotFit) {
  const Token token;
  DWORD size = 0;
  alignas(TOKEN_MANDATORY_LABEL) char buffer[28];
  EXPECT_FALSE(GetTokenInformation(token, TokenIntegrityLevel, buffer, 27, &size));
  EXPECT_EQ(GetLastError(), 122U);
  EXPECT_EQ(size, 28U);
}

TEST(GetTokenInformation, WithoutTheAccessFailsWith5) {
  const Token token(TOKEN_ADJUST_PRIVILEGES);
  DWORD size = 0;
  EXPECT_FALSE(GetTokenInformation(token, TokenIntegrityLevel, nullptr, 0, &size));
  EXPECT_EQ(GetLastError(),
            contract::butUnderWine<DWORD>(5, 122, "Wine tells the level to anybody"));
}

// The label's SID, in a buffer that lives as long as the object.
class Label {
 public:
  Label() {
    DWORD size = 0;
    EXPECT_TRUE(GetTokenInformation(Token(), TokenIntegrityLevel, buffer_, sizeof buffer_, &size));
  }
  PSID sid() const { return reinterpret_cast<const TOKEN_MANDATORY_LABEL*>(buffer_)->Label.Sid; }

 private:
  alignas(TOKEN_MANDATORY_LABEL) char buffer_[64];
};

TEST(GetSidSubAuthorityCount, OfALevelIs1) {
  const Label label;
  EXPECT_EQ(*GetSidSubAuthorityCount(label.sid()), 1);
}

TEST(GetSidSubAuthority, OfALevelIsAtLeastMedium) {
  const Label label;
  EXPECT_GE(*GetSidSubAuthority(label.sid(), 0), DWORD{SECURITY_MANDATORY_MEDIUM_RID});
}

TEST(GetSidSubAuthority, GivesThePartsOfAnAccountsSid) {
  BYTE sid[SECURITY_MAX_SID_SIZE];
  DWORD size = sizeof sid;
  ASSERT_TRUE(CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, sid, &size));
  EXPECT_EQ(*GetSidSubAuthorityCount(sid), 2);
  EXPECT_EQ(*GetSidSubAuthority(sid, 0), 32U);
  EXPECT_EQ(*GetSidSubAuthority(sid, 1), 544U);
}

TEST(CreateWellKnownSid, GivesTheAdministratorsSid) {
  BYTE sid[SECURITY_MAX_SID_SIZE];
  DWORD size = sizeof sid;
  ASSERT_TRUE(CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, sid, &size));
  EXPECT_EQ(size, 16U);
  const BYTE expected[16] = {1, 2, 0, 0, 0, 0, 0, 5, 32, 0, 0, 0, 0x20, 2, 0, 0};
  EXPECT_EQ(std::memcmp(sid, expected, sizeof expected), 0);
}

TEST(CreateWellKnownSid, ThatDoesNotFitFailsWith122AndTellsTheSize) {
  BYTE sid[8];
  DWORD size = sizeof sid;
  EXPECT_FALSE(CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, sid, &size));
  EXPECT_EQ(GetLastError(), 122U);
  EXPECT_EQ(size, 16U);
}

}  // namespace
