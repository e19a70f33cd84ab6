#include "client/Progress.h"

#include <array>
#include <atomic>

#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/Mutex.h"
#include "VUSL/Support/ScopedLock.h"

namespace {

constexpr std::array<const char*, 11> kStateTexts = {
    "Sending M0 to FE",        // 0
    "M1 received from FE",     // 1
    "Sending M2 to OAS",       // 2
    "M2.1 received from OAS",  // 3
    "Sending M2.2 to OAS",     // 4
    "M3 received from OAS",    // 5
    "Sending M3 to FE",        // 6
    "M4 received from FE",     // 7
    "M4 sent to OAS",          // 8
    "M5 received from OAS",    // 9
    "Sending M5 to FE",        // 10
};

std::atomic<std::uint32_t> currentState{0};
vusl::Mutex stateMutex;

}  // namespace

std::string progressStateText(std::uint32_t state) {
  if (state >= kStateTexts.size()) return "Unknown state";
  return kStateTexts[state];
}

void onProgress(std::uint32_t state) {
  const vusl::ScopedLock lock(stateMutex);
  LogItem().debug() << "State: " << progressStateText(state);
  currentState.store(state);
}

std::uint32_t latestProgressState() {
  return currentState.load();
}
