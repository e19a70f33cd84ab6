// The rolling file outlet beside the bare platform calls that it makes, made in the same order.

#include <benchmark/benchmark.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "VUSL/Support/RollingFileLogOutlet.h"
#include "bench/Ratios.h"
#include "platform/host/Call.h"
#include "platform/host/Machine.h"
#include "platform/win32.h"

namespace {

constexpr uint32_t kArchives = 10;
constexpr uint32_t kNeverFull = 0xFFFFFFFF;
constexpr DWORD kAccess = GENERIC_READ | GENERIC_WRITE | FILE_APPEND_DATA;

const std::wstring& line() {
  static const std::wstring text =
      L"2026-01-02 03:04:05:006 0000000000001a2c TPMEnrollmentService: [INF] [TPM] "
      L"[0x7ffd5a1f4a3c] The transaction of the method came to an end, with status: 7";
  return text;
}

// An outlet on a file of its own, that rolls with every line if `limitBytes` is 1.
RollingFileLogOutlet& outletOn(RollingFileLogOutlet& outlet, uint32_t limitBytes) {
  outlet.setMaxFileSize(limitBytes);
  outlet.setMaxArchiveNumber(kArchives);
  return outlet;
}

// What the outlet asks of the platform, and nothing else.
class BareCalls {
 public:
  explicit BareCalls(const std::wstring& path) : live(path), text(line().begin(), line().end()) {
    InitializeCriticalSectionAndSpinCount(&section, 0x4000);
    for (uint32_t i = 0; i < kArchives; ++i) archives.push_back(path + L"." + std::to_wstring(i));
    text += "\r\n";
  }
  ~BareCalls() {
    CloseHandle(file);
    DeleteCriticalSection(&section);
  }
  BareCalls(const BareCalls&) = delete;
  BareCalls& operator=(const BareCalls&) = delete;

  void dump() {
    EnterCriticalSection(&section);
    write();
    LeaveCriticalSection(&section);
  }

  void dumpWithRoll() {
    EnterCriticalSection(&section);
    if (file != nullptr) CloseHandle(file);
    file = nullptr;
    roll(live, 0);
    write();
    LeaveCriticalSection(&section);
  }

 private:
  void roll(const std::wstring& path, uint32_t index) {
    WIN32_FIND_DATAW found{};
    const HANDLE search = FindFirstFileW(path.c_str(), &found);
    if (search == INVALID_HANDLE_VALUE) return;
    FindClose(search);
    if (index == kArchives) {
      DeleteFileW(path.c_str());
      return;
    }
    roll(archives[index], index + 1);
    MoveFileW(path.c_str(), archives[index].c_str());
  }

  void write() {
    if (file == nullptr) {
      file = CreateFileW(live.c_str(), kAccess, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                         OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
      SetFilePointer(file, 0, nullptr, FILE_END);
    }
    DWORD written = 0;
    WriteFile(file, text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
  }

  std::wstring live;
  std::vector<std::wstring> archives;
  std::string text;
  HANDLE file = nullptr;
  CRITICAL_SECTION section{};
};

std::vector<std::string> callsOf(const std::function<void()>& work) {
  host::Journal& journal = host::Journal::instance();
  journal.clear();
  journal.keepEntries(true);
  work();
  journal.keepEntries(false);
  std::vector<std::string> names = journal.names();
  journal.clear();
  return names;
}

// Whether the peer still makes the very calls that the outlet makes.
bool callsAreTheSame(benchmark::State& state, const std::function<void()>& ours,
                     const std::function<void()>& bare) {
  if (callsOf(ours) == callsOf(bare)) return true;
  state.SkipWithError("the bare calls are not those of the outlet");
  return false;
}

// Once for each of the two: both have written enough for all archives to be there.
void measure(benchmark::State& state, uint32_t limitBytes, bool isOurs) {
  const bool rolls = limitBytes == 1;
  host::machine().drive.remove(L"C:\\bench");
  host::machine().drive.createFolder(L"C:\\bench");
  RollingFileLogOutlet outlet("C:\\bench\\ours.log");
  outletOn(outlet, limitBytes);
  BareCalls bare(L"C:\\bench\\bare.log");
  const std::function<void()> ours = [&] { outlet.Dump(line()); };
  const std::function<void()> calls = [&] { rolls ? bare.dumpWithRoll() : bare.dump(); };
  for (uint32_t i = 0; i < kArchives + 2; ++i) {
    ours();
    calls();
  }
  if (!callsAreTheSame(state, ours, calls)) return;
  const std::function<void()>& measured = isOurs ? ours : calls;
  for (auto unused : state) measured();
}

void dump(benchmark::State& state) {
  measure(state, kNeverFull, true);
}
void dumpCalls(benchmark::State& state) {
  measure(state, kNeverFull, false);
}
void roll(benchmark::State& state) {
  measure(state, 1, true);
}
void rollCalls(benchmark::State& state) {
  measure(state, 1, false);
}

BENCHMARK(dump);
BENCHMARK(dumpCalls);
BENCHMARK(roll);
BENCHMARK(rollCalls);

const bool kDump =
    ratios::addRow({"Dump of the rolling outlet : its calls", "dump", "dumpCalls", 1.3});
const bool kRoll =
    ratios::addRow({"Dump with a roll of ten archives : its calls", "roll", "rollCalls", 1.5});

}  // namespace
