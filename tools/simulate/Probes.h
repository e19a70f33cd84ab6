#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace simulate {

// Rare situations that a simulation is worth nothing without: each has a name, and how often lives
// came into it is counted.
enum class Probe : std::uint8_t {
  kStopWhileWaiting,
  kStopRefused,
  kStopBeforeStopEvent,
  kStopTakenByLook,
  kStopInLookWithAllDone,
  kStopSeenByLaterWait,
  kStopAfterTheGoals,
  kSecondStopRefused,
  kEventOpenedAtOnce,
  kEventOpenedLate,
  kEventNeverPublished,
  kEventWithMethodOpen,
  kSecondLaunch,
  kLaunchFailed,
  kLaunchAfterFailure,
  kProgramCrashed,
  kTaskProgramCrashed,
  kClientThrew,
  kClientCrashed,
  kClientNeverReturned,
  kOtherStatusCounts,
  kHundredPasses,
  kTaskMade,
  kTaskMended,
  kTaskInOrder,
  kTaskStarted,
  kOlderWindows,
  kNoConfig,
  kCorruptConfig,
  kBadWait,
  kConfigEdited,
  kConfigShortened,
  kWrappedWait,
  kSpin,
  kLibraryMissing,
  kProcessEnded,
  kGoalsAfterAnEnd,
  kSleepInTheWait,
  kSleepInTheLook,
  kClockSetBack,
  kHandlerAfterTheObject,
  kStopPendingAfterStopped,
  kStoppedTwice,
  kReportOvertaken,
};
inline constexpr std::size_t kProbes = static_cast<std::size_t>(Probe::kReportOvertaken) + 1;

struct ProbeRow {
  std::string_view name;
  // Whether a simulation of kSeedsForProbes seeds and more must come into it.
  bool isRequired;
};
inline constexpr std::size_t kSeedsForProbes = 5'000;

const ProbeRow& probeRow(Probe probe);

using ProbeCounts = std::array<std::uint64_t, kProbes>;

// A situation that no life came into.
struct MissedProbe {
  std::string_view name;
  bool isFailure = false;  // so many seeds must have come into it
};
std::vector<MissedProbe> missedProbes(const ProbeCounts& counts, std::uint64_t seeds);

}  // namespace simulate
