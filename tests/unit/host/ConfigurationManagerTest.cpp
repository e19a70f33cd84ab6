// The device nodes.

#include "platform/host/DeviceLists.h"
#include "tests/support/MachineTest.h"

namespace {

constexpr wchar_t kClass[] = L"{5c4c3332-344d-483c-8739-259e934c9cc8}";
constexpr ULONG kPresentOfClass = 0x300;

class ConfigurationManagerTest : public host::MachineTest {
 protected:
  ConfigurationManagerTest() {
    host::machine().devices = {
        {L"SWC\\A\\1", kClass, {L"SWC\\FIRST", L"SWC\\SECOND"}, true, L"HKLM\\a", CR_SUCCESS},
        {L"SWC\\B\\2", kClass, {}, false, L"", CR_SUCCESS},
        {L"USB\\C\\3", L"{00000000-0000-0000-0000-000000000000}", {}, true, L"", CR_SUCCESS},
        {L"SWC\\D\\4",
         L"{5C4C3332-344D-483C-8739-259E934C9CC8}",
         {},
         true,
         L"HKLM\\none",
         CR_SUCCESS},
    };
    host::machine().registry.createKey(L"HKLM\\a\\tALS Client");
    host::setLastError(77);
  }
  ~ConfigurationManagerTest() override { EXPECT_EQ(host::lastError(), 77U); }

  // The list with "|" for each terminator.
  static std::wstring list(const wchar_t* filter, ULONG flags) {
    ULONG length = 0;
    EXPECT_EQ(CM_Get_Device_ID_List_SizeW(&length, filter, flags), CR_SUCCESS);
    std::wstring buffer(length, L'-');
    EXPECT_EQ(CM_Get_Device_ID_ListW(filter, buffer.data(), length, flags), CR_SUCCESS);
    for (wchar_t& character : buffer) {
      character = character == L'\0' ? L'|' : character;
    }
    return buffer;
  }

  static DEVINST locate(const std::wstring& id) {
    DEVINST device = 0;
    std::wstring name = id;
    EXPECT_EQ(CM_Locate_DevNodeW(&device, name.data(), 0), CR_SUCCESS);
    return device;
  }
};

TEST_F(ConfigurationManagerTest, TheListHoldsThePresentDevicesOfTheClass) {
  EXPECT_EQ(list(kClass, kPresentOfClass), L"SWC\\A\\1|SWC\\D\\4||");
}

TEST_F(ConfigurationManagerTest, WithoutThePresentFilterAllOfTheClassAreListed) {
  EXPECT_EQ(list(kClass, CM_GETIDLIST_FILTER_CLASS), L"SWC\\A\\1|SWC\\B\\2|SWC\\D\\4||");
}

TEST_F(ConfigurationManagerTest, AnEmptyListIsOneTerminator) {
  EXPECT_EQ(list(L"{none}", kPresentOfClass), L"|");
}

TEST_F(ConfigurationManagerTest, AListThatIsNotClosedEndsWithItsLastIdsLastCharacter) {
  host::deviceLists().areClosed = false;
  EXPECT_EQ(list(kClass, kPresentOfClass), L"SWC\\A\\1|SWC\\D\\4");
  EXPECT_EQ(list(L"{none}", kPresentOfClass), L"|");
}

TEST_F(ConfigurationManagerTest, SizesCountCharacters) {
  ULONG length = 0;
  CM_Get_Device_ID_List_SizeW(&length, kClass, kPresentOfClass);
  EXPECT_EQ(length, 17U);
}

TEST_F(ConfigurationManagerTest, AListThatDoesNotFitIs0x1A) {
  wchar_t buffer[16] = {};
  EXPECT_EQ(CM_Get_Device_ID_ListW(kClass, buffer, 16, kPresentOfClass), 0x1AU);
}

TEST_F(ConfigurationManagerTest, AClassFilterNeedsAClass) {
  ULONG length = 0;
  EXPECT_EQ(CM_Get_Device_ID_List_SizeW(&length, nullptr, kPresentOfClass), CR_INVALID_POINTER);
  EXPECT_EQ(CM_Get_Device_ID_List_SizeW(&length, kClass, 0x1), CR_INVALID_FLAG);
}

TEST_F(ConfigurationManagerTest, AMissingNodeIs0x0D) {
  DEVINST device = 9;
  wchar_t id[] = L"SWC\\NONE\\1";
  EXPECT_EQ(CM_Locate_DevNodeW(&device, id, 0), 0x0DU);
  EXPECT_EQ(device, 0U);
}

TEST_F(ConfigurationManagerTest, ANodeThatIsNotPresentIs0x0D) {
  DEVINST device = 0;
  wchar_t id[] = L"SWC\\B\\2";
  EXPECT_EQ(CM_Locate_DevNodeW(&device, id, 0), 0x0DU);
}

TEST_F(ConfigurationManagerTest, ANodeAnswersWhatItIsToldTo) {
  host::machine().devices[0].locateResult = CR_ACCESS_DENIED;
  DEVINST device = 0;
  wchar_t id[] = L"SWC\\A\\1";
  EXPECT_EQ(CM_Locate_DevNodeW(&device, id, 0), 0x33U);
}

TEST_F(ConfigurationManagerTest, NodesAreLocatedWithoutRegardToCase) {
  EXPECT_EQ(locate(L"swc\\a\\1"), locate(L"SWC\\A\\1"));
}

TEST_F(ConfigurationManagerTest, TheHardwareIdsAreAListInBytes) {
  wchar_t buffer[64] = {};
  ULONG size = sizeof buffer;
  ULONG type = 0;
  EXPECT_EQ(CM_Get_DevNode_Registry_PropertyW(locate(L"SWC\\A\\1"), CM_DRP_HARDWAREID, &type,
                                              buffer, &size, 0),
            CR_SUCCESS);
  EXPECT_EQ(size, 22 * sizeof(wchar_t));
  EXPECT_EQ(type, REG_MULTI_SZ);
  EXPECT_EQ(std::wstring(buffer, 22), std::wstring(L"SWC\\FIRST\0SWC\\SECOND\0\0", 22));
}

TEST_F(ConfigurationManagerTest, HardwareIdsThatDoNotFitAre0x1AWithTheSize) {
  wchar_t buffer[4] = {};
  ULONG size = sizeof buffer;
  EXPECT_EQ(CM_Get_DevNode_Registry_PropertyW(locate(L"SWC\\A\\1"), CM_DRP_HARDWAREID, nullptr,
                                              buffer, &size, 0),
            0x1AU);
  EXPECT_EQ(size, 22 * sizeof(wchar_t));
  EXPECT_EQ(buffer[0], L'\0');
}

TEST_F(ConfigurationManagerTest, ANodeWithoutHardwareIdsIs0x25) {
  wchar_t buffer[4] = {};
  ULONG size = sizeof buffer;
  EXPECT_EQ(CM_Get_DevNode_Registry_PropertyW(locate(L"USB\\C\\3"), CM_DRP_HARDWAREID, nullptr,
                                              buffer, &size, 0),
            0x25U);
}

TEST_F(ConfigurationManagerTest, AnUnknownNumberIsNoNode) {
  wchar_t buffer[4] = {};
  ULONG size = sizeof buffer;
  HKEY key = nullptr;
  EXPECT_EQ(CM_Get_DevNode_Registry_PropertyW(0, CM_DRP_HARDWAREID, nullptr, buffer, &size, 0),
            CR_INVALID_DEVNODE);
  EXPECT_EQ(CM_Open_DevNode_Key(9, KEY_QUERY_VALUE, 0, RegDisposition_OpenExisting, &key,
                                CM_REGISTRY_SOFTWARE),
            CR_INVALID_DEVNODE);
}

TEST_F(ConfigurationManagerTest, TheSoftwareKeyIsOpened) {
  HKEY key = nullptr;
  EXPECT_EQ(CM_Open_DevNode_Key(locate(L"SWC\\A\\1"), KEY_QUERY_VALUE, 0,
                                RegDisposition_OpenExisting, &key, CM_REGISTRY_SOFTWARE),
            CR_SUCCESS);
  EXPECT_EQ(ledger().open("key"), 1U);
  HKEY child = nullptr;
  EXPECT_EQ(RegOpenKeyExW(key, L"tALS Client", 0, KEY_READ, &child), 0);
  EXPECT_EQ(RegCloseKey(child), 0);
  EXPECT_EQ(RegCloseKey(key), 0);
}

TEST_F(ConfigurationManagerTest, TheSoftwareKeyAllowsWhatItWasOpenedFor) {
  constexpr REGSAM kEnumerate = 0x8;
  HKEY key = nullptr;
  EXPECT_EQ(CM_Open_DevNode_Key(locate(L"SWC\\A\\1"), kEnumerate, 0, RegDisposition_OpenExisting,
                                &key, CM_REGISTRY_SOFTWARE),
            CR_SUCCESS);
  DWORD size = 0;
  EXPECT_EQ(RegQueryValueExW(key, L"Name", nullptr, nullptr, nullptr, &size), 5);
  RegCloseKey(key);
}

TEST_F(ConfigurationManagerTest, WithoutASoftwareKeyOpeningIs0x2E) {
  HKEY key = HKEY_USERS;
  EXPECT_EQ(CM_Open_DevNode_Key(locate(L"USB\\C\\3"), KEY_QUERY_VALUE, 0,
                                RegDisposition_OpenExisting, &key, CM_REGISTRY_SOFTWARE),
            0x2EU);
  EXPECT_EQ(key, nullptr);
  EXPECT_EQ(CM_Open_DevNode_Key(locate(L"SWC\\D\\4"), KEY_QUERY_VALUE, 0,
                                RegDisposition_OpenExisting, &key, CM_REGISTRY_SOFTWARE),
            0x2EU);
}

TEST_F(ConfigurationManagerTest, AFaultIsTheStatus) {
  faults().failOnce("CM_Get_Device_ID_List_SizeW", CR_OUT_OF_MEMORY);
  ULONG length = 0;
  EXPECT_EQ(CM_Get_Device_ID_List_SizeW(&length, kClass, kPresentOfClass), 2U);
}

TEST_F(ConfigurationManagerTest, AnInstalledStackHasItsNodeKeyAndFolder) {
  host::machine().devices.clear();
  host::machine().installStack(L"C:\\Program Files\\Orvix\\stack");
  const std::wstring ids = list(kClass, kPresentOfClass);
  const DEVINST device = locate(ids.substr(0, ids.find(L'|')));
  wchar_t hardwareId[64] = {};
  ULONG bytes = sizeof hardwareId;
  EXPECT_EQ(
      CM_Get_DevNode_Registry_PropertyW(device, CM_DRP_HARDWAREID, nullptr, hardwareId, &bytes, 0),
      CR_SUCCESS);
  EXPECT_STREQ(hardwareId, L"SWC\\PROVIDER_ORVIX_COMPONENT_TALSCLIENT");
  HKEY key = nullptr;
  HKEY child = nullptr;
  ASSERT_EQ(CM_Open_DevNode_Key(device, KEY_QUERY_VALUE, 0, RegDisposition_OpenExisting, &key,
                                CM_REGISTRY_SOFTWARE),
            CR_SUCCESS);
  ASSERT_EQ(RegOpenKeyExW(key, L"tALS Client", 0, KEY_READ, &child), 0);
  wchar_t directory[64] = {};
  DWORD size = sizeof directory;
  EXPECT_EQ(RegQueryValueExW(child, L"InstallDir64", nullptr, nullptr,
                             reinterpret_cast<BYTE*>(directory), &size),
            0);
  EXPECT_STREQ(directory, L"C:\\Program Files\\Orvix\\stack");
  EXPECT_TRUE(host::machine().drive.exists(directory));
  RegCloseKey(child);
  RegCloseKey(key);
}

}  // namespace
