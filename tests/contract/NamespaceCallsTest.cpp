// Boundary descriptors and private namespaces.

#include "tests/contract/Contract.h"

namespace {

HANDLE newBoundary() {
  contract::keptByStandIn("Wine ends the process where it lacks these calls");
  HANDLE boundary = CreateBoundaryDescriptorW(L"ContractBoundary", 0);
  BYTE sid[SECURITY_MAX_SID_SIZE];
  DWORD size = sizeof sid;
  EXPECT_TRUE(CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, sid, &size));
  EXPECT_TRUE(AddSIDToBoundaryDescriptor(&boundary, sid));
  SetLastError(contract::kUntouched);
  return boundary;
}

void close(HANDLE opened) {
  EXPECT_TRUE(ClosePrivateNamespace(opened, PRIVATE_NAMESPACE_FLAG_DESTROY));
}

TEST(CreateBoundaryDescriptorW, GivesADescriptor) {
  EXPECT_NE(newBoundary(), nullptr);
}

TEST(CreateBoundaryDescriptorW, WithoutANameFailsWith87) {
  newBoundary();
  EXPECT_EQ(CreateBoundaryDescriptorW(nullptr, 0), nullptr);
  EXPECT_EQ(GetLastError(), 87U);
}

TEST(AddSIDToBoundaryDescriptor, OfWhatIsNoSidFailsWith1337) {
  HANDLE boundary = newBoundary();
  BYTE sid[SECURITY_MAX_SID_SIZE] = {9, 1, 0, 0, 0, 0, 0, 5, 18};
  EXPECT_FALSE(AddSIDToBoundaryDescriptor(&boundary, sid));
  EXPECT_EQ(GetLastError(), 1337U);
}

TEST(CreatePrivateNamespaceW, LetsNamesBehindItsAliasBeUsed) {
  const HANDLE opened = CreatePrivateNamespaceW(nullptr, newBoundary(), L"ContractAlias");
  ASSERT_NE(opened, nullptr);
  const HANDLE event = CreateEventW(nullptr, FALSE, FALSE, L"ContractAlias\\Event");
  EXPECT_NE(event, nullptr);
  const HANDLE again = OpenEventW(SYNCHRONIZE, FALSE, L"ContractAlias\\Event");
  EXPECT_NE(again, nullptr);
  CloseHandle(again);
  CloseHandle(event);
  close(opened);
}

TEST(CreatePrivateNamespaceW, OfAnAliasThatIsAliveFailsWith183) {
  const HANDLE boundary = newBoundary();
  const HANDLE first = CreatePrivateNamespaceW(nullptr, boundary, L"ContractAlias");
  EXPECT_EQ(CreatePrivateNamespaceW(nullptr, boundary, L"ContractAlias"), nullptr);
  EXPECT_EQ(GetLastError(), 183U);
  close(first);
}

TEST(CreatePrivateNamespaceW, WithoutAnAliasFailsWith87) {
  EXPECT_EQ(CreatePrivateNamespaceW(nullptr, newBoundary(), nullptr), nullptr);
  EXPECT_EQ(GetLastError(), 87U);
}

TEST(ClosePrivateNamespace, FreesTheAliasAtOnce) {
  const HANDLE boundary = newBoundary();
  const HANDLE first = CreatePrivateNamespaceW(nullptr, boundary, L"ContractAlias");
  close(first);
  const HANDLE second = CreatePrivateNamespaceW(nullptr, boundary, L"ContractAlias");
  EXPECT_NE(second, nullptr);
  close(second);
  EXPECT_EQ(CreateEventW(nullptr, FALSE, FALSE, L"ContractAlias\\Event"), nullptr);
  EXPECT_EQ(GetLastError(), 3U);
}

TEST(ClosePrivateNamespace, LeavesAnEventToWhoHoldsIt) {
  const HANDLE opened = CreatePrivateNamespaceW(nullptr, newBoundary(), L"ContractAlias");
  const HANDLE event = CreateEventW(nullptr, FALSE, FALSE, L"ContractAlias\\Event");
  close(opened);
  EXPECT_TRUE(SetEvent(event));
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
  CloseHandle(event);
}

}  // namespace
