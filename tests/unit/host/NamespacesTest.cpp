// Boundary descriptors and private namespaces.

#include "tests/support/MachineTest.h"

namespace {

class NamespacesTest : public host::MachineTest {
 protected:
  static HANDLE makeBoundary() {
    HANDLE boundary = CreateBoundaryDescriptorW(L"Boundary", 0);
    BYTE sid[SECURITY_MAX_SID_SIZE];
    DWORD size = sizeof sid;
    EXPECT_TRUE(CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, sid, &size));
    EXPECT_TRUE(AddSIDToBoundaryDescriptor(&boundary, sid));
    return boundary;
  }
};

TEST_F(NamespacesTest, ABoundaryIsAccounted) {
  EXPECT_NE(makeBoundary(), nullptr);
  EXPECT_EQ(ledger().open("boundary"), 1U);
}

TEST_F(NamespacesTest, ABoundaryNeedsAName) {
  EXPECT_EQ(CreateBoundaryDescriptorW(nullptr, 0), nullptr);
  EXPECT_EQ(host::lastError(), 87U);
}

TEST_F(NamespacesTest, ABoundaryIsNotClosedByCloseHandle) {
  const HANDLE boundary = makeBoundary();
  EXPECT_FALSE(CloseHandle(boundary));
  EXPECT_EQ(host::lastError(), 6U);
  EXPECT_EQ(ledger().open("boundary"), 1U);
}

TEST_F(NamespacesTest, ABoundaryMovesWhenASidIsAdded) {
  HANDLE boundary = CreateBoundaryDescriptorW(L"Boundary", 0);
  const HANDLE old = boundary;
  BYTE sid[SECURITY_MAX_SID_SIZE];
  DWORD size = sizeof sid;
  ASSERT_TRUE(CreateWellKnownSid(WinBuiltinAdministratorsSid, nullptr, sid, &size));
  ASSERT_TRUE(AddSIDToBoundaryDescriptor(&boundary, sid));
  EXPECT_NE(boundary, old);
  EXPECT_EQ(CreatePrivateNamespaceW(nullptr, old, L"Alias"), nullptr);
  EXPECT_EQ(host::lastError(), 6U);
  EXPECT_NE(CreatePrivateNamespaceW(nullptr, boundary, L"Alias"), nullptr);
}

TEST_F(NamespacesTest, ASidIsAddedToABoundaryOnly) {
  HANDLE none = nullptr;
  BYTE sid[SECURITY_MAX_SID_SIZE] = {1, 1, 0, 0, 0, 0, 0, 5, 18};
  EXPECT_FALSE(AddSIDToBoundaryDescriptor(&none, sid));
  EXPECT_EQ(host::lastError(), 6U);
  HANDLE boundary = makeBoundary();
  sid[0] = 9;
  EXPECT_FALSE(AddSIDToBoundaryDescriptor(&boundary, sid));
  EXPECT_EQ(host::lastError(), 1337U);
}

TEST_F(NamespacesTest, NamesBehindTheAliasCanBeUsed) {
  const HANDLE created = CreatePrivateNamespaceW(nullptr, makeBoundary(), L"Alias");
  ASSERT_NE(created, nullptr);
  const HANDLE event = CreateEventW(nullptr, FALSE, FALSE, L"Alias\\Event");
  EXPECT_NE(event, nullptr);
  CloseHandle(event);
  EXPECT_TRUE(ClosePrivateNamespace(created, PRIVATE_NAMESPACE_FLAG_DESTROY));
}

TEST_F(NamespacesTest, WithoutTheNamespaceItsNamesFailWith3) {
  EXPECT_EQ(CreateEventW(nullptr, FALSE, FALSE, L"Alias\\Event"), nullptr);
  EXPECT_EQ(host::lastError(), 3U);
}

TEST_F(NamespacesTest, AnAliasThatIsAliveFailsWith183) {
  const HANDLE boundary = makeBoundary();
  const HANDLE first = CreatePrivateNamespaceW(nullptr, boundary, L"Alias");
  EXPECT_EQ(CreatePrivateNamespaceW(nullptr, boundary, L"Alias"), nullptr);
  EXPECT_EQ(host::lastError(), 183U);
  ClosePrivateNamespace(first, PRIVATE_NAMESPACE_FLAG_DESTROY);
}

TEST_F(NamespacesTest, AnAliasOfAnotherProgramFailsWith183) {
  host::machine().takeNamespace(L"Alias");
  EXPECT_EQ(CreatePrivateNamespaceW(nullptr, makeBoundary(), L"Alias"), nullptr);
  EXPECT_EQ(host::lastError(), 183U);
}

TEST_F(NamespacesTest, OutsideTheBoundarysSidCreationFailsWith5) {
  host::machine().token.administrator = false;
  EXPECT_EQ(CreatePrivateNamespaceW(nullptr, makeBoundary(), L"Alias"), nullptr);
  EXPECT_EQ(host::lastError(), 5U);
}

TEST_F(NamespacesTest, ABoundaryWithoutSidsKeepsNobodyOut) {
  host::machine().token.administrator = false;
  const HANDLE boundary = CreateBoundaryDescriptorW(L"Boundary", 0);
  const HANDLE created = CreatePrivateNamespaceW(nullptr, boundary, L"Alias");
  EXPECT_NE(created, nullptr);
  ClosePrivateNamespace(created, PRIVATE_NAMESPACE_FLAG_DESTROY);
}

TEST_F(NamespacesTest, ANamespaceNeedsAliasAndBoundary) {
  EXPECT_EQ(CreatePrivateNamespaceW(nullptr, makeBoundary(), nullptr), nullptr);
  EXPECT_EQ(host::lastError(), 87U);
  EXPECT_EQ(CreatePrivateNamespaceW(nullptr, nullptr, L"Alias"), nullptr);
  EXPECT_EQ(host::lastError(), 6U);
}

TEST_F(NamespacesTest, AfterTheDestructionTheNameIsFreeAtOnce) {
  const HANDLE boundary = makeBoundary();
  const HANDLE first = CreatePrivateNamespaceW(nullptr, boundary, L"Alias");
  const HANDLE event = CreateEventW(nullptr, FALSE, FALSE, L"Alias\\Event");
  EXPECT_TRUE(ClosePrivateNamespace(first, PRIVATE_NAMESPACE_FLAG_DESTROY));
  EXPECT_EQ(ledger().open("namespace"), 0U);
  const HANDLE second = CreatePrivateNamespaceW(nullptr, boundary, L"Alias");
  EXPECT_NE(second, nullptr);
  EXPECT_TRUE(SetEvent(event)) << "the event lives on without its name";
  CloseHandle(event);
  ClosePrivateNamespace(second, PRIVATE_NAMESPACE_FLAG_DESTROY);
}

TEST_F(NamespacesTest, ASecondCloseFailsWith6AndIsAViolation) {
  const HANDLE created = CreatePrivateNamespaceW(nullptr, makeBoundary(), L"Alias");
  EXPECT_TRUE(ClosePrivateNamespace(created, PRIVATE_NAMESPACE_FLAG_DESTROY));
  EXPECT_FALSE(ClosePrivateNamespace(created, PRIVATE_NAMESPACE_FLAG_DESTROY));
  EXPECT_EQ(host::lastError(), 6U);
  EXPECT_EQ(ledger().violations().size(), 1U);
}

TEST_F(NamespacesTest, ANamespaceIsNotClosedByCloseHandle) {
  const HANDLE created = CreatePrivateNamespaceW(nullptr, makeBoundary(), L"Alias");
  EXPECT_FALSE(CloseHandle(created));
  EXPECT_EQ(host::lastError(), 6U);
  EXPECT_TRUE(ClosePrivateNamespace(created, PRIVATE_NAMESPACE_FLAG_DESTROY));
}

}  // namespace
