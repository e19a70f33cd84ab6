#include "client/DeviceManagerWrapper.h"

#include <cwchar>

#include "client/GetDeviceHKEY.h"
#include "platform/host/DeviceLists.h"
#include "platform/host/RegistryViews.h"
#include "tests/unit/client/ClientTest.h"
#include "tests/unit/runtime/SlotOrder.h"

namespace {

using client_test::argument;
using client_test::Texts;

constexpr wchar_t kClass[] = L"{5c4c3332-344d-483c-8739-259e934c9cc8}";

class DeviceManagerWrapperTest : public host::MachineTest {
 protected:
  ~DeviceManagerWrapperTest() override {
    if (list != nullptr) HeapFree(GetProcessHeap(), 0, list);
  }

  static void addDevice(const std::wstring& id) {
    host::DeviceNode node;
    node.instanceId = id;
    node.classGuid = kClass;
    host::machine().devices.push_back(node);
  }

  vusl::DeviceManagerWrapper wrapper;
  wchar_t* list = nullptr;
};

// No field: the pointer is that to the operations.
static_assert(sizeof(vusl::DeviceManagerWrapper) == sizeof(void*));

TEST_F(DeviceManagerWrapperTest, TheOperationsStandInTheirOrder) {
  EXPECT_EQ(slotOf(&vusl::DeviceManagerWrapper::OpenSubKey), 2U);
  EXPECT_EQ(slotOf(&vusl::DeviceManagerWrapper::OpenDevNodeKey), 3U);
  EXPECT_EQ(slotOf(&vusl::DeviceManagerWrapper::GetDeviceHardwareID), 4U);
  EXPECT_EQ(slotOf(&vusl::DeviceManagerWrapper::LocateDevNode), 5U);
  EXPECT_EQ(slotOf(&vusl::DeviceManagerWrapper::GetDeviceList), 6U);
}

TEST_F(DeviceManagerWrapperTest, OpenSubKeyOpensForReading) {
  host::machine().registry.createKey(L"HKLM\\Software\\Here");
  HKEY key = nullptr;
  EXPECT_EQ(wrapper.OpenSubKey(HKEY_LOCAL_MACHINE, L"Software\\Here", key), 0U);
  EXPECT_NE(key, nullptr);
  const auto calls = journal().calls("RegOpenKeyExW");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(argument(calls[0], 1), "Software\\Here");
  EXPECT_EQ(argument(calls[0], 2), "0");
  EXPECT_EQ(argument(calls[0], 3), std::to_string(0x20019));
  RegCloseKey(key);
}

TEST_F(DeviceManagerWrapperTest, OpenSubKeyTriesAgainInThe64BitView) {
  host::machine().registry.createKey(L"HKLM\\Software\\Here");
  faults().failOnce("RegOpenKeyExW", ERROR_FILE_NOT_FOUND);
  HKEY key = nullptr;
  EXPECT_EQ(wrapper.OpenSubKey(HKEY_LOCAL_MACHINE, L"Software\\Here", key), 0U);
  const auto calls = journal().calls("RegOpenKeyExW");
  ASSERT_EQ(calls.size(), 2U);
  EXPECT_EQ(argument(calls[1], 1), "Software\\Here");
  EXPECT_EQ(argument(calls[1], 2), "0");
  EXPECT_EQ(argument(calls[1], 3), std::to_string(0x20119));
  RegCloseKey(key);
}

TEST_F(DeviceManagerWrapperTest, OpenSubKeyFindsAKeyThatOnlyThe64BitViewShows) {
  host::machine().registry.createKey(L"HKLM\\Software\\Here");
  host::registryViews().showOnlyIn64Bit(L"HKLM\\Software\\Here");
  HKEY key = nullptr;
  EXPECT_EQ(wrapper.OpenSubKey(HKEY_LOCAL_MACHINE, L"Software\\Here", key), 0U);
  EXPECT_EQ(ledger().open("key"), 1U);
  RegCloseKey(key);
}

TEST_F(DeviceManagerWrapperTest, OpenSubKeyAnswersFiveForEachStatusThatBothTriesEndWith) {
  host::machine().registry.createKey(L"HKLM\\Software\\Here");
  for (const DWORD status : {2U, 5U, 6U, 8U, 161U, 1018U, 1450U}) {
    faults().clear();
    faults().failFrom("RegOpenKeyExW", status);
    HKEY key = nullptr;
    EXPECT_EQ(wrapper.OpenSubKey(HKEY_LOCAL_MACHINE, L"Software\\Here", key), 5U) << status;
    EXPECT_EQ(key, nullptr) << status;
  }
  EXPECT_EQ(ledger().open("key"), 0U);
}

TEST_F(DeviceManagerWrapperTest, OpenSubKeyThatFailsTwiceAnswersFiveWhateverTheStatusWas) {
  HKEY key = nullptr;
  EXPECT_EQ(wrapper.OpenSubKey(HKEY_LOCAL_MACHINE, L"Software\\Nowhere", key), 5U);
  EXPECT_EQ(journal().count("RegOpenKeyExW"), 2U);
}

TEST_F(DeviceManagerWrapperTest, OpenDevNodeKeyOpensTheExistingSoftwareKey) {
  client_test::installClient();
  DEVINST device = 0;
  std::wstring id = host::machine().devices.at(0).instanceId;
  ASSERT_EQ(wrapper.LocateDevNode(device, id.data()), 0U);
  HKEY key = nullptr;
  EXPECT_EQ(wrapper.OpenDevNodeKey(device, key), 0U);
  EXPECT_NE(key, nullptr);
  const auto calls = journal().calls("CM_Open_DevNode_Key");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(argument(calls[0], 0), std::to_string(device));
  EXPECT_EQ(argument(calls[0], 1), "1");
  EXPECT_EQ(argument(calls[0], 2), "0");
  EXPECT_EQ(argument(calls[0], 3), "1");
  EXPECT_EQ(argument(calls[0], 4), "1");
  RegCloseKey(key);
}

TEST_F(DeviceManagerWrapperTest, OpenDevNodeKeyAnswersWithThePlatformsStatus) {
  faults().failOnce("CM_Open_DevNode_Key", CR_NO_SUCH_REGISTRY_KEY);
  HKEY key = nullptr;
  EXPECT_EQ(wrapper.OpenDevNodeKey(1, key), 0x2EU);
}

TEST_F(DeviceManagerWrapperTest, GetDeviceHardwareIDReadsTheHardwareIds) {
  client_test::installClient();
  DEVINST device = 0;
  std::wstring id = host::machine().devices.at(0).instanceId;
  ASSERT_EQ(wrapper.LocateDevNode(device, id.data()), 0U);
  wchar_t buffer[128] = {};
  ULONG size = sizeof(buffer);
  EXPECT_EQ(wrapper.GetDeviceHardwareID(device, buffer, size), 0U);
  EXPECT_STREQ(buffer, L"SWC\\PROVIDER_ORVIX_COMPONENT_TALSCLIENT");
  EXPECT_EQ(size, 41 * sizeof(wchar_t)) << "39 characters and two ends";
  const auto calls = journal().calls("CM_Get_DevNode_Registry_PropertyW");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(argument(calls[0], 1), "2");
  EXPECT_EQ(argument(calls[0], 3), "0");
  EXPECT_EQ(host::deviceLists().typesAskedFor, 0U);
}

TEST_F(DeviceManagerWrapperTest, GetDeviceHardwareIDAnswersWithThePlatformsStatus) {
  faults().failOnce("CM_Get_DevNode_Registry_PropertyW", CR_NO_SUCH_VALUE);
  wchar_t buffer[128] = {};
  ULONG size = sizeof(buffer);
  EXPECT_EQ(wrapper.GetDeviceHardwareID(1, buffer, size), 0x25U);
}

TEST_F(DeviceManagerWrapperTest, LocateDevNodeAnswersWithThePlatformsStatus) {
  std::wstring id = L"SWD\\NOWHERE";
  DEVINST device = 0;
  EXPECT_EQ(wrapper.LocateDevNode(device, id.data()), 0x0DU);
  const auto calls = journal().calls("CM_Locate_DevNodeW");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].args, "SWD\\NOWHERE, 0");
}

TEST_F(DeviceManagerWrapperTest, GetDeviceListHoldsTheIdsClosedByAnEmptyOne) {
  addDevice(L"SWD\\ONE");
  addDevice(L"SWD\\TWO");
  EXPECT_EQ(wrapper.GetDeviceList(kClass, list), 0U);
  ASSERT_NE(list, nullptr);
  EXPECT_STREQ(list, L"SWD\\ONE");
  EXPECT_STREQ(list + 8, L"SWD\\TWO");
  EXPECT_STREQ(list + 16, L"");
}

TEST_F(DeviceManagerWrapperTest, GetDeviceListCountsOnlyPresentDevicesOfTheClass) {
  addDevice(L"SWD\\GONE");
  host::machine().devices.back().present = false;
  addDevice(L"SWD\\OTHER");
  host::machine().devices.back().classGuid = L"{00000000-0000-0000-0000-000000000000}";
  addDevice(L"SWD\\HERE");
  EXPECT_EQ(wrapper.GetDeviceList(kClass, list), 0U);
  EXPECT_STREQ(list, L"SWD\\HERE");
  EXPECT_STREQ(list + 9, L"");
}

TEST_F(DeviceManagerWrapperTest, GetDeviceListOfNoDeviceIsOneEnd) {
  EXPECT_EQ(wrapper.GetDeviceList(kClass, list), 0U);
  ASSERT_NE(list, nullptr);
  EXPECT_EQ(list[0], L'\0');
  EXPECT_EQ(argument(journal().calls("HeapAlloc").at(0), 2), std::to_string(sizeof(wchar_t)));
}

TEST_F(DeviceManagerWrapperTest, GetDeviceListHoldsIdsOfTheGreatestLength) {
  constexpr std::size_t kGreatestLength = 200;
  const std::wstring first(kGreatestLength, L'A');
  const std::wstring second(kGreatestLength, L'B');
  addDevice(first);
  addDevice(second);
  EXPECT_EQ(wrapper.GetDeviceList(kClass, list), 0U);
  EXPECT_EQ(list, first);
  EXPECT_EQ(list + 201, second);
  EXPECT_EQ(list[402], L'\0');
}

// What is closed is not changed, and what is not is closed at the cost of its last two characters.
TEST_F(DeviceManagerWrapperTest, GetDeviceListClosesAListThatThePlatformDidNotClose) {
  addDevice(L"SWD\\ONE");
  addDevice(L"SWD\\TWO");
  host::deviceLists().areClosed = false;
  EXPECT_EQ(wrapper.GetDeviceList(kClass, list), 0U);
  EXPECT_EQ(argument(journal().calls("HeapAlloc").at(0), 2), std::to_string(15 * sizeof(wchar_t)));
  EXPECT_EQ(std::wstring(list, 15), std::wstring(L"SWD\\ONE\0SWD\\T\0\0", 15));
}

TEST_F(DeviceManagerWrapperTest, GetDeviceListClosesAListOfOneCharacter) {
  addDevice(L"A");
  host::deviceLists().areClosed = false;
  EXPECT_EQ(wrapper.GetDeviceList(kClass, list), 0U);
  EXPECT_EQ(list[0], L'\0');
}

TEST_F(DeviceManagerWrapperTest, GetDeviceListThatShrankBetweenTheCallsEndsEarlier) {
  addDevice(L"SWD\\ONE");
  addDevice(L"SWD\\TWO");
  host::CallHooks::instance().before("CM_Get_Device_ID_ListW", 1,
                                     [] { host::machine().devices.pop_back(); });
  EXPECT_EQ(wrapper.GetDeviceList(kClass, list), 0U);
  EXPECT_EQ(std::wstring(list, 9), std::wstring(L"SWD\\ONE\0\0", 9));
}

// One of the flags would take the heap's lock away, while another thread uses the same heap.
TEST_F(DeviceManagerWrapperTest, GetDeviceListThatFailsFreesTheListWithoutFlags) {
  addDevice(L"SWD\\ONE");
  faults().failOnce("CM_Get_Device_ID_ListW", 0x13);
  EXPECT_EQ(wrapper.GetDeviceList(kClass, list), 0x13U);
  const auto calls = journal().calls("HeapFree");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(argument(calls[0], 1), "0");
}

TEST_F(DeviceManagerWrapperTest, GetDeviceListThatFailsIsToldAheadOfTheRelease) {
  const LogRecorder log;
  addDevice(L"SWD\\ONE");
  faults().failOnce("CM_Get_Device_ID_ListW", 0x13);
  bool isTold = false;
  host::CallHooks::instance().before(
      "HeapFree", 1, [&] { isTold = log.contains("CM_Get_Device_ID_List failed with status = "); });
  EXPECT_EQ(wrapper.GetDeviceList(kClass, list), 0x13U);
  EXPECT_TRUE(isTold);
}

TEST_F(DeviceManagerWrapperTest, GetDeviceListThatGrewBetweenTheCallsFails) {
  const LogRecorder log;
  addDevice(L"SWD\\ONE");
  host::CallHooks::instance().before("CM_Get_Device_ID_ListW", 1, [] { addDevice(L"SWD\\TWO"); });
  SetLastError(77);
  EXPECT_EQ(wrapper.GetDeviceList(kClass, list), 0x1AU);
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(log.texts(),
            Texts{"[ERR] [TPM] CM_Get_Device_ID_List failed with status = 77 for a 26"});
  EXPECT_EQ(ledger().open("allocation"), 0U);
}

TEST_F(DeviceManagerWrapperTest, GetDeviceListFiltersBothCallsAlike) {
  EXPECT_EQ(wrapper.GetDeviceList(kClass, list), 0U);
  const auto sizes = journal().calls("CM_Get_Device_ID_List_SizeW");
  const auto lists = journal().calls("CM_Get_Device_ID_ListW");
  ASSERT_EQ(sizes.size(), 1U);
  ASSERT_EQ(lists.size(), 1U);
  EXPECT_EQ(sizes[0].args, "{5c4c3332-344d-483c-8739-259e934c9cc8}, 768");
  EXPECT_EQ(argument(lists[0], 0), "{5c4c3332-344d-483c-8739-259e934c9cc8}");
  EXPECT_EQ(argument(lists[0], 2), "768");
}

TEST_F(DeviceManagerWrapperTest, GetDeviceListAllocatesRoomForWideCharactersZeroFilled) {
  addDevice(L"SWD\\ONE");  // 7 characters and two ends
  EXPECT_EQ(wrapper.GetDeviceList(kClass, list), 0U);
  const auto calls = journal().calls("HeapAlloc");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(argument(calls[0], 1), "8");
  EXPECT_EQ(argument(calls[0], 2), std::to_string(9 * sizeof(wchar_t)));
}

TEST_F(DeviceManagerWrapperTest, GetDeviceListWithoutASizeIsLoggedAndReturnsTheStatus) {
  const LogRecorder log;
  faults().failOnce("CM_Get_Device_ID_List_SizeW", 0x1F);
  SetLastError(77);
  EXPECT_EQ(wrapper.GetDeviceList(kClass, list), 0x1FU);
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(log.texts(), Texts{"[ERR] [TPM] GetDeviceList CM_Get_Device_ID_List_Size failed with "
                               "status = 77 for a 31"});
}

TEST_F(DeviceManagerWrapperTest, GetDeviceListWithoutMemoryReadsAsSuccessWithNoList) {
  const LogRecorder log;
  faults().failOnce("HeapAlloc", ERROR_NOT_ENOUGH_MEMORY);
  EXPECT_EQ(wrapper.GetDeviceList(kClass, list), 0U);
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(log.texts(), Texts{"[ERR] [TPM] GetDeviceList HeapAlloc failed"});
  EXPECT_EQ(journal().count("CM_Get_Device_ID_ListW"), 0U);
}

TEST_F(DeviceManagerWrapperTest, GetDeviceListThatGivesNoListLeavesNoneOfAnEarlierOne) {
  for (const char* const call :
       {"CM_Get_Device_ID_List_SizeW", "HeapAlloc", "CM_Get_Device_ID_ListW"}) {
    wchar_t earlier[] = L"SWD\\ONE\0";
    wchar_t* given = earlier;
    faults().failOnce(call, 8);
    wrapper.GetDeviceList(kClass, given);
    EXPECT_EQ(given, nullptr) << call;
  }
}

TEST_F(DeviceManagerWrapperTest, GetDeviceListThatFailsIsLoggedAndFreesTheBuffer) {
  const LogRecorder log;
  faults().failOnce("CM_Get_Device_ID_ListW", CR_BUFFER_SMALL);
  SetLastError(77);
  EXPECT_EQ(wrapper.GetDeviceList(kClass, list), 0x1AU);
  EXPECT_EQ(list, nullptr);
  EXPECT_EQ(log.texts(),
            Texts{"[ERR] [TPM] CM_Get_Device_ID_List failed with status = 77 for a 26"});
  EXPECT_EQ(ledger().open("allocation"), 0U);
}

}  // namespace
