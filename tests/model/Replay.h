#pragma once

#include <string>
#include <string_view>
#include <vector>

// A run of the handshake's model, to be gone through on the machine.
namespace handshake {

// A call of one of the threads with what came of it: "service", "report RUNNING".
struct Step {
  std::string thread;
  std::string call;
  bool operator==(const Step&) const = default;
};

struct ModelRun {
  int publishing = 0;  // of the TPM event: 0 never, 1 from the start, 2 by a step of the platform
  int failures = 0;    // how often method 2 comes to a connection error
  bool initWorks = true;
  bool createWorks = true;
  bool loadWorks = true;
  int refusals = 0;        // of the first report of STOPPED
  int signalRefusals = 0;  // of the handler's first signal
  // The handler uses the object when it has been destroyed. The machine cannot show what is
  // undefined.
  bool usesTheDead = false;
  std::vector<Step> steps;
};

// Reads a line that the model prints for a run. Throws std::runtime_error for any other line.
ModelRun parseRun(const std::string& line);

// "service report RUNNING; dispatcher set; ..."
std::string textOf(const std::vector<Step>& steps);

}  // namespace handshake
