// How long the program takes from its start to the dispatcher's call, and from the start request to
// RUNNING, each beside a peer that does nothing.
//
//   start_bench ROUNDS PROGRAM EMPTY-PROGRAM EMPTY-SERVICE
//   start_bench --publish EVENT    makes a named event and keeps it until it is ended

#include <algorithm>
#include <array>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/windows/Stamps.h"
#include "platform/wine/Failed.h"

namespace {

using stamps::Moment;
using stamps::Shared;
using wine::failed;

constexpr DWORD kLongestMs = 30'000;
constexpr double kStartGoal = 1.5;

// Milliseconds from the request to each moment; below 0 for one that did not come.
using Times = std::array<double, stamps::kMoments>;

double millisecondsBetween(LONGLONG from, LONGLONG to) {
  LARGE_INTEGER perSecond{};
  QueryPerformanceFrequency(&perSecond);
  return 1000.0 * static_cast<double>(to - from) / static_cast<double>(perSecond.QuadPart);
}

Times timesSince(LONGLONG begin, const Shared& shared) {
  Times times{};
  for (std::size_t i = 0; i < times.size(); ++i) {
    times[i] = shared.at[i] == 0 ? -1 : millisecondsBetween(begin, shared.at[i]);
  }
  return times;
}

void clear(Shared& shared, bool endsAtDispatcher) {
  std::fill_n(shared.at, static_cast<int>(stamps::kMoments), 0);
  shared.endsAtDispatcher = endsAtDispatcher ? 1 : 0;
}

Times startAsProgram(Shared& shared, const std::wstring& program) {
  clear(shared, true);
  STARTUPINFOW startup{};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION made{};
  const LONGLONG begin = stamps::now();
  if (!CreateProcessW(program.c_str(), nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                      &startup, &made)) {
    failed("CreateProcessW");
  }
  const DWORD waited = WaitForSingleObject(made.hProcess, kLongestMs);
  CloseHandle(made.hThread);
  CloseHandle(made.hProcess);
  if (waited != WAIT_OBJECT_0 || shared.at[stamps::kDispatcher] == 0) {
    throw std::runtime_error("the program did not come to the dispatcher's call");
  }
  return timesSince(begin, shared);
}

class Service {
 public:
  Service(SC_HANDLE manager, const wchar_t* name, const std::wstring& program)
      : handle_(CreateServiceW(manager, name, name, SERVICE_ALL_ACCESS, SERVICE_WIN32_OWN_PROCESS,
                               SERVICE_DEMAND_START, SERVICE_ERROR_NORMAL, program.c_str(), nullptr,
                               nullptr, nullptr, nullptr, nullptr)) {
    if (handle_ == nullptr) {
      failed("CreateServiceW");
    }
  }
  ~Service() {
    DeleteService(handle_);
    CloseServiceHandle(handle_);
  }
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;

  // It stops by itself as soon as it has reported RUNNING. While a session's own services are still
  // starting, Wine's manager and a service of ours may miss each other; such a start does not
  // count.
  Times start(Shared& shared) const {
    constexpr int kTries = 5;
    for (int i = 1;; ++i) {
      clear(shared, false);
      const LONGLONG begin = stamps::now();
      if (StartServiceW(handle_, 0, nullptr)) {
        awaitStopped(shared);
        return timesSince(begin, shared);
      }
      if (GetLastError() != ERROR_SERVICE_REQUEST_TIMEOUT || i == kTries) {
        failed("StartServiceW");
      }
    }
  }

 private:
  void awaitStopped(const Shared& shared) const {
    for (DWORD waited = 0; shared.at[stamps::kRunning] == 0 || isAtWork(); ++waited) {
      if (waited == kLongestMs) {
        throw std::runtime_error("the service did not report RUNNING and STOPPED");
      }
      Sleep(1);
    }
  }

  bool isAtWork() const {
    SERVICE_STATUS status{};
    QueryServiceStatus(handle_, &status);
    return status.dwCurrentState != SERVICE_STOPPED;
  }

  SC_HANDLE handle_;
};

struct Round {
  Times program;
  Times emptyProgram;
  Times service;
  Times emptyService;
};

// The round whose way to `moment` was the shortest: other work on the machine only makes it longer.
Times leastOf(const std::vector<Round>& rounds, Times Round::*which, Moment moment) {
  const auto least =
      std::min_element(rounds.begin(), rounds.end(), [&](const Round& left, const Round& right) {
        return (left.*which)[moment] < (right.*which)[moment];
      });
  return (*least).*which;
}

void printRow(const char* what, double ours, double peer, double goal) {
  const double ratio = ours / peer;
  std::printf("%-64s %9.2f %9.2f %7.2f", what, ours, peer, ratio);
  if (goal > 0) {
    std::printf(" %6.2f  %s", goal, ratio <= goal ? "met" : "MISSED");
  }
  std::printf("\n");
}

// Where the time of the service's start goes, the longest stretch first.
void printStretches(const Times& service) {
  struct Stretch {
    const char* what;
    double milliseconds;
  };
  const auto between = [&](Moment from, Moment to) { return service[to] - service[from]; };
  std::vector<Stretch> stretches = {
      {"the platform makes the process and loads its libraries", service[stamps::kLoaded]},
      {"the libraries initialise themselves", between(stamps::kLoaded, stamps::kEntry)},
      {"static objects, search for the client stack, configuration of the log",
       between(stamps::kEntry, stamps::kLogSetUp)},
      {"attaching the log, command line", between(stamps::kLogSetUp, stamps::kPrivileges)},
      {"dropping the privileges", between(stamps::kPrivileges, stamps::kDispatcher)},
      {"the platform connects the process with the service manager",
       between(stamps::kDispatcher, stamps::kServiceMain)},
      {"the handler, the report of START_PENDING",
       between(stamps::kServiceMain, stamps::kStartPending)},
      {"search for the client stack, configuration",
       between(stamps::kStartPending, stamps::kNamespace)},
      {"the namespace, the report of RUNNING", between(stamps::kNamespace, stamps::kRunning)},
  };
  std::stable_sort(stretches.begin(), stretches.end(),
                   [](const Stretch& left, const Stretch& right) {
                     return left.milliseconds > right.milliseconds;
                   });
  for (const Stretch& stretch : stretches) {
    std::printf("  of it: %-72s %9.2f\n", stretch.what, stretch.milliseconds);
  }
}

void measure(int rounds, wchar_t** programs) {
  Shared* const shared = stamps::makeShared();
  SC_HANDLE const manager = OpenSCManagerW(nullptr, nullptr, SC_MANAGER_ALL_ACCESS);
  if (shared == nullptr || manager == nullptr) {
    failed("the preparation");
  }
  const Service service(manager, L"Measured", programs[0]);
  const Service empty(manager, L"Empty", programs[2]);
  std::vector<Round> all;
  for (int i = 0; i <= rounds; ++i) {
    const Round round{startAsProgram(*shared, programs[0]), startAsProgram(*shared, programs[1]),
                      service.start(*shared), empty.start(*shared)};
    // The first round reads files that nobody has read before.
    if (i > 0) {
      all.push_back(round);
    }
  }
  CloseServiceHandle(manager);

  std::printf("%-64s %9s %9s %7s %6s\n", "", "ours (ms)", "peer (ms)", "ratio", "goal");
  printRow("process to the dispatcher's call : empty program to its entry",
           leastOf(all, &Round::program, stamps::kDispatcher)[stamps::kDispatcher],
           leastOf(all, &Round::emptyProgram, stamps::kDispatcher)[stamps::kDispatcher],
           kStartGoal);
  const Times running = leastOf(all, &Round::service, stamps::kRunning);
  printRow("start request to RUNNING : service that does nothing", running[stamps::kRunning],
           leastOf(all, &Round::emptyService, stamps::kRunning)[stamps::kRunning], 0);
  printStretches(running);
}

}  // namespace

int wmain(int argc, wchar_t** argv) {
  if (argc == 3 && std::wstring(argv[1]) == L"--publish") {
    if (CreateEventW(nullptr, FALSE, FALSE, argv[2]) != nullptr) {
      Sleep(INFINITE);
    }
    return 1;
  }
  try {
    if (argc != 5) {
      throw std::runtime_error("usage: start_bench ROUNDS PROGRAM EMPTY-PROGRAM EMPTY-SERVICE");
    }
    measure(std::stoi(argv[1]), argv + 2);
    return 0;
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "start_bench: %s\n", failure.what());
    return 1;
  }
}
