#pragma once

#include <atomic>
#include <functional>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <thread>

#include "platform/win32.h"
#include "platform/wine/RunRecords.h"

namespace wine {

// The program that is run: as a service of the platform's service manager, or from a console.
// Whatever it reports to the manager becomes a record.
class ServiceProcess {
 public:
  // The service that it is registered as.
  static constexpr wchar_t kServiceName[] = L"TPMEnrollmentService";

  // `onStatus` is called with the name of each state that is reported, behind its record.
  ServiceProcess(RunRecords& records, std::function<void(const std::string&)> onStatus);
  ~ServiceProcess();
  ServiceProcess(const ServiceProcess&) = delete;
  ServiceProcess& operator=(const ServiceProcess&) = delete;

  // Registers the service and starts it. Throws `std::runtime_error` with the call that failed.
  void startByManager(const std::wstring& commandLine);

  // Starts it with its output read line by line. Throws as above.
  void startFromConsole(const std::wstring& program, const std::wstring& commandLine);

  // Tells the id of the program's process as soon as somebody knows it: one that ends before it
  // answers the manager is not named by that. May be called on any thread, ahead of the start too.
  void isProcess(DWORD id);

  // Looks at the status and records it if it has changed. May be called on any thread.
  void look();

  // Sends a control; the result becomes a note.
  void control(DWORD number);

  // What its token holds. May be called on any thread once the process is known.
  std::set<std::string> privileges() const;

  // The exit code once it has ended.
  std::optional<DWORD> exitCode() const;

  // Waits for the end, at most so long.
  void waitFor(DWORD milliseconds) const { WaitForSingleObject(process_, milliseconds); }

  void end();

  // Waits until all that it printed has become records.
  void endConsole();

 private:
  void readConsole(HANDLE output);

  RunRecords& records_;
  std::function<void(const std::string&)> onStatus_;
  std::mutex looking_;
  std::atomic<bool> isControlled_{false};
  SC_HANDLE manager_ = nullptr;
  SC_HANDLE service_ = nullptr;
  std::atomic<HANDLE> process_{nullptr};
  std::string lastStatus_;
  std::thread console_;
  std::thread control_;
};

// What a process does that is started as a service and has nothing to do: reports that it runs and
// that it has stopped. It becomes a service after so many milliseconds.
void liveAsIdleService(DWORD beforehandMs);

}  // namespace wine
