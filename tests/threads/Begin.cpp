// The machine's beginning for a program of threads: ahead of the product's static objects. In real
// time, or in turns if the environment gives a seed for them.

#include <cstdlib>

#include "platform/host/Scheduler.h"

namespace {

__attribute__((constructor(101))) void begin() {
  using Mode = host::Scheduler::Mode;
  const char* const seed = std::getenv("TPM_HOST_SEED");
  host::Scheduler::instance().start(seed == nullptr ? Mode::kReal : Mode::kVirtual,
                                    seed == nullptr ? 0 : std::strtoull(seed, nullptr, 10));
}

}  // namespace
