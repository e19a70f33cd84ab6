// Our code over the model, beside the platform calls that it makes. Both pay for the model alike:
// in real time, with no journal kept.

#include "bench/Ratios.h"
#include "platform/host/Call.h"
#include "platform/host/Machine.h"

int main(int argc, char** argv) {
  host::resetMachine(host::Scheduler::Mode::kReal);
  host::Journal::instance().keepEntries(false);
  const int status = ratios::run(argc, argv);
  host::resetMachine();  // takes the drive away
  return status;
}
