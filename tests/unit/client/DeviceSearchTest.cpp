// The search for the client stack as a whole, over a machine with many devices.

#include <stdexcept>

#include "VUSL/Support/Exception.h"
#include "client/HKeyContainer.h"
#include "platform/host/DeviceLists.h"
#include "platform/host/RegistryViews.h"
#include "tests/unit/client/ClientTest.h"

namespace {

using client_test::Texts;
using client_test::textThrownBy;

constexpr wchar_t kStackId[] = L"SWC\\PROVIDER_ORVIX_COMPONENT_TALSCLIENT";

class DeviceSearchTest : public host::MachineTest {
 protected:
  DeviceSearchTest() { client_test::installClient(); }

  // A device of the class ahead of the stack's.
  static host::DeviceNode& addAhead(const std::wstring& id) {
    host::DeviceNode node;
    node.instanceId = id;
    node.classGuid = L"{5c4c3332-344d-483c-8739-259e934c9cc8}";
    node.hardwareIds = {L"SWC\\OTHER"};
    auto& devices = host::machine().devices;
    return *devices.insert(devices.end() - 1, node);
  }

  // The install directory, or what was thrown instead.
  static std::string search() {
    std::string directory;
    const std::string thrown = textThrownBy<Exception>([&] {
      const HKeyContainer stack(1);
      HKeyContainer::GetValueString(stack.key(), "InstallDir64", directory);
    });
    return directory.empty() ? thrown : directory;
  }
};

TEST_F(DeviceSearchTest, TheSecondOfTwoDevicesIsFound) {
  addAhead(L"SWD\\OTHER");
  const LogRecorder log;
  EXPECT_EQ(search(), "C:\\Program Files\\Orvix\\tALS Client");
  EXPECT_EQ(log.texts(),
            (Texts{"[DBG] [TPM] Current device: SWD\\OTHER",
                   "[DBG] [TPM] Current device: "
                   "SWC\\PROVIDER_ORVIX_COMPONENT_TALSCLIENT\\7&1A2B3C4D&0&0",
                   "[DBG] [TPM] Registry found for matched device.",
                   "[DBG] [TPM] HKeyContainer Registry entry for device "
                   "SWC\\PROVIDER_ORVIX_COMPONENT_TALSCLIENT has been obtained",
                   "[DBG] [TPM] GetValueString success. Value=<C:\\Program Files\\Orvix\\tALS "
                   "Client>."}));
}

TEST_F(DeviceSearchTest, ADeviceIsToldOfAheadOfItsSearch) {
  addAhead(L"SWD\\OTHER");
  const LogRecorder log;
  Texts told;
  for (const std::size_t nth : {1U, 2U}) {
    host::CallHooks::instance().before("CM_Locate_DevNodeW", nth,
                                       [&] { told.push_back(log.texts().back()); });
  }
  search();
  EXPECT_EQ(told, (Texts{"[DBG] [TPM] Current device: SWD\\OTHER",
                         "[DBG] [TPM] Current device: "
                         "SWC\\PROVIDER_ORVIX_COMPONENT_TALSCLIENT\\7&1A2B3C4D&0&0"}));
}

TEST_F(DeviceSearchTest, TheLastOfAThousandDevicesIsFound) {
  for (int i = 1; i < 1000; ++i) addAhead(L"SWD\\" + std::to_wstring(i));
  EXPECT_EQ(search(), "C:\\Program Files\\Orvix\\tALS Client");
  EXPECT_EQ(journal().count("CM_Locate_DevNodeW"), 1000U);
  EXPECT_EQ(ledger().stillOpen().size(), 0U);
}

TEST_F(DeviceSearchTest, ANodeThatCannotBeLocatedIsPassedOver) {
  host::DeviceNode& gone = addAhead(L"SWD\\GONE");
  gone.hardwareIds = {kStackId};
  gone.locateResult = CR_NO_SUCH_DEVNODE;
  EXPECT_EQ(search(), "C:\\Program Files\\Orvix\\tALS Client");
}

TEST_F(DeviceSearchTest, ANodeWithoutHardwareIdsIsPassedOver) {
  addAhead(L"SWD\\BARE").hardwareIds.clear();
  const LogRecorder log;
  SetLastError(77);
  EXPECT_EQ(search(), "C:\\Program Files\\Orvix\\tALS Client");
  EXPECT_TRUE(log.contains("[INF] [TPM] GetDeviceHardwareID failed with status = 77 for a 37"));
}

TEST_F(DeviceSearchTest, ANodeThatNamesTheStackSecondIsPassedOver) {
  addAhead(L"SWD\\SECOND").hardwareIds = {L"SWC\\FIRST", kStackId};
  EXPECT_EQ(search(), "C:\\Program Files\\Orvix\\tALS Client");
}

// The buffer has 4096 bytes, the ids' own ends counted.
TEST_F(DeviceSearchTest, HardwareIdsThatJustFillTheBufferAreRead) {
  const std::size_t rest = 4096 / sizeof(wchar_t) - std::wstring(kStackId).size() - 3;
  host::machine().devices.back().hardwareIds = {kStackId, std::wstring(rest, L'x')};
  EXPECT_EQ(search(), "C:\\Program Files\\Orvix\\tALS Client");
  host::machine().devices.back().hardwareIds = {kStackId, std::wstring(rest + 1, L'x')};
  EXPECT_EQ(search(), "tals stack not installed");
}

TEST_F(DeviceSearchTest, AMatchWithoutASoftwareKeyEndsTheSearch) {
  addAhead(L"SWD\\TWIN").hardwareIds = {kStackId};
  const LogRecorder log;
  SetLastError(77);
  EXPECT_EQ(search(), "tals stack not installed");
  EXPECT_EQ(log.texts(),
            (Texts{"[DBG] [TPM] Current device: SWD\\TWIN",
                   "[ERR] [TPM] CM_Open_DevNode_Key failed with status = 77 for a 46"}));
}

TEST_F(DeviceSearchTest, TheStacksKeyIsFoundWhereOnlyThe64BitViewShowsIt) {
  host::registryViews().showOnlyIn64Bit(client_test::stackKeyPath());
  EXPECT_EQ(search(), "C:\\Program Files\\Orvix\\tALS Client");
  EXPECT_EQ(journal().count("RegOpenKeyExW"), 2U);
  EXPECT_EQ(ledger().stillOpen().size(), 0U);
}

TEST_F(DeviceSearchTest, TheStackIsFoundInAListThatIsNotClosedIfItIsNotTheLast) {
  host::DeviceNode behind = addAhead(L"SWD\\BEHIND");
  host::machine().devices.erase(host::machine().devices.begin());
  host::machine().devices.push_back(behind);
  host::deviceLists().areClosed = false;
  EXPECT_EQ(search(), "C:\\Program Files\\Orvix\\tALS Client");
}

TEST_F(DeviceSearchTest, TheLastDeviceOfAListThatIsNotClosedIsNotFound) {
  addAhead(L"SWD\\OTHER");
  host::deviceLists().areClosed = false;
  const LogRecorder log;
  EXPECT_EQ(search(), "tals stack not installed");
  EXPECT_EQ(log.texts().back(),
            "[DBG] [TPM] Device 'SWC\\PROVIDER_ORVIX_COMPONENT_TALSCLIENT' has not been found");
  EXPECT_EQ(ledger().stillOpen().size(), 0U);
}

TEST_F(DeviceSearchTest, TenThousandSearchesLeaveNothingBehind) {
  addAhead(L"SWD\\OTHER");
  journal().keepEntries(false);
  for (int i = 0; i < 10'000; ++i) {
    ASSERT_EQ(search(), "C:\\Program Files\\Orvix\\tALS Client");
  }
  EXPECT_EQ(journal().count("CM_Open_DevNode_Key"), 10'000U);
  EXPECT_EQ(ledger().stillOpen().size(), 0U);
  EXPECT_EQ(ledger().violations(), Texts{});
}

TEST_F(DeviceSearchTest, TenThousandSearchesThatFailLeaveNothingBehind) {
  host::machine().registry.deleteKey(client_test::stackKeyPath());
  addAhead(L"SWD\\OTHER");
  journal().keepEntries(false);
  for (int i = 0; i < 10'000; ++i) ASSERT_EQ(search(), "tals stack not installed");
  EXPECT_EQ(journal().count("CM_Open_DevNode_Key"), 10'000U);
  EXPECT_EQ(ledger().stillOpen().size(), 0U);
  EXPECT_EQ(ledger().violations(), Texts{});
}

}  // namespace
