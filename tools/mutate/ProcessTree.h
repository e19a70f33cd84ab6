#pragma once

#include <sys/types.h>

#include <vector>

// A process and those that it started, they and theirs, as they are at one moment.
class ProcessTree {
 public:
  struct Activity {
    // Whether a thread of theirs runs, waits for a processor, or waits for a drive.
    bool isRunning = false;
    // The processor time that their threads have used, in ticks.
    unsigned long long ticks = 0;
  };

  explicit ProcessTree(pid_t root);

  // Without the root, those that started others ahead of these.
  const std::vector<pid_t>& below() const { return below_; }
  Activity activity() const;

 private:
  pid_t root_;
  std::vector<pid_t> below_;
};
