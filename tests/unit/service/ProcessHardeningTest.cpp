#include "service/ProcessHardening.h"

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>

#include "tests/unit/service/ServiceFixture.h"

namespace {

class ProcessHardeningTest : public ServiceTest {
 protected:
  // The names that were looked up, in order.
  static Texts namesLookedUp() {
    Texts names;
    for (const host::JournalEntry& call : journal().calls("LookupPrivilegeValueW")) {
      names.push_back(call.args.substr(call.args.find(", ") + 2));
    }
    return names;
  }

  // Which of the calls that matter here were made, in order.
  static Texts steps() {
    return journal().namesOf({"OpenProcessToken", "LookupPrivilegeValueW", "HeapAlloc",
                              "AdjustTokenPrivileges", "HeapFree", "CloseHandle"});
  }

  static void holdNothing() { host::machine().token.privileges.clear(); }
};

const std::vector<std::string> kRemoved = {
    "SeUnsolicitedInputPrivilege",
    "SeUndockPrivilege",
    "SeTrustedCredManAccessPrivilege",
    "SeTimeZonePrivilege",
    "SeTcbPrivilege",
    "SeTakeOwnershipPrivilege",
    "SeSystemtimePrivilege",
    "SeSystemProfilePrivilege",
    "SeSystemEnvironmentPrivilege",
    "SeSyncAgentPrivilege",
    "SeShutdownPrivilege",
    "SeSecurityPrivilege",
    "SeRestorePrivilege",
    "SeRemoteShutdownPrivilege",
    "SeRelabelPrivilege",
    "SeProfileSingleProcessPrivilege",
    "SeManageVolumePrivilege",
    "SeMachineAccountPrivilege",
    "SeLockMemoryPrivilege",
    "SeLoadDriverPrivilege",
    "SeIncreaseWorkingSetPrivilege",
    "SeIncreaseQuotaPrivilege",
    "SeIncreaseBasePriorityPrivilege",
    "SeImpersonatePrivilege",
    "SeEnableDelegationPrivilege",
    "SeDebugPrivilege",
    "SeCreateTokenPrivilege",
    "SeCreateSymbolicLinkPrivilege",
    "SeCreatePermanentPrivilege",
    "SeCreatePagefilePrivilege",
    "SeCreateGlobalPrivilege",
    "SeBackupPrivilege",
    "SeAuditPrivilege",
    "SeAssignPrimaryTokenPrivilege",
    "SeDelegateSessionUserImpersonatePrivilege",
};

TEST_F(ProcessHardeningTest, all35NamesAreLookedUpInTheOrderOfTheList) {
  InitializeSecurity();
  EXPECT_EQ(namesLookedUp(), kRemoved);
}

TEST_F(ProcessHardeningTest, theProcessKeepsChangeNotifyAlone) {
  InitializeSecurity();
  EXPECT_EQ(host::machine().token.privileges, std::set<std::wstring>{L"SeChangeNotifyPrivilege"});
}

TEST_F(ProcessHardeningTest, namesAreLookedUpOnThisSystem) {
  LimitPrivileges({L"SeTcbPrivilege"});
  ASSERT_EQ(journal().calls("LookupPrivilegeValueW").size(), 1U);
  EXPECT_EQ(journal().calls("LookupPrivilegeValueW")[0].args, "null, SeTcbPrivilege");
}

TEST_F(ProcessHardeningTest, successLogsEachStep) {
  InitializeSecurity();
  Texts expected = {"[DBG] [TPM] InitializeSecurity...", "[DBG] [TPM] Try to limit privileges"};
  for (const std::string& name : kRemoved) expected.push_back("[DBG] [TPM] Try to drop " + name);
  expected.push_back("[DBG] [TPM] AdjustTokenPrivileges succeeded.");
  expected.push_back("[DBG] [TPM] Dropping Privileges: Success");
  EXPECT_EQ(log.texts(), expected);
}

TEST_F(ProcessHardeningTest, failureIsLoggedAndDoesNotLeave) {
  faults().failOnce("OpenProcessToken", 5);
  InitializeSecurity();
  EXPECT_EQ(log.texts(),
            (Texts{"[DBG] [TPM] InitializeSecurity...", "[DBG] [TPM] Try to limit privileges",
                   "[ERR] [TPM] OpenProcessToken failed, error code: 5",
                   "[ERR] [TPM] Dropping Privileges: Failure"}));
}

TEST_F(ProcessHardeningTest, stepsComeInTheirOrder) {
  EXPECT_TRUE(LimitPrivileges({L"SeTcbPrivilege", L"SeDebugPrivilege"}));
  EXPECT_EQ(steps(), (Texts{"OpenProcessToken", "LookupPrivilegeValueW", "LookupPrivilegeValueW",
                            "HeapAlloc", "AdjustTokenPrivileges", "HeapFree", "CloseHandle"}));
}

TEST_F(ProcessHardeningTest, tokenIsOpenedForAdjustingAndAsking) {
  LimitPrivileges({});
  ASSERT_EQ(journal().calls("OpenProcessToken").size(), 1U);
  const std::string arguments = journal().calls("OpenProcessToken")[0].args;
  EXPECT_TRUE(arguments.ends_with(", 40")) << arguments;
}

TEST_F(ProcessHardeningTest, unopenedTokenIsAFailureWithNoFurtherStep) {
  faults().failOnce("OpenProcessToken", 1314);
  EXPECT_FALSE(LimitPrivileges({L"SeTcbPrivilege"}));
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] Try to limit privileges",
                                "[ERR] [TPM] OpenProcessToken failed, error code: 1314"}));
  EXPECT_EQ(steps(), (Texts{"OpenProcessToken"}));
}

TEST_F(ProcessHardeningTest, tokenOpenedWithoutAHandleIsAFailureWithNoFurtherStep) {
  host::machine().token.givesNoHandle = true;
  EXPECT_FALSE(LimitPrivileges({L"SeTcbPrivilege"}));
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] Try to limit privileges",
                                "[ERR] [TPM] OpenProcessToken returned INVALID_HANDLE_VALUE."}));
  EXPECT_EQ(steps(), (Texts{"OpenProcessToken"}));
}

TEST_F(ProcessHardeningTest, unknownNameIsLoggedAndSkipped) {
  host::machine().token.unknownPrivileges = {L"SeRelabelPrivilege"};
  EXPECT_TRUE(LimitPrivileges({L"SeRelabelPrivilege", L"SeTcbPrivilege"}));
  EXPECT_EQ(
      log.texts(),
      (Texts{"[DBG] [TPM] Try to limit privileges", "[DBG] [TPM] Try to drop SeRelabelPrivilege",
             "[DBG] [TPM] LookupPrivilegeValue for SeRelabelPrivilege failed, error code = "
             "1313 (A specified privilege does not exist.)",
             "[DBG] [TPM] Try to drop SeTcbPrivilege",
             "[DBG] [TPM] AdjustTokenPrivileges succeeded."}));
  EXPECT_FALSE(host::machine().token.privileges.contains(L"SeTcbPrivilege"));
}

// All names unknown: the record has no entry, and the call is made all the same.
TEST_F(ProcessHardeningTest, allNamesUnknownStillAdjustsWithARecordOf4Bytes) {
  host::machine().token.unknownPrivileges = {L"SeTcbPrivilege", L"SeDebugPrivilege"};
  EXPECT_TRUE(LimitPrivileges({L"SeTcbPrivilege", L"SeDebugPrivilege"}));
  ASSERT_EQ(journal().calls("HeapAlloc").size(), 1U);
  const std::string arguments = journal().calls("HeapAlloc")[0].args;
  EXPECT_TRUE(arguments.ends_with("8, 4")) << arguments;
  ASSERT_EQ(journal().calls("AdjustTokenPrivileges").size(), 1U);
  const std::string adjusted = journal().calls("AdjustTokenPrivileges")[0].args;
  EXPECT_TRUE(adjusted.ends_with(", 0, 0, 0, null, null")) << adjusted;
}

TEST_F(ProcessHardeningTest, recordIsZeroFilledAndHas12BytesAPrivilegeAnd4More) {
  InitializeSecurity();
  ASSERT_EQ(journal().calls("HeapAlloc").size(), 1U);
  const std::string arguments = journal().calls("HeapAlloc")[0].args;
  EXPECT_TRUE(arguments.ends_with("8, 424")) << arguments;
}

// Not all privileges are disabled, the record has one entry a known name, and the state before is
// not asked for.
TEST_F(ProcessHardeningTest, adjustmentNamesThePrivilegesAndAsksForNothingBack) {
  host::machine().token.unknownPrivileges = {L"SeRelabelPrivilege"};
  LimitPrivileges({L"SeRelabelPrivilege", L"SeTcbPrivilege", L"SeDebugPrivilege"});
  ASSERT_EQ(journal().calls("AdjustTokenPrivileges").size(), 1U);
  const std::string arguments = journal().calls("AdjustTokenPrivileges")[0].args;
  EXPECT_TRUE(arguments.ends_with(", 0, 2, 0, null, null")) << arguments;
}

// Removed for good, and not merely disabled.
TEST_F(ProcessHardeningTest, eachEntryOfTheRecordHasThePrivilegesNumberAndAttribute4) {
  TOKEN_PRIVILEGES head = {};
  LUID_AND_ATTRIBUTES second = {};
  host::CallHooks::instance().before("AdjustTokenPrivileges", 1, [&] {
    const std::uintptr_t record = std::stoull(journal().calls("HeapAlloc").at(0).result, {}, 16);
    std::memcpy(&head, reinterpret_cast<const void*>(record), sizeof head);
    std::memcpy(&second, reinterpret_cast<const void*>(record + sizeof head), sizeof second);
  });
  LimitPrivileges({L"SeTcbPrivilege", L"SeDebugPrivilege"});
  EXPECT_EQ(head.PrivilegeCount, 2U);
  EXPECT_EQ(head.Privileges[0].Luid.LowPart, 7U);
  EXPECT_EQ(head.Privileges[0].Attributes, 4U);
  EXPECT_EQ(second.Luid.LowPart, 20U);
  EXPECT_EQ(second.Attributes, 4U);
}

TEST_F(ProcessHardeningTest, failedReleasesDoNotTurnAFailureIntoASuccess) {
  faults().failOnce("AdjustTokenPrivileges", 87);
  faults().failOnce("HeapFree", 87);
  faults().failOnce("CloseHandle", 6);
  EXPECT_FALSE(LimitPrivileges({L"SeTcbPrivilege"}));
}

// A token that holds none of the privileges answers with last error 1300, which is not looked at.
TEST_F(ProcessHardeningTest, tokenThatHoldsNoneOfThePrivilegesIsASuccess) {
  holdNothing();
  EXPECT_TRUE(LimitPrivileges({L"SeTcbPrivilege"}));
  EXPECT_EQ(journal().calls("AdjustTokenPrivileges").at(0).lastError, 1300U);
  EXPECT_EQ(log.texts().back(), "[DBG] [TPM] AdjustTokenPrivileges succeeded.");
}

TEST_F(ProcessHardeningTest, ordinaryUserLosesWhatTheTokenHolds) {
  host::machine().token.privileges = {L"SeChangeNotifyPrivilege", L"SeShutdownPrivilege",
                                      L"SeUndockPrivilege"};
  host::machine().token.administrator = false;
  InitializeSecurity();
  EXPECT_EQ(host::machine().token.privileges, std::set<std::wstring>{L"SeChangeNotifyPrivilege"});
  EXPECT_EQ(log.texts().back(), "[DBG] [TPM] Dropping Privileges: Success");
}

TEST_F(ProcessHardeningTest, refusedAdjustmentIsAFailureAndReleasesEverything) {
  faults().failOnce("AdjustTokenPrivileges", 87);
  EXPECT_FALSE(LimitPrivileges({L"SeTcbPrivilege"}));
  EXPECT_EQ(log.texts().back(), "[ERR] [TPM] AdjustTokenPrivileges failed, error code = 87");
  EXPECT_EQ(ledger().open("token"), 0U);
  EXPECT_EQ(ledger().open("allocation"), 0U);
}

// One of the flags would take the heap's lock away, while another thread uses the same heap.
TEST_F(ProcessHardeningTest, recordIsFreedWithoutFlags) {
  LimitPrivileges({});
  const auto calls = journal().calls("HeapFree");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_NE(calls[0].args.find(", 0, "), std::string::npos);
}

TEST_F(ProcessHardeningTest, failedReleasesAreLoggedAndChangeNothing) {
  faults().failOnce("HeapFree", 87);
  faults().failOnce("CloseHandle", 6);
  EXPECT_TRUE(LimitPrivileges({}));
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] Try to limit privileges",
                                "[DBG] [TPM] AdjustTokenPrivileges succeeded.",
                                "[ERR] [TPM] HeapFree failed, error code = 87",
                                "[ERR] [TPM] CloseHandle failed, error code = 6"}));
}

TEST_F(ProcessHardeningTest, exhaustedHeapClosesTheTokenAndThrows) {
  faults().failOnce("HeapAlloc", 8);
  try {
    LimitPrivileges({L"SeTcbPrivilege"});
    FAIL() << "nothing was thrown";
  } catch (const std::runtime_error& failure) {
    EXPECT_STREQ(failure.what(), "Failed to alloc memory for drop privileges");
  }
  EXPECT_EQ(steps(),
            (Texts{"OpenProcessToken", "LookupPrivilegeValueW", "HeapAlloc", "CloseHandle"}));
  EXPECT_EQ(ledger().open("token"), 0U);
}

TEST_F(ProcessHardeningTest, exhaustedHeapLogsATokenThatCannotBeClosed) {
  faults().failOnce("HeapAlloc", 8);
  faults().failOnce("CloseHandle", 6);
  EXPECT_THROW(LimitPrivileges({}), std::runtime_error);
  EXPECT_EQ(log.texts().back(), "[ERR] [TPM] CloseHandle failed, error code = 6");
}

TEST_F(ProcessHardeningTest, exhaustedHeapLeavesInitializeSecurity) {
  faults().failOnce("HeapAlloc", 8);
  EXPECT_THROW(InitializeSecurity(), std::runtime_error);
  EXPECT_FALSE(log.contains("Dropping Privileges"));
}

}  // namespace
