#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/host/windows/Types.h"

namespace host {

// Many lives of one scenario at the cost of one start: the program is started once, stops ahead of
// the product's static objects, and forks a life for each order that it is given.
//
// It is started as for a single life, and with the environment variable kNurseryVariable and the
// descriptors below beside the one of the report. That one is a file here, written anew by each
// life.

inline constexpr char kNurseryVariable[] = "TPM_HOST_NURSERY";
// A socket that keeps messages apart: LifeOrder comes in, LifeEnding goes out.
inline constexpr int kNurseryControl = 4;
// A file of the size of LifeWatch, mapped on both sides.
inline constexpr int kNurseryWatch = 5;

// How far a life has come.
enum class Phase : std::uint8_t {
  kLoading,   // ahead of the program's entry: static objects
  kEntering,  // the entry, up to the first report to the service manager
  kStarting,  // START_PENDING
  kRunning,   // RUNNING
  kStopping,  // STOP_PENDING
  kStopped,   // STOPPED, and what comes after it up to the end of the process
};
inline constexpr std::size_t kPhases = 6;

// One life to come.
struct LifeOrder {
  bool isFaulted = false;  // false for the plain run
  bool lasting = false;    // the nth call and all after it
  std::uint16_t call = 0;  // place in callsThatCanFail
  unsigned nth = 1;
  DWORD error = 0;
};

// How it went, apart from what it told itself.
struct LifeEnding {
  int waitStatus = 0;
  bool tookTooLong = false;
};

struct WatchedCall {
  std::uint16_t call;  // place in callsThatCanFail
  Phase phase;
  std::uint8_t thread;  // the machine's threads, counted from 0
};

// What is seen of a life while it goes on, also when it ends abnormally.
struct LifeWatch {
  static constexpr std::size_t kMostCalls = std::size_t{1} << 24U;

  bool isTraced;  // the calls are kept below
  bool struck;    // the fault has happened
  Phase phaseAtStrike;
  unsigned callsAfterStrike;  // of the same name
  std::size_t count;          // of all calls
  WatchedCall calls[kMostCalls];
};

// Serves orders until nobody gives any more; comes back in each life that it forks, and never in
// the process that forks them.
LifeOrder raiseLife();

// Begins to watch, and arms the fault that is ordered. Called when the machine is set up.
void beginWatchedLife(const LifeOrder& order);

// The program's entry has been reached.
void enterProduct();

}  // namespace host
