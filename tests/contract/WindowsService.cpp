// The small service as a process of its own: this program, started by the service manager.

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string_view>

#include "tests/contract/SmallService.h"

namespace contract {
namespace {

constexpr wchar_t kName[] = L"ContractService";
constexpr std::string_view kServiceFlag = "--service";
constexpr char kSeen[] = "C:\\contract-service.txt";
constexpr char kSeenUnfinished[] = "C:\\contract-service.new";
constexpr int kPatience = 1000;

// A service that is registered as long as the object lives.
class Registered {
 public:
  Registered() : manager_(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS)) {
    wchar_t program[MAX_PATH] = {};
    GetModuleFileNameW(nullptr, program, MAX_PATH);
    const std::wstring command = L"\"" + std::wstring(program) + L"\" --service";
    service_ = CreateServiceW(manager_, kName, kName, SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS,
                              SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, command.c_str(), nullptr,
                              nullptr, nullptr, nullptr, nullptr);
    if (service_ == nullptr || !StartServiceW(service_, 0, nullptr)) {
      throw std::runtime_error("the service cannot be started: " + std::to_string(GetLastError()));
    }
  }
  ~Registered() {
    DeleteService(service_);
    CloseServiceHandle(service_);
    CloseServiceHandle(manager_);
  }
  Registered(const Registered&) = delete;
  Registered& operator=(const Registered&) = delete;

  DWORD request(DWORD control) const {
    SERVICE_STATUS status{};
    return ControlService(service_, control, &status) ? 0 : GetLastError();
  }

  void waitFor(DWORD state) const {
    SERVICE_STATUS status{};
    for (int i = 0; i < kPatience && status.dwCurrentState != state; ++i) {
      Sleep(10);
      QueryServiceStatus(service_, &status);
    }
  }

 private:
  SC_HANDLE manager_;
  SC_HANDLE service_ = nullptr;
};

ServiceLife live() {
  std::filesystem::remove(kSeen);
  ServiceLife life;
  {
    const Registered service;
    const auto ask = [&](DWORD control) { life.answers.push_back(service.request(control)); };
    ask(SERVICE_CONTROL_STOP);
    service.waitFor(SERVICE_RUNNING);
    ask(SERVICE_CONTROL_PAUSE);
    ask(SERVICE_CONTROL_INTERROGATE);
    ask(SERVICE_CONTROL_STOP);
    service.waitFor(SERVICE_STOPPED);
    ask(SERVICE_CONTROL_STOP);
  }
  for (int i = 0; i < kPatience && !std::filesystem::exists(kSeen); ++i) {
    Sleep(10);
  }
  std::ifstream file(kSeen);
  for (std::string line; std::getline(file, line);) {
    life.seen.push_back(line);
  }
  return life;
}

}  // namespace

const ServiceLife& lifeOfAService() {
  static const ServiceLife life = live();
  return life;
}

bool isServiceStart(int argc, char** argv) {
  return argc == 2 && argv[1] == kServiceFlag;
}

int serve() {
  std::vector<std::string> seen;
  dispatch(seen);
  std::ofstream file(kSeenUnfinished);
  for (const std::string& line : seen) {
    file << line << '\n';
  }
  file.close();
  std::filesystem::rename(kSeenUnfinished, kSeen);
  return 0;
}

}  // namespace contract
