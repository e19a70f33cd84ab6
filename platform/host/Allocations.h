#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace host {

// In the program whose requests for memory can fail, the environment says which one of a life does:
// the first of the product's is 1.
inline constexpr char kFailingAllocation[] = "TPM_HOST_FAILING_ALLOCATION";

// Under which name such a failure is marked, with the place behind it: "operator new 12 fails,
// running".
inline constexpr char kAllocationCall[] = "operator new";

// Where in a life a request fails: who would have to take the exception is another one in each.
enum class AllocationPlace : std::uint8_t {
  kLoading,      // ahead of the program's entry: static objects
  kEntering,     // the entry, up to the dispatcher or the usage text
  kHandling,     // the control handler, on the dispatcher's thread
  kLeaving,      // the entry, when the dispatcher has come back
  kRegistering,  // the service's thread, ahead of its first report
  kStarting,     // the same, behind START_PENDING
  kRunning,      // behind RUNNING, and behind STOP_PENDING
  kStopped,      // behind STOPPED
  kElsewhere,    // any other thread
};
inline constexpr std::size_t kAllocationPlaces = 9;

inline constexpr std::array<std::string_view, kAllocationPlaces> kAllocationPlaceTexts = {
    "loading",  "entering", "handling", "leaving",   "registering",
    "starting", "running",  "stopped",  "elsewhere",
};

}  // namespace host
