#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "platform/host/Scheduler.h"
#include "platform/host/windows/Types.h"
#include "tests/model/Replay.h"

namespace handshake {

// Takes the service through a run of the model on the machine: the threads of the service and those
// from outside are held at the calls that the model knows, and let go in the order of the run. What
// the calls come to is the machine's and the service's own. Made for one run, on a machine and in a
// process where nothing has happened yet; used on the test's thread.
class ReplayRun {
 public:
  explicit ReplayRun(const ModelRun& run);
  ReplayRun(const ReplayRun&) = delete;
  ReplayRun& operator=(const ReplayRun&) = delete;

  // Lets the run happen and gives the steps that the machine saw. A run in which a thread does not
  // come to the call at which the model has it, or comes to one more, can go no further: it is told
  // on the standard error, and the process ends with kStuck.
  std::vector<Step> go();

  static constexpr int kStuck = 3;

 private:
  // A step that was let go. What came of it stands in the journal, from `entry` on, unless `call`
  // tells it already.
  struct Begun {
    std::string thread;
    std::string name;  // of the platform call; empty for a step from outside
    std::string call;
    std::size_t entry = 0;
    DWORD threadId = 0;
  };

  void setUpMachine() const;
  void hookCalls();
  void onCall(const char* name);
  bool isStep(const std::string& thread, const std::string& name);
  void arrive(const std::string& thread);
  void passTo(host::Thread& self);
  host::Nanoseconds sleepOfOthers(const host::Thread& self) const;
  void record(const std::string& thread, const std::string& name, const std::string& call);
  void manage();
  void bePlatform();
  std::string nextThread() const;
  std::string outcomeOf(const Begun& begun) const;
  std::vector<Step> observed() const;
  [[noreturn]] void giveUp(const std::string& thread) const;

  const ModelRun& run_;
  std::vector<Step> schedule_;  // the steps at which the turn passes
  std::size_t done_ = 0;
  std::vector<Begun> begun_;
  std::vector<host::Thread*> arrived_;
  host::Thread* dispatcher_;
  bool isAfterWait_ = false;
  bool hasStarted_ = false;
  bool hasCreated_ = false;
  bool hasUnloaded_ = false;
  bool hasClosed_ = false;
  bool signalIsRefused_ = false;
};

}  // namespace handshake
