#pragma once

#include <cstdint>
#include <list>
#include <string>

#include "VUSL/Support/DebugLogOutlet.h"
#include "VUSL/Support/EtwLogOutlet.h"
#include "VUSL/Support/RollingDateFileLogOutlet.h"

// Owns the outlets of the process and decides which of them the process's `LogSink` delivers to,
// and from which level on. It is made once, on the first thread, before other threads log, and is
// destroyed with the static objects of the process.
//
// The debug and the trace outlet are attached. The file outlet is not: this service writes no log
// file.
class LogSetup {
 public:
  // Makes the one object of the process on the first call; later calls change nothing. The
  // arguments and the failures are the constructor's. A call that throws leaves the object unmade.
  static LogSetup& instance(const std::string& logFileName, const std::string& defaultLogLevel,
                            const std::string& configFileName);

  // `logFile`: the name of the log file, which also chooses the trace provider. `defaultLevel`: the
  // level word that counts if the configuration has none. `configFile`: the file in the
  // configuration directory of the installation. A file that is missing or broken is not a failure.
  // Throws `Exception` if the directory cannot be found, if settings are published already and if
  // the size of the log file cannot be read; `AssertException` if the configuration vanishes while
  // it is read; a pointer to an `Exception` if the trace provider cannot be registered. No outlet
  // is attached then.
  LogSetup(const std::string& logFile, const std::string& defaultLevel,
           const std::string& configFile);

  LogSetup(const LogSetup&) = delete;
  LogSetup& operator=(const LogSetup&) = delete;

  // Unregisters the trace provider, empties the sink and closes the log file, in this order, which
  // is that of the members from the last to the first.
  ~LogSetup() = default;

  // The level that a word of the configuration stands for, compared case and all. Anything that is
  // no word of a level silences the outlets, as "NONE" does.
  static int32_t parseLogLevel(const std::string& word);

  // The words that the setting may have.
  static std::list<std::string> logLevelNames();

 private:
  // Empties the sink, also when the set-up fails half-way: the outlets go, so nobody may deliver to
  // them any more.
  struct SinkEmptier {
    ~SinkEmptier();
  };

  void loadAndSetUp();
  void setUp();

  std::string logFileName;
  std::string defaultLogLevel;
  std::string configFileName;
  bool enabled = true;
  DebugLogOutlet debugOutlet;
  RollingDateFileLogOutlet fileOutlet;
  SinkEmptier sinkEmptier;
  EtwLogOutlet etwOutlet;
};
