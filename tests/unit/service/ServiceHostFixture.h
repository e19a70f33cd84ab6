#pragma once

#include <iostream>
#include <string>
#include <vector>

#include "service/ServiceHost.h"
#include "tests/unit/service/ServiceFixture.h"

inline const std::wstring kTpmEvent = L"Global\\TpmEnrollmentEvent";

// The check-points of the process go on from test to test, so the tests of the absolute numbers
// need a process of their own, as the test runner gives them.
class ServiceHost : public ServiceTest {
 protected:
  ServiceHost() : output(std::wcout) {}

  static host::ServiceManager& services() { return host::machine().services; }

  static std::vector<DWORD> states() {
    std::vector<DWORD> all;
    for (const SERVICE_STATUS& status : services().statuses) all.push_back(status.dwCurrentState);
    return all;
  }
  static std::vector<DWORD> checkPoints() {
    std::vector<DWORD> all;
    for (const SERVICE_STATUS& status : services().statuses) all.push_back(status.dwCheckPoint);
    return all;
  }

  // Gets the process a status handle by a service whose initialisation fails, and forgets it.
  void registerHandler() {
    host::machine().environment[L"TALS_CONFDIR_PATH"] = L"C:\\conf";
    faults().failOnce("CreatePrivateNamespaceW", 183);
    ServiceMain(0, nullptr);
    services().statuses.clear();
    log.clear();
  }

  WideCapture output;
};

inline constexpr wchar_t kProgram[] = L"C:\\TPMEnrollmentService.exe";
inline constexpr wchar_t kUsage[] =
    L"Orvix TPM Enrollment Service [Version: 1.79.13.0]\n"
    L"\n"
    L"Usage: C:\\TPMEnrollmentService.exe parameter\n"
    L"\n"
    L"The following parameters are allowed:\n"
    L"    -help -- print this message\n";
