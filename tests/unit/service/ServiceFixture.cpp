#include "tests/unit/service/ServiceFixture.h"

#include <algorithm>
#include <filesystem>

namespace TPMEnrollmentService {

void TPMEnrollmentPeer::forgetProcess() {
  TPMEnrollment::s_eventHandles[0] = nullptr;
  TPMEnrollment::s_eventHandles[1] = nullptr;
  TPMEnrollment::s_waitTimeoutMs = 0;
  TPMEnrollment::s_boundaryDescriptor = nullptr;
  TPMEnrollment::s_privateNamespace = nullptr;
  TPMEnrollment::s_startupInfo = {};
  TPMEnrollment::s_processInfo = {};
}

}  // namespace TPMEnrollmentService

void ServiceTest::installClient(const std::string& script) {
  const std::filesystem::path standIns = STANDINS_DIR;
  host::Machine& machine = host::machine();
  machine.installStack(L"C:\\Orvix\\bin");
  machine.drive.linkIn(standIns / "talsClient.dll", L"C:\\Orvix\\bin\\talsClient.dll");
  machine.drive.linkIn(standIns / "talsProxy.dll", L"C:\\Orvix\\bin\\talsProxy.dll");
  if (!script.empty()) machine.drive.write(L"C:\\Orvix\\bin\\talsClient.script", script);
}

void ServiceTest::writeConfiguration(const std::string& content) {
  host::machine().drive.write(L"C:\\Orvix\\conf\\TPMEnrollmentService.conf", content);
}

ServiceTest::Texts ServiceTest::linesFrom(const std::string& first) const {
  const Texts all = log.withoutAddresses();
  const auto begin = std::find_if(all.begin(), all.end(),
                                  [&](const std::string& line) { return line.ends_with(first); });
  return Texts(begin, all.end());
}
