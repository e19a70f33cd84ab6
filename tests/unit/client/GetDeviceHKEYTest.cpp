#include "client/GetDeviceHKEY.h"

#include <cstring>

#include "tests/support/NullPointerEnd.h"
#include "tests/unit/client/ClientTest.h"
#include "tests/unit/runtime/FailingAllocation.h"

namespace {

using client_test::Texts;

constexpr wchar_t kStackId[] = L"SWC\\PROVIDER_ORVIX_COMPONENT_TALSCLIENT";

// A made-up machine: what each platform operation answers, and a list of what was asked.
class FakeDevices : public vusl::DeviceManagerWrapper {
 public:
  struct Device {
    std::wstring id;
    std::vector<std::wstring> hardwareIds = {kStackId};
    std::uint32_t locateStatus = 0;
    std::uint32_t hardwareStatus = 0;
    std::uint32_t openStatus = 0;
    std::uintptr_t key = 0x1234;
    // What the property holds, if it is no sequence of closed ids.
    std::string hardwareBytes = "";
  };

  std::uint32_t OpenDevNodeKey(DEVINST devInst, HKEY& out) override {
    asked.push_back("OpenDevNodeKey " + std::to_string(devInst));
    SetLastError(903);
    out = reinterpret_cast<HKEY>(devices[devInst].key);
    return devices[devInst].openStatus;
  }

  std::uint32_t GetDeviceHardwareID(DEVINST devInst, void* buffer, ULONG& sizeInOut) override {
    asked.push_back("GetDeviceHardwareID " + std::to_string(devInst) + " into " +
                    std::to_string(sizeInOut));
    SetLastError(902);
    if (devices[devInst].hardwareStatus != 0) return devices[devInst].hardwareStatus;
    std::string bytes = devices[devInst].hardwareBytes;
    if (bytes.empty()) {
      std::wstring ids;
      for (const std::wstring& id : devices[devInst].hardwareIds) ids += id + L'\0';
      bytes.assign(reinterpret_cast<const char*>(ids.data()), ids.size() * sizeof(wchar_t));
    }
    std::memcpy(buffer, bytes.data(), bytes.size());
    sizeInOut = static_cast<ULONG>(bytes.size()) + bytesToldTooMany;
    return 0;
  }

  std::uint32_t LocateDevNode(DEVINST& out, wchar_t* deviceId) override {
    asked.push_back("LocateDevNode " + host::toUtf8(deviceId));
    SetLastError(901);
    while (devices[out].id != deviceId) ++out;
    return devices[out].locateStatus;
  }

  std::uint32_t GetDeviceList(const wchar_t* classGuidText, wchar_t*& listOut) override {
    asked.push_back("GetDeviceList " + host::toUtf8(classGuidText));
    listText.clear();
    for (const Device& device : devices) listText += device.id + L'\0';
    listOut = listIsNull ? nullptr : listText.data();
    return listStatus;
  }

  std::vector<Device> devices;
  std::uint32_t listStatus = 0;
  bool listIsNull = false;
  ULONG bytesToldTooMany = 0;
  Texts asked;

 private:
  std::wstring listText;
};

std::string stackIdBytes() {
  const std::wstring_view id = kStackId;
  return {reinterpret_cast<const char*>(id.data()), id.size() * sizeof(wchar_t)};
}

class GetDeviceHKEYTest : public host::MachineTest {
 protected:
  std::uintptr_t search() {
    wchar_t* list = nullptr;
    return reinterpret_cast<std::uintptr_t>(GetDeviceHKEY(fake, list));
  }

  FakeDevices fake;
  const LogRecorder log;
};

TEST_F(GetDeviceHKEYTest, AsksForSoftwareComponents) {
  search();
  EXPECT_EQ(fake.asked, Texts{"GetDeviceList {5c4c3332-344d-483c-8739-259e934c9cc8}"});
}

TEST_F(GetDeviceHKEYTest, AFailedListGivesNoKey) {
  fake.devices = {{L"ONE"}};
  fake.listStatus = 13;
  EXPECT_EQ(search(), 0U);
  EXPECT_EQ(log.texts(), Texts{"[ERR] [TPM] GetDeviceHKEY GetDeviceList failed"});
}

TEST_F(GetDeviceHKEYTest, TheListIsHandedToTheCaller) {
  fake.devices = {{L"ONE"}};
  wchar_t* list = nullptr;
  GetDeviceHKEY(fake, list);
  EXPECT_STREQ(list, L"ONE");
}

TEST_F(GetDeviceHKEYTest, AnEmptyListHasNoDevice) {
  EXPECT_EQ(search(), 0U);
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] Device 'SWC\\PROVIDER_ORVIX_COMPONENT_TALSCLIENT' has "
                               "not been found"});
}

TEST_F(GetDeviceHKEYTest, AMatchGivesItsKey) {
  fake.devices = {{L"ONE"}};
  EXPECT_EQ(search(), 0x1234U);
  EXPECT_EQ(fake.asked,
            (Texts{"GetDeviceList {5c4c3332-344d-483c-8739-259e934c9cc8}", "LocateDevNode ONE",
                   "GetDeviceHardwareID 0 into 4096", "OpenDevNodeKey 0"}));
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] Current device: ONE",
                                "[DBG] [TPM] Registry found for matched device."}));
}

TEST_F(GetDeviceHKEYTest, TheFirstMatchEndsTheSearch) {
  fake.devices = {{L"ONE"}, {L"TWO"}};
  fake.devices[1].key = 0x5678;
  EXPECT_EQ(search(), 0x1234U);
}

TEST_F(GetDeviceHKEYTest, ADeviceThatCannotBeLocatedDoesNotEndTheSearch) {
  fake.devices = {{L"ONE"}, {L"TWO"}};
  fake.devices[0].locateStatus = 13;
  fake.devices[1].key = 0x5678;
  EXPECT_EQ(search(), 0x5678U);
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] Current device: ONE",
                                "[INF] [TPM] CM_Locate_DevNode failed with status = 901 for a 13",
                                "[DBG] [TPM] Current device: TWO",
                                "[DBG] [TPM] Registry found for matched device."}));
}

TEST_F(GetDeviceHKEYTest, ADeviceWithoutReadableHardwareIdsDoesNotEndTheSearch) {
  fake.devices = {{L"ONE"}, {L"TWO"}};
  fake.devices[0].hardwareStatus = 37;
  fake.devices[1].key = 0x5678;
  EXPECT_EQ(search(), 0x5678U);
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] Current device: ONE",
                                "[INF] [TPM] GetDeviceHardwareID failed with status = 902 for a 37",
                                "[DBG] [TPM] Current device: TWO",
                                "[DBG] [TPM] Registry found for matched device."}));
}

TEST_F(GetDeviceHKEYTest, ADeviceWhoseListBeginsWithAnotherIdIsSkipped) {
  fake.devices = {{L"ONE"}};
  fake.devices[0].hardwareIds = {L"SWC\\OTHER", kStackId};
  EXPECT_EQ(search(), 0U);
}

TEST_F(GetDeviceHKEYTest, LaterIdsOfAMatchDoNotMatter) {
  fake.devices = {{L"ONE"}};
  fake.devices[0].hardwareIds = {kStackId, L"SWC\\OTHER"};
  EXPECT_EQ(search(), 0x1234U);
}

TEST_F(GetDeviceHKEYTest, TheIdIsComparedInItsExactCase) {
  fake.devices = {{L"ONE"}};
  fake.devices[0].hardwareIds = {L"SWC\\Provider_Orvix_Component_talsClient"};
  EXPECT_EQ(search(), 0U);
}

TEST_F(GetDeviceHKEYTest, TheWholeIdIsCompared) {
  fake.devices = {{L"ONE"}, {L"TWO"}};
  fake.devices[0].hardwareIds = {std::wstring(kStackId) + L"2"};
  fake.devices[1].hardwareIds = {L"SWC\\PROVIDER_ORVIX_COMPONENT_TALSCLIEN"};
  EXPECT_EQ(search(), 0U);
}

TEST_F(GetDeviceHKEYTest, EveryDeviceGetsTheWholeBuffer) {
  fake.devices = {{L"ONE"}, {L"TWO"}};
  fake.devices[0].hardwareIds = {L"X"};
  search();
  EXPECT_EQ(fake.asked[2], "GetDeviceHardwareID 0 into 4096");
  EXPECT_EQ(fake.asked[4], "GetDeviceHardwareID 1 into 4096");
}

TEST_F(GetDeviceHKEYTest, IdsThatFillTheBufferAreNotReadBeyondIt) {
  fake.devices = {{L"ONE"}};
  fake.devices[0].hardwareIds = {std::wstring(4096 / sizeof(wchar_t) - 1, L'x')};
  EXPECT_EQ(search(), 0U);
}

// The sanitizers would see it.
TEST_F(GetDeviceHKEYTest, ASizeBeyondTheBufferIsNotBelieved) {
  fake.devices = {{L"ONE"}};
  fake.devices[0].hardwareBytes = std::string(4096, 'x');
  fake.bytesToldTooMany = 0x7FFF0000;
  EXPECT_EQ(search(), 0U);
}

TEST_F(GetDeviceHKEYTest, AnIdWithoutItsTerminatorIsReadWhole) {
  fake.devices = {{L"ONE"}};
  fake.devices[0].hardwareBytes = stackIdBytes();
  EXPECT_EQ(search(), 0x1234U);
}

TEST_F(GetDeviceHKEYTest, ALastIncompleteCharacterOfTheIdsIsNotRead) {
  fake.devices = {{L"ONE"}};
  fake.devices[0].hardwareBytes = stackIdBytes() + "2";
  EXPECT_EQ(search(), 0x1234U);
}

TEST_F(GetDeviceHKEYTest, IdsOfLessThanOneCharacterAreNone) {
  fake.devices = {{L"ONE"}};
  fake.devices[0].hardwareBytes = "S";
  EXPECT_EQ(search(), 0U);
}

TEST_F(GetDeviceHKEYTest, AnEmptyFirstIdIsAnotherId) {
  fake.devices = {{L"ONE"}};
  fake.devices[0].hardwareIds = {L"", kStackId};
  EXPECT_EQ(search(), 0U);
}

TEST_F(GetDeviceHKEYTest, NothingOfTheDeviceBeforeIsLeftInTheBuffer) {
  fake.devices = {{L"ONE"}, {L"TWO"}};
  fake.devices[0].hardwareIds = {L"XXX\\PROVIDER_ORVIX_COMPONENT_TALSCLIENT"};
  fake.devices[1].hardwareBytes = std::string(stackIdBytes(), 0, 3 * sizeof(wchar_t));
  EXPECT_EQ(search(), 0U);
}

TEST_F(GetDeviceHKEYTest, AMatchWhoseKeyCannotBeOpenedEndsTheSearch) {
  fake.devices = {{L"ONE"}, {L"TWO"}};
  fake.devices[0].openStatus = 46;
  fake.devices[0].key = 0;
  EXPECT_EQ(search(), 0U);
  EXPECT_EQ(log.texts(),
            (Texts{"[DBG] [TPM] Current device: ONE",
                   "[ERR] [TPM] CM_Open_DevNode_Key failed with status = 903 for a 46"}));
}

TEST_F(GetDeviceHKEYTest, WhatAFailedOpeningLeftInTheKeyIsReturned) {
  fake.devices = {{L"ONE"}};
  fake.devices[0].openStatus = 46;
  fake.devices[0].key = 0x77;
  EXPECT_EQ(search(), 0x77U);
}

// Deliberate: the list is not looked at before it is walked through.
TEST_F(GetDeviceHKEYTest, ANullListFaults) {
  fake.listIsNull = true;
  EXPECT_EXIT(
      {
        letTheFaultEndTheProcess();
        search();
      },
      usedANullPointer, "");
}

TEST_F(GetDeviceHKEYTest, FindsTheDeviceOfTheMachine) {
  client_test::installClient();
  vusl::DeviceManagerWrapper wrapper;
  wchar_t* list = nullptr;
  const HKEY key = GetDeviceHKEY(wrapper, list);
  EXPECT_NE(key, nullptr);
  RegCloseKey(key);
  HeapFree(GetProcessHeap(), 0, list);
}

class GetDeviceHKEYMemoryTest : public host::MachineTest {};

TEST_F(GetDeviceHKEYMemoryTest, KeyIsClosedWhenTheLineAboutItFindsNoMemory) {
  client_test::installClient();
  vusl::DeviceManagerWrapper wrapper;
  wchar_t* list = nullptr;
  // The journal would take memory too.
  journal().keepEntries(false);
  constexpr std::size_t kFirstOfALine = 512;
  host::CallHooks::instance().before("CM_Open_DevNode_Key", 1,
                                     [] { spoilNextAllocation(kFirstOfALine); });
  EXPECT_THROW(GetDeviceHKEY(wrapper, list), int);
  EXPECT_EQ(journal().count("RegCloseKey"), 1U);
  EXPECT_EQ(ledger().open("key"), 0U);
  HeapFree(GetProcessHeap(), 0, list);
}

}  // namespace
