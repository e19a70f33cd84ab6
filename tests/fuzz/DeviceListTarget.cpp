// The list of devices and their hardware ids: sequences of texts of whatever lengths, read by the
// search for the client stack's device.

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "client/DeviceManagerWrapper.h"
#include "client/GetDeviceHKEY.h"
#include "platform/host/DeviceLists.h"
#include "platform/host/Machine.h"
#include "tests/fuzz/Fuzz.h"

namespace fuzz {
namespace {

constexpr wchar_t kSoftwareKey[] = L"HKLM\\Software\\FuzzedDevice";
constexpr char kStandsForStack = '\xFF';

// A byte is a character, but one of them stands for the hardware id that is looked for.
std::wstring characters(std::string_view bytes) {
  std::wstring text;
  for (const char byte : bytes) {
    if (byte == kStandsForStack) {
      text += kStackHardwareId;
    } else {
      text += static_cast<wchar_t>(static_cast<unsigned char>(byte));
    }
  }
  return text;
}

// What the platform answers for one device.
struct Answer {
  std::uint32_t located = 0;
  std::uint32_t read = 0;
  std::string ids;  // as bytes, whole characters or not
  ULONG told = 0;   // their size, as it is told

  // Whether its first id is the stack's.
  bool isStack() const {
    if (located != 0 || read != 0) {
      return false;
    }
    const std::size_t size = std::min<std::size_t>({ids.size(), told, 4096});
    std::wstring first;
    for (std::size_t at = 0; at + sizeof(wchar_t) <= size; at += sizeof(wchar_t)) {
      wchar_t character = 0;
      std::memcpy(&character, ids.data() + at, sizeof character);
      if (character == L'\0') {
        break;
      }
      first += character;
    }
    return first == kStackHardwareId;
  }
};

// Answers with what the bytes say. The list is a block of just its size.
class ToldDevices : public vusl::DeviceManagerWrapper {
 public:
  ToldDevices(std::vector<std::wstring> devices, std::vector<Answer> answers, std::uint32_t opened)
      : devices_(std::move(devices)), answers_(std::move(answers)), opened_(opened) {}

  std::uint32_t GetDeviceList(const wchar_t*, wchar_t*& listOut) override {
    std::wstring list;
    for (const std::wstring& device : devices_) {
      list += device + L'\0';
    }
    list += L'\0';
    list_ = std::make_unique<wchar_t[]>(list.size());
    list.copy(list_.get(), list.size());
    listOut = list_.get();
    return CR_SUCCESS;
  }

  std::uint32_t LocateDevNode(DEVINST& out, wchar_t* deviceId) override {
    require(asked_ < devices_.size() && devices_[asked_] == deviceId,
            "the devices are asked for in the order of the list");
    out = static_cast<DEVINST>(++asked_);
    return answers_[out - 1].located;
  }

  std::uint32_t GetDeviceHardwareID(DEVINST device, void* buffer, ULONG& sizeInOut) override {
    const Answer& answer = answers_[device - 1];
    std::memcpy(buffer, answer.ids.data(), std::min<std::size_t>(answer.ids.size(), sizeInOut));
    sizeInOut = answer.told;
    return answer.read;
  }

  std::uint32_t OpenDevNodeKey(DEVINST device, HKEY& out) override {
    openedDevice_ = device;
    out = opened_ == 0 ? HKEY_CURRENT_USER : nullptr;
    return opened_;
  }

  DEVINST openedDevice() const { return openedDevice_; }
  std::size_t asked() const { return asked_; }

 private:
  std::vector<std::wstring> devices_;
  std::vector<Answer> answers_;
  std::uint32_t opened_;
  std::unique_ptr<wchar_t[]> list_;
  std::size_t asked_ = 0;
  DEVINST openedDevice_ = 0;
};

Answer answerFrom(Input& input) {
  const unsigned options = input.byte();
  Answer answer;
  answer.located = options % 16 == 15 ? CR_NO_SUCH_DEVNODE : CR_SUCCESS;
  answer.read = options / 16 == 15 ? CR_BUFFER_SMALL : CR_SUCCESS;
  const std::wstring ids = characters(input.piece());
  answer.ids.resize(ids.size() * sizeof(wchar_t));
  std::memcpy(answer.ids.data(), ids.data(), answer.ids.size());
  const unsigned shift = input.byte();
  answer.told = static_cast<ULONG>(answer.ids.size() + shift % 16);
  answer.told -= std::min<ULONG>(answer.told, shift / 16);
  return answer;
}

void runTold(Input& input) {
  std::vector<std::wstring> devices;
  std::vector<Answer> answers;
  const std::uint32_t opened = input.byte() == 1 ? CR_NO_SUCH_VALUE : CR_SUCCESS;
  while (!input.isEmpty() && devices.size() < 32) {
    std::wstring device = characters(input.piece());
    if (device.empty()) {
      break;
    }
    devices.push_back(std::move(device));
    answers.push_back(answerFrom(input));
  }
  const auto stack =
      std::find_if(answers.begin(), answers.end(), [](const Answer& one) { return one.isStack(); });
  ToldDevices wrapper(devices, answers, opened);
  wchar_t* list = nullptr;
  const HKEY key = GetDeviceHKEY(wrapper, list);
  const bool isFound = stack != answers.end();
  const auto place = static_cast<std::size_t>(stack - answers.begin());
  require(wrapper.openedDevice() == (isFound ? place + 1 : 0), "the first stack's key is opened");
  require(wrapper.asked() == (isFound ? place + 1 : answers.size()),
          "the devices are asked for up to the stack");
  require(key == (isFound && opened == 0 ? HKEY_CURRENT_USER : nullptr),
          "a key is given if it was opened");
}

// The devices of the machine, through the platform's own calls.
void runOfMachine(Input& input) {
  auto& devices = host::machine().devices;
  devices.clear();
  host::deviceLists().areClosed = input.byte() % 2 == 0;
  DEVINST expected = 0;
  while (!input.isEmpty() && devices.size() < 16) {
    const unsigned options = input.byte();
    host::DeviceNode node;
    // No two devices have the same id, so something stands between the number and the rest.
    node.instanceId = L"D" + std::to_wstring(devices.size()) + L"\\" + characters(input.piece());
    node.classGuid = options % 8 == 7 ? L"{other}" : kSoftwareComponentClass;
    node.present = options / 8 % 8 != 7;
    node.hardwareIds = {characters(input.piece())};
    node.softwareKey = kSoftwareKey;
    node.locateResult = options / 64 == 3 ? CR_NO_SUCH_DEVNODE : CR_SUCCESS;
    const bool isStack = options % 8 != 7 && node.present && node.locateResult == CR_SUCCESS &&
                         node.hardwareIds[0] == kStackHardwareId;
    devices.push_back(std::move(node));
    if (isStack && expected == 0) {
      expected = static_cast<DEVINST>(devices.size());
    }
  }
  vusl::DeviceManagerWrapper wrapper;
  wchar_t* list = nullptr;
  const HKEY key = GetDeviceHKEY(wrapper, list);
  // The last id of a list that the platform did not close has lost its end.
  if (host::deviceLists().areClosed) {
    require((key != nullptr) == (expected != 0), "the stack's device is found if it is there");
  }
  require(key == nullptr || RegCloseKey(key) == 0, "a key that is given is open");
  require(list == nullptr || HeapFree(GetProcessHeap(), 0, list) != FALSE,
          "the list is the caller's to free");
}

}  // namespace

void runDeviceList(std::string_view bytes) {
  if (isMachineFresh()) {
    host::machine().registry.createKey(kSoftwareKey);
  }
  Input input(bytes);
  if (input.byte() % 8 == 0) {
    runOfMachine(input);
  } else {
    runTold(input);
  }
}

}  // namespace fuzz
