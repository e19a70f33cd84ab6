// The configuration manager. The calls answer with a status and leave the last error alone.

#include <string>

#include "tests/contract/Contract.h"

namespace {

constexpr wchar_t kClass[] = L"{5c4c3332-344d-483c-8739-259e934c9cc8}";
constexpr ULONG kPresentOfClass = CM_GETIDLIST_FILTER_CLASS | CM_GETIDLIST_FILTER_PRESENT;

void putSomeDevices() {
  contract::keptByStandIn("Wine has no devices that could be listed");
  contract::putKey(L"a\\tALS Client");
  contract::putDevices({
      {L"SWC\\A\\1", kClass, {L"SWC\\FIRST", L"SWC\\SECOND"}, true, L"a"},
      {L"SWC\\B\\2", kClass, {}, false, L""},
      {L"USB\\C\\3", L"{00000000-0000-0000-0000-000000000000}", {}, true, L""},
      {L"SWC\\D\\4", L"{5C4C3332-344D-483C-8739-259E934C9CC8}", {}, true, L"none"},
  });
  SetLastError(contract::kUntouched);
}

DEVINST nodeOf(const std::wstring& id) {
  DEVINST device = 0;
  std::wstring name = id;
  EXPECT_EQ(CM_Locate_DevNodeW(&device, name.data(), CM_LOCATE_DEVNODE_NORMAL), CR_SUCCESS);
  return device;
}

// The list with "|" for each terminator.
std::wstring list(const wchar_t* filter, ULONG flags) {
  ULONG length = 0;
  EXPECT_EQ(CM_Get_Device_ID_List_SizeW(&length, filter, flags), CR_SUCCESS);
  std::wstring buffer(length, L'-');
  EXPECT_EQ(CM_Get_Device_ID_ListW(filter, buffer.data(), length, flags), CR_SUCCESS);
  for (wchar_t& character : buffer) {
    character = character == L'\0' ? L'|' : character;
  }
  return buffer;
}

TEST(CM_Get_Device_ID_List_SizeW, CountsCharactersWithAllTerminators) {
  putSomeDevices();
  ULONG length = 0;
  EXPECT_EQ(CM_Get_Device_ID_List_SizeW(&length, kClass, kPresentOfClass), CR_SUCCESS);
  EXPECT_EQ(length, 17U);
  EXPECT_EQ(GetLastError(), contract::kUntouched);
}

TEST(CM_Get_Device_ID_List_SizeW, NeedsAClassForAFilterOfClasses) {
  putSomeDevices();
  ULONG length = 0;
  EXPECT_EQ(CM_Get_Device_ID_List_SizeW(&length, nullptr, kPresentOfClass), CR_INVALID_POINTER);
}

TEST(CM_Get_Device_ID_ListW, HoldsThePresentDevicesOfTheClass) {
  putSomeDevices();
  EXPECT_EQ(list(kClass, kPresentOfClass), L"SWC\\A\\1|SWC\\D\\4||");
}

TEST(CM_Get_Device_ID_ListW, HoldsAllOfTheClassWithoutThePresentFilter) {
  putSomeDevices();
  EXPECT_EQ(list(kClass, CM_GETIDLIST_FILTER_CLASS), L"SWC\\A\\1|SWC\\B\\2|SWC\\D\\4||");
}

TEST(CM_Get_Device_ID_ListW, IsOneTerminatorWhenItIsEmpty) {
  putSomeDevices();
  EXPECT_EQ(list(L"{none}", kPresentOfClass), L"|");
}

TEST(CM_Get_Device_ID_ListW, ThatDoesNotFitIs0x1A) {
  putSomeDevices();
  wchar_t buffer[16] = {};
  EXPECT_EQ(CM_Get_Device_ID_ListW(kClass, buffer, 16, kPresentOfClass), CR_BUFFER_SMALL);
  EXPECT_EQ(GetLastError(), contract::kUntouched);
}

TEST(CM_Locate_DevNodeW, OfAMissingNodeIs0x0DAndGives0) {
  putSomeDevices();
  DEVINST device = 9;
  wchar_t id[] = L"SWC\\NONE\\1";
  EXPECT_EQ(CM_Locate_DevNodeW(&device, id, CM_LOCATE_DEVNODE_NORMAL), CR_NO_SUCH_DEVNODE);
  EXPECT_EQ(device, 0U);
  EXPECT_EQ(GetLastError(), contract::kUntouched);
}

TEST(CM_Locate_DevNodeW, OfANodeThatIsNotPresentIs0x0D) {
  putSomeDevices();
  DEVINST device = 0;
  wchar_t id[] = L"SWC\\B\\2";
  EXPECT_EQ(CM_Locate_DevNodeW(&device, id, CM_LOCATE_DEVNODE_NORMAL), CR_NO_SUCH_DEVNODE);
}

TEST(CM_Locate_DevNodeW, FindsANodeWhateverTheCaseOfItsId) {
  putSomeDevices();
  EXPECT_EQ(nodeOf(L"swc\\a\\1"), nodeOf(L"SWC\\A\\1"));
}

TEST(CM_Get_DevNode_Registry_PropertyW, GivesTheHardwareIdsAsAListInBytes) {
  putSomeDevices();
  wchar_t buffer[64] = {};
  ULONG size = sizeof buffer;
  ULONG type = 0;
  EXPECT_EQ(CM_Get_DevNode_Registry_PropertyW(nodeOf(L"SWC\\A\\1"), CM_DRP_HARDWAREID, &type,
                                              buffer, &size, 0),
            CR_SUCCESS);
  EXPECT_EQ(size, 22 * sizeof(wchar_t));
  EXPECT_EQ(type, REG_MULTI_SZ);
  EXPECT_EQ(std::wstring(buffer, 22), std::wstring(L"SWC\\FIRST\0SWC\\SECOND\0\0", 22));
}

TEST(CM_Get_DevNode_Registry_PropertyW, ThatDoesNotFitIs0x1AWithTheSize) {
  putSomeDevices();
  wchar_t buffer[4] = {};
  ULONG size = sizeof buffer;
  EXPECT_EQ(CM_Get_DevNode_Registry_PropertyW(nodeOf(L"SWC\\A\\1"), CM_DRP_HARDWAREID, nullptr,
                                              buffer, &size, 0),
            CR_BUFFER_SMALL);
  EXPECT_EQ(size, 22 * sizeof(wchar_t));
  EXPECT_EQ(buffer[0], L'\0');
}

TEST(CM_Get_DevNode_Registry_PropertyW, OfANodeWithoutHardwareIdsIs0x25) {
  putSomeDevices();
  wchar_t buffer[4] = {};
  ULONG size = sizeof buffer;
  EXPECT_EQ(CM_Get_DevNode_Registry_PropertyW(nodeOf(L"USB\\C\\3"), CM_DRP_HARDWAREID, nullptr,
                                              buffer, &size, 0),
            CR_NO_SUCH_VALUE);
}

TEST(CM_Get_DevNode_Registry_PropertyW, OfANumberThatIsNoNodeIs5) {
  putSomeDevices();
  wchar_t buffer[4] = {};
  ULONG size = sizeof buffer;
  EXPECT_EQ(CM_Get_DevNode_Registry_PropertyW(0, CM_DRP_HARDWAREID, nullptr, buffer, &size, 0),
            CR_INVALID_DEVNODE);
}

CONFIGRET openSoftwareKey(DEVINST device, HKEY& key) {
  return CM_Open_DevNode_Key(device, KEY_QUERY_VALUE, 0, RegDisposition_OpenExisting, &key,
                             CM_REGISTRY_SOFTWARE);
}

TEST(CM_Open_DevNode_Key, OpensTheSoftwareKey) {
  putSomeDevices();
  HKEY key = nullptr;
  ASSERT_EQ(openSoftwareKey(nodeOf(L"SWC\\A\\1"), key), CR_SUCCESS);
  HKEY child = nullptr;
  EXPECT_EQ(RegOpenKeyExW(key, L"tALS Client", 0, KEY_READ, &child), 0);
  EXPECT_EQ(RegCloseKey(child), 0);
  EXPECT_EQ(RegCloseKey(key), 0);
}

TEST(CM_Open_DevNode_Key, WithoutASoftwareKeyIs0x2EAndGivesNull) {
  putSomeDevices();
  HKEY key = HKEY_USERS;
  EXPECT_EQ(openSoftwareKey(nodeOf(L"USB\\C\\3"), key), CR_NO_SUCH_REGISTRY_KEY);
  EXPECT_EQ(key, nullptr);
  EXPECT_EQ(openSoftwareKey(nodeOf(L"SWC\\D\\4"), key), CR_NO_SUCH_REGISTRY_KEY);
}

TEST(CM_Open_DevNode_Key, OfANumberThatIsNoNodeIs5) {
  putSomeDevices();
  HKEY key = nullptr;
  EXPECT_EQ(openSoftwareKey(9, key), CR_INVALID_DEVNODE);
}

}  // namespace
