// Locks and events beside the platform calls beneath them.

#include <benchmark/benchmark.h>

#include "VUSL/Support/CriticalSection.h"
#include "VUSL/Support/Event.h"
#include "VUSL/Support/Mutex.h"
#include "VUSL/Support/ScopedLock.h"
#include "bench/Ratios.h"
#include "platform/win32.h"

namespace {

void lockAndUnlock(benchmark::State& state, vusl::Waitable& object) {
  for (auto unused : state) {
    const vusl::ScopedLock lock(object);
  }
}

void criticalSection(benchmark::State& state) {
  vusl::CriticalSection section;
  lockAndUnlock(state, section);
}

void criticalSectionCalls(benchmark::State& state) {
  CRITICAL_SECTION section{};
  InitializeCriticalSectionAndSpinCount(&section, 0x4000);
  for (auto unused : state) {
    EnterCriticalSection(&section);
    LeaveCriticalSection(&section);
  }
  DeleteCriticalSection(&section);
}

void mutex(benchmark::State& state) {
  vusl::Mutex object;
  lockAndUnlock(state, object);
}

void mutexCalls(benchmark::State& state) {
  const HANDLE handle = CreateMutexW(nullptr, FALSE, nullptr);
  for (auto unused : state) {
    benchmark::DoNotOptimize(WaitForSingleObject(handle, INFINITE));
    benchmark::DoNotOptimize(ReleaseMutex(handle));
  }
  CloseHandle(handle);
}

void event(benchmark::State& state) {
  vusl::Event object;
  for (auto unused : state) {
    object.signal();
    benchmark::DoNotOptimize(object.Lock(vusl::kInfiniteMs));
  }
}

void eventCalls(benchmark::State& state) {
  const HANDLE handle = CreateEventW(nullptr, TRUE, FALSE, nullptr);
  for (auto unused : state) {
    benchmark::DoNotOptimize(SetEvent(handle));
    benchmark::DoNotOptimize(WaitForSingleObject(handle, INFINITE));
  }
  CloseHandle(handle);
}

BENCHMARK(criticalSection);
BENCHMARK(criticalSectionCalls);
BENCHMARK(mutex);
BENCHMARK(mutexCalls);
BENCHMARK(event);
BENCHMARK(eventCalls);

const bool kSection = ratios::addRow({"ScopedLock on a critical section : enter and leave",
                                      "criticalSection", "criticalSectionCalls", 1.1});
const bool kMutex =
    ratios::addRow({"ScopedLock on a mutex : wait and release", "mutex", "mutexCalls", 1.1});
const bool kEvent =
    ratios::addRow({"Event::signal and Lock : set and wait", "event", "eventCalls", 1.1});

}  // namespace
