#include "client/HKeyContainer.h"

#include <cstring>
#include <new>
#include <stdexcept>
#include <type_traits>

#include "VUSL/Support/Exception.h"
#include "tests/support/NullPointerEnd.h"
#include "tests/unit/client/ClientTest.h"

namespace {

using client_test::Texts;
using client_test::textThrownBy;

static_assert(!std::is_copy_constructible_v<HKeyContainer>);
static_assert(!std::is_copy_assignable_v<HKeyContainer>);
static_assert(sizeof(HKeyContainer) == sizeof(HKEY));

class HKeyContainerTest : public host::MachineTest {
 protected:
  static std::string failure(std::uint32_t usage = 1) {
    return textThrownBy<Exception>([usage] { const HKeyContainer stack(usage); });
  }

  // The keys closed by the end of a container whose key is this one. The platform gives no such
  // key for the stack, so it is put where the container's only field is.
  static Texts closedAtTheEndOf(std::uintptr_t key) {
    alignas(HKeyContainer) unsigned char place[sizeof(HKeyContainer)];
    auto* const stack = new (place) HKeyContainer(1);
    RegCloseKey(stack->key());
    std::memcpy(place, &key, sizeof key);
    journal().clear();
    std::launder(reinterpret_cast<HKeyContainer*>(place))->~HKeyContainer();
    Texts closed;
    for (const auto& call : journal().calls("RegCloseKey")) closed.push_back(call.args);
    return closed;
  }
};

TEST_F(HKeyContainerTest, OpensTheKeyOfTheStack) {
  client_test::installClient();
  const HKeyContainer stack(1);
  std::string directory;
  EXPECT_EQ(HKeyContainer::GetValueString(stack.key(), "InstallDir64", directory), 0U);
  EXPECT_EQ(directory, "C:\\Program Files\\Orvix\\tALS Client");
}

TEST_F(HKeyContainerTest, LogsTheDeviceThatItFound) {
  client_test::installClient();
  const LogRecorder log;
  const HKeyContainer stack(1);
  EXPECT_EQ(log.texts().back(),
            "[DBG] [TPM] HKeyContainer Registry entry for device "
            "SWC\\PROVIDER_ORVIX_COMPONENT_TALSCLIENT has been obtained");
}

// One of the flags would take the heap's lock away, while another thread uses the same heap.
TEST_F(HKeyContainerTest, FreesTheListOfDevicesWithoutFlags) {
  client_test::installClient();
  const HKeyContainer stack(1);
  const auto calls = journal().calls("HeapFree");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(client_test::argument(calls[0], 1), "0");
}

TEST_F(HKeyContainerTest, ClosesItsKey) {
  client_test::installClient();
  {
    const HKeyContainer stack(1);
    EXPECT_EQ(ledger().open("key"), 1U);
  }
  EXPECT_EQ(ledger().open("key"), 0U);
  EXPECT_EQ(ledger().violations(), Texts{});
}

TEST_F(HKeyContainerTest, ClosesTheDevicesKeyAfterTheSubkeyWasOpened) {
  client_test::installClient();
  const HKeyContainer stack(1);
  EXPECT_EQ(journal().namesOf({"CM_Open_DevNode_Key", "RegOpenKeyExW", "RegCloseKey"}),
            (Texts{"CM_Open_DevNode_Key", "RegOpenKeyExW", "RegCloseKey"}));
}

TEST_F(HKeyContainerTest, FreesTheDeviceList) {
  client_test::installClient();
  const HKeyContainer stack(1);
  EXPECT_EQ(journal().count("HeapAlloc"), 1U);
  EXPECT_EQ(ledger().open("allocation"), 0U);
}

TEST_F(HKeyContainerTest, FreesTheDeviceListBeforeTheSubkeyIsOpened) {
  client_test::installClient();
  const HKeyContainer stack(1);
  EXPECT_EQ(journal().namesOf({"CM_Open_DevNode_Key", "HeapFree", "RegOpenKeyExW"}),
            (Texts{"CM_Open_DevNode_Key", "HeapFree", "RegOpenKeyExW"}));
}

TEST_F(HKeyContainerTest, FreesTheDeviceListWithoutAMatchToo) {
  failure();
  EXPECT_EQ(journal().count("HeapAlloc"), 1U);
  EXPECT_EQ(ledger().open("allocation"), 0U);
}

TEST_F(HKeyContainerTest, AnotherUsageEndsAsAStackThatIsNotInstalled) {
  client_test::installClient();
  EXPECT_EQ(failure(2), "tals stack not installed");
  EXPECT_EQ(failure(0), "tals stack not installed");
  EXPECT_EQ(journal().count("CM_Get_Device_ID_List_SizeW"), 0U);
}

TEST_F(HKeyContainerTest, AnExceptionOfAnyKindEndsAsAStackThatIsNotInstalled) {
  client_test::installClient();
  host::CallHooks::instance().before("RegOpenKeyExW", journal().count("RegOpenKeyExW") + 1,
                                     [] { throw std::runtime_error("of another kind"); });
  EXPECT_EQ(failure(), "tals stack not installed");
  EXPECT_EQ(ledger().open("key"), 0U);
}

TEST_F(HKeyContainerTest, AnExceptionDuringTheSearchLeavesNoDeviceList) {
  client_test::installClient();
  host::CallHooks::instance().before("CM_Locate_DevNodeW",
                                     journal().count("CM_Locate_DevNodeW") + 1,
                                     [] { throw std::runtime_error("of another kind"); });
  EXPECT_EQ(failure(), "tals stack not installed");
  EXPECT_EQ(journal().count("HeapAlloc"), 1U);
  EXPECT_EQ(ledger().open("allocation"), 0U);
}

TEST_F(HKeyContainerTest, WithoutADeviceTheStackIsNotInstalled) {
  EXPECT_EQ(failure(), "tals stack not installed");
}

TEST_F(HKeyContainerTest, TheInnerReasonsReachNoLog) {
  const LogRecorder log;
  failure();
  failure(2);
  EXPECT_FALSE(log.contains("Could not obtain hkey for device."));
  EXPECT_FALSE(log.contains("Usage for UWD must be specified!"));
}

TEST_F(HKeyContainerTest, WithoutADeviceListTheStackIsNotInstalled) {
  client_test::installClient();
  faults().failOnce("CM_Get_Device_ID_ListW", CR_BUFFER_SMALL);
  EXPECT_EQ(failure(), "tals stack not installed");
}

TEST_F(HKeyContainerTest, WithoutTheDevicesKeyTheStackIsNotInstalled) {
  client_test::installClient();
  faults().failOnce("CM_Open_DevNode_Key", CR_ACCESS_DENIED);
  EXPECT_EQ(failure(), "tals stack not installed");
  EXPECT_EQ(journal().count("RegOpenKeyExW"), 0U);
}

TEST_F(HKeyContainerTest, WithoutTheSubkeyTheStackIsNotInstalled) {
  client_test::installClient();
  host::machine().registry.deleteKey(client_test::stackKeyPath());
  const LogRecorder log;
  EXPECT_EQ(failure(), "tals stack not installed");
  EXPECT_EQ(log.texts().back(), "[ERR] [TPM] Couldn't find <tALS Client> in device registry.");
}

TEST_F(HKeyContainerTest, WithoutTheSubkeyTheDevicesKeyIsClosedAllTheSame) {
  client_test::installClient();
  host::machine().registry.deleteKey(client_test::stackKeyPath());
  failure();
  EXPECT_EQ(journal().count("CM_Open_DevNode_Key"), 1U);
  EXPECT_EQ(ledger().open("key"), 0U);
  EXPECT_EQ(ledger().violations(), Texts{});
}

TEST_F(HKeyContainerTest, AnExhaustedHeapFaultsInTheSearch) {
  client_test::installClient();
  faults().failOnce("HeapAlloc", ERROR_NOT_ENOUGH_MEMORY);
  EXPECT_EXIT(
      {
        letTheFaultEndTheProcess();
        failure();
      },
      usedANullPointer, "");
}

TEST_F(HKeyContainerTest, ClosesNoPredefinedRootKey) {
  client_test::installClient();
  EXPECT_EQ(closedAtTheEndOf(0x80000000), Texts{});
  EXPECT_EQ(closedAtTheEndOf(0x80000001), Texts{});
  EXPECT_EQ(closedAtTheEndOf(0x80000002), Texts{});
  EXPECT_EQ(closedAtTheEndOf(0x80000003), Texts{});
  EXPECT_EQ(closedAtTheEndOf(0x80000005), Texts{});
}

TEST_F(HKeyContainerTest, ClosesTheKeysBetweenAndBehindThePredefinedOnes) {
  client_test::installClient();
  EXPECT_EQ(closedAtTheEndOf(0x80000004), Texts{"0x80000004"});
  EXPECT_EQ(closedAtTheEndOf(0x80000006), Texts{"0x80000006"});
}

TEST_F(HKeyContainerTest, ThePredefinedRootKeysAreKnown) {
  EXPECT_TRUE(IsPredefinedRootKey(HKEY_CLASSES_ROOT));
  EXPECT_TRUE(IsPredefinedRootKey(HKEY_CURRENT_USER));
  EXPECT_TRUE(IsPredefinedRootKey(HKEY_LOCAL_MACHINE));
  EXPECT_TRUE(IsPredefinedRootKey(HKEY_USERS));
  EXPECT_TRUE(IsPredefinedRootKey(HKEY_CURRENT_CONFIG));
}

TEST_F(HKeyContainerTest, AnyOtherKeyIsNoPredefinedRootKey) {
  EXPECT_FALSE(IsPredefinedRootKey(reinterpret_cast<HKEY>(std::uintptr_t{0x80000004})));
  EXPECT_FALSE(IsPredefinedRootKey(reinterpret_cast<HKEY>(std::uintptr_t{0x80000006})));
  EXPECT_FALSE(IsPredefinedRootKey(reinterpret_cast<HKEY>(std::uintptr_t{0x100})));
}

}  // namespace
