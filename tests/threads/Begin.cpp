// The machine's beginning for a program of free threads: ahead of the product's static objects.

#include "platform/host/Scheduler.h"

namespace {

__attribute__((constructor(101))) void beginInRealTime() {
  host::Scheduler::instance().start(host::Scheduler::Mode::kReal, 0);
}

}  // namespace
