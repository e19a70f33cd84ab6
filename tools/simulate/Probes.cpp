#include "tools/simulate/Probes.h"

namespace simulate {
namespace {

constexpr std::array<ProbeRow, kProbes> kRows = {{
    {"a stop ends the wait", true},
    {"a stop is refused while the service starts", true},
    {"a stop comes before the stop event is there", true},
    {"a stop is taken by the look for the event, with a method open", true},
    {"a stop is taken by the look for the event, with both methods done", true},
    {"a stop that came during a transaction is seen by the next wait", true},
    {"a stop comes when the goals stand already", true},
    {"a second stop is refused", true},
    {"the event is there at the first try", true},
    {"the event is there at a later try", true},
    {"the event is never published", true},
    {"the event is signalled while a method is open", true},
    {"the recertification program is started twice", true},
    {"the recertification program cannot be started", true},
    {"the recertification program is started after a failure", true},
    {"the recertification program that the service started crashes", true},
    {"the recertification program that a task started crashes", true},
    {"the client library throws", true},
    {"the client library crashes", true},
    {"the client library never returns", true},
    {"a status of failure counts as done", true},
    {"a life of a hundred passes", true},
    {"a task is made", true},
    {"a task is pointed at another place", true},
    {"a task is found in order", true},
    {"a task starts its program", true},
    {"a system older than Windows 10", true},
    {"no configuration", true},
    {"a corrupt configuration", true},
    {"a wait that is no number or negative", true},
    {"the configuration is edited while the service starts", true},
    {"the configuration becomes shorter between two looks at its size", false},
    {"a wait that wraps in 32 bits", true},
    {"a wait of zero", true},
    {"the client library is missing", true},
    {"the process is ended from outside", true},
    {"a service whose process was ended meets its goals when the machine is started again", true},
    {"the machine sleeps while the service waits", true},
    {"the machine sleeps during the look for the event", true},
    {"the clock is set back while the service waits", true},
    {"the control handler outlives the service's object", false},
    {"STOP_PENDING is reported after STOPPED", false},
    {"STOPPED is reported twice", false},
    {"a report to the service manager is overtaken by one of the other thread", false},
}};

}  // namespace

const ProbeRow& probeRow(Probe probe) {
  return kRows[static_cast<std::size_t>(probe)];
}

std::vector<MissedProbe> missedProbes(const ProbeCounts& counts, std::uint64_t seeds) {
  std::vector<MissedProbe> missed;
  for (std::size_t i = 0; i < kProbes; ++i) {
    if (counts[i] == 0) {
      missed.push_back({kRows[i].name, kRows[i].isRequired && seeds >= kSeedsForProbes});
    }
  }
  return missed;
}

}  // namespace simulate
