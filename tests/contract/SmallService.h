#pragma once

#include <string>
#include <vector>

#include "platform/win32.h"

// A small service of the suite's own: reports, waits for its stop, and reports its end. It runs in
// the test's process over the model, and as this very program, started by the service manager, on
// Windows.
namespace contract {

struct ServiceLife {
  // What the service manager answered to a stop while the service was starting, to a pause, which
  // it does not take, to a question for its state, to a stop while it ran, and to one after its
  // end.
  std::vector<DWORD> answers;
  // What the service saw, in order.
  std::vector<std::string> seen;
};

// Lets the service live once. Later calls give the same life.
const ServiceLife& lifeOfAService();

// What the service itself does: on the main thread of a process that the manager started.
void dispatch(std::vector<std::string>& seen);

// Whether the process is to be the service.
bool isServiceStart(int argc, char** argv);
int serve();

}  // namespace contract
