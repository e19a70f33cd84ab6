#pragma once

#include <string>

#include "tests/machine/TemporaryFolder.h"
#include "tools/runner/LifeProcess.h"

// A program that stands in for the service program: a shell script, gone with the object. Its
// descriptor 3 takes the records of a life's report.
class FakeLife {
 public:
  // `body`: the script's lines.
  explicit FakeLife(const std::string& body);

  // Runs it, with the script as the program of `options`. Fails the test if it cannot be started.
  runner::RunResult run(runner::LifeOptions options = {}) const;

  // A shell command that tells a record, at one second of the machine's time.
  static std::string tells(char kind, const std::string& text);

 private:
  TemporaryFolder folder_;
};
