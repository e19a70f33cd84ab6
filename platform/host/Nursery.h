#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/host/windows/Types.h"

namespace host {

// Many lives of one scenario, forked by a program that has stopped ahead of the product's static
// objects (see ForkedLives.h). An order is a LifeOrder.
//
// The program is started as for a single life, and with the environment variable kNurseryVariable
// and the descriptor below beside those of all forked lives.

inline constexpr char kNurseryVariable[] = "TPM_HOST_NURSERY";
// A file of the size of LifeWatch, mapped on both sides.
inline constexpr int kNurseryWatch = 5;

// How far a life has come.
enum class Phase : std::uint8_t {
  kLoading,   // ahead of the program's entry: static objects
  kEntering,  // the entry, up to the first report to the service manager
  kDropping,  // privileges, in between
  kStarting,  // START_PENDING
  kRunning,   // RUNNING
  kStopping,  // STOP_PENDING
  kStopped,   // STOPPED, and what comes after it up to the end of the process
};
inline constexpr std::size_t kPhases = 7;

// One life to come.
struct LifeOrder {
  bool isFaulted = false;  // false for the plain run
  bool lasting = false;    // the nth call and all after it
  bool isDone = false;     // the call does its work, and fails all the same
  std::uint16_t call = 0;  // place in callsThatCanFail
  unsigned nth = 1;
  DWORD error = 0;
};

// Where a fault of the scenario's own struck.
struct OwnStrike {
  std::uint8_t phases;  // a bit for each phase in which it did
  std::uint64_t place;  // of its first strike: the thread, and the calls that this made just before
  bool operator==(const OwnStrike&) const = default;
};

struct WatchedCall {
  std::uint16_t call;  // place in callsThatCanFail
  Phase phase;
  std::uint8_t thread;  // the machine's threads, counted from 0
};

// What is seen of a life while it goes on, also when it ends abnormally.
struct LifeWatch {
  static constexpr std::size_t kMostCalls = std::size_t{1} << 24U;
  static constexpr std::size_t kMostOwnFaults = 8;

  bool isTraced;  // the calls are kept below
  bool struck;    // the fault has happened
  Phase phaseAtStrike;
  unsigned callsAfterStrike;      // of the same name
  OwnStrike own[kMostOwnFaults];  // by the faults' order in the scenario
  std::size_t count;              // of all calls
  WatchedCall calls[kMostCalls];
};

// Serves orders until nobody gives any more; comes back in each life that it forks, and never in
// the process that forks them.
LifeOrder raiseWatchedLife();

// Begins to watch, and arms the fault that is ordered. Called when the machine is set up.
void beginWatchedLife(const LifeOrder& order);

// The program's entry has been reached.
void enterProduct();
bool isProductEntered();

}  // namespace host
