#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/host/ComState.h"
#include "platform/host/Devices.h"
#include "platform/host/Drive.h"
#include "platform/host/Objects.h"
#include "platform/host/RegistryStore.h"
#include "platform/host/ServiceManager.h"
#include "platform/host/Text.h"
#include "platform/host/Token.h"
#include "platform/host/TraceSessions.h"
#include "platform/host/windows/windows.h"

namespace host {

struct IgnoringCase {
  bool operator()(const std::wstring& left, const std::wstring& right) const {
    return foldCase(left) < foldCase(right);
  }
};

struct WindowsVersion {
  DWORD major = 10;
  DWORD minor = 0;
  DWORD build = 19045;
};

// A program that the Task Scheduler started.
struct TaskStart {
  std::wstring task;
  std::wstring program;
  std::wstring account;
};

// One modelled computer: what the platform calls of this process find and change. There is one for
// a process; a test sets it back.
struct Machine {
  Drive drive;
  RegistryStore registry;
  std::vector<DeviceNode> devices;
  Token token;
  WindowsVersion version;
  LANGID userLanguage = 0x0409;
  // Texts of errors that this system has beside the table of the English edition, or in place of
  // it, as they stand: with their line end, if they are to have one.
  std::map<DWORD, std::wstring> errorTexts;
  // Tables of strings, by the path of the program or the library that holds them.
  std::map<std::wstring, std::map<UINT, std::wstring>, IgnoringCase> stringTables;
  std::map<std::wstring, std::wstring, IgnoringCase> environment;
  std::wstring currentDirectory = L"C:\\Windows\\System32";
  NamedObjects objects;
  ServiceManager services;
  TraceSessions trace;

  // What the listener of the debug output received, with its line ends. It reads through a buffer
  // of 4092 bytes, the zero included; what has no room there is cut off.
  std::vector<std::wstring> debugOutput;
  // Whether anybody listens, which may change at any time. With no listener OutputDebugStringW
  // leaves the last error at 2.
  bool debugListener = true;
  // Paths of the programs that CreateProcessW started, in order.
  std::vector<std::wstring> programsStarted;
  // What the client library answered, in order: "talsInitHUB 8".
  std::vector<std::string> clientAnswers;

  // The machine's clock: sets what the local time is now. It goes on with the scheduler's time.
  void setLocalTime(const SYSTEMTIME& time);
  void setLocalTime(int year, int month, int day, int hour, int minute, int second,
                    int millisecond);
  // Somebody sets the clock on or back by so much. What waits does not go by it.
  void stepClock(std::int64_t ms);
  SYSTEMTIME localTime() const;
  // Milliseconds since 1601, as the times of files count.
  std::int64_t utcMs() const;
  // How far the local time is ahead of UTC.
  int minutesAheadOfUtc = 0;

  // The program's own file, as GetModuleFileNameW names it.
  std::wstring programPath =
      L"C:\\Program Files\\Orvix\\TPMEnrollmentService\\TPMEnrollmentService.exe";
  // Whether a successful GetModuleFileNameW sets the last error to 0 or leaves it.
  bool moduleFileNameClearsLastError = true;
  // The folder set by SetDllDirectoryW; without one the current directory is searched.
  std::optional<std::wstring> dllDirectory;
  // The folder of the user under whom the process runs: a service's is the local system account's.
  std::wstring profileDirectory = L"C:\\Windows\\System32\\config\\systemprofile";
  // Where the standard handles lead, and the modes of the console's two ends.
  enum class Standard { kNone, kFile, kConsole };
  Standard input = Standard::kFile;
  Standard output = Standard::kFile;
  Standard errors = Standard::kFile;
  DWORD inputMode = 0x1F7;
  DWORD outputMode = 0x3;

  ComState com;

  // Whether the Task Scheduler lets this process connect: otherwise the answer is 0x80070005.
  bool schedulerRefuses = false;
  // What the settings of tasks ask for.
  bool network = true;
  bool onBatteries = false;
  // How long a program that a task started counts as running, on the machine's clock: how long the
  // real child takes is nobody's promise.
  Nanoseconds taskProgramRuns = 1'000 * kNanosecondsPerMillisecond;
  // What the Task Scheduler started, in order.
  std::vector<TaskStart> tasksStarted;
  // An event comes into a log: each enabled task whose subscription selects it is started, unless
  // its settings forbid it. Everything that comes of it is noted.
  void raiseEvent(const std::wstring& log, const std::wstring& provider, DWORD id);

  // The client stack as its driver package leaves it: device node, software key with the subkey
  // "tALS Client" and its value "InstallDir64", and the folder itself (without the libraries).
  void installStack(const std::wstring& directory);

  // Named events and namespaces of other programs.
  void publishEvent(const std::wstring& name);
  void withdrawEvent(const std::wstring& name);
  // False if there is no event of that name.
  bool signalEvent(const std::wstring& name);
  void takeNamespace(const std::wstring& alias);

  // Called for every line of debug output, and for everything that the machine sees happen.
  std::function<void(const std::wstring& line)> onDebugOutput;
  std::function<void(const std::string& what)> onNote;
  void note(const std::string& what) const;

 private:
  // Milliseconds since 1601 of the local time at the machine's start.
  std::int64_t startLocalMs_ = 13'411'796'645'006;  // 2026-01-02 03:04:05.006
};

// Milliseconds since 1601 and the calendar's form of them; no time zone is applied.
std::int64_t toMilliseconds(const SYSTEMTIME& time);
SYSTEMTIME toSystemTime(std::int64_t ms);

// The machine of this process. Never destroyed: static objects of the product still call it while
// the process ends.
Machine& machine();

// A fresh machine in place of the old one, for the next test in the same process: clock, journal,
// faults, ledger and choices start anew. The calling thread must be the only one left.
void resetMachine(Scheduler::Mode mode = Scheduler::Mode::kVirtual, std::uint64_t seed = 0);

}  // namespace host
