#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <variant>
#include <vector>

#include "tools/runner/Descriptor.h"
#include "tools/runner/RecordReader.h"
#include "tools/runner/RunResult.h"

namespace runner {

// How a life is started.
struct LifeOptions {
  std::filesystem::path program;
  // UTF-8, without the program's name.
  std::vector<std::string> arguments;
  // "NAME=value" each. The life gets these, TPM_HOST_REPORT, and the options that the sanitizers of
  // this build need; nothing of the caller's own environment.
  std::vector<std::string> environment;
  // How long it may take on the clock on the wall.
  std::chrono::milliseconds bound{60'000};
  // The run is given up when this descriptor becomes readable; -1 for none. Not owned.
  int interrupt = -1;
  // Called for each record as it comes; false gives the run up. May be empty.
  RecordReader::Taker onRecord;
};

// One life of the service program, in a process of its own: started, listened to, and seen to its
// end. Whatever happens, nothing of it is left behind: the process and everything that it started
// are killed with the object at the latest.
class LifeProcess {
 public:
  // Starts the program and waits for its end. Gives the result, or why it could not be started.
  // Blocks the calling thread; several lives may run on several threads.
  static std::variant<RunResult, std::string> run(const LifeOptions& options);

  LifeProcess(const LifeProcess&) = delete;
  LifeProcess& operator=(const LifeProcess&) = delete;

 private:
  explicit LifeProcess(const LifeOptions& options) : options_(options) {}
  ~LifeProcess();

  std::string start();
  std::string spawn(int reportEnd, int strayEnd);
  void listen();
  bool waitForNews(bool& hasExited);
  void readReport();
  void readStray();
  bool giveUp(End end, const std::string& detail);
  void killAll() const;
  void decideEnd(int waitStatus);

  const LifeOptions& options_;
  pid_t process_ = -1;
  Descriptor processEnd_;
  Descriptor report_;
  Descriptor stray_;
  RecordReader reader_;
  RunResult result_;
  std::chrono::steady_clock::time_point deadline_;
  bool endTold_ = false;
  bool givenUp_ = false;
};

}  // namespace runner
