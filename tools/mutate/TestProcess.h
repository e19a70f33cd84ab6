#pragma once

#include <string>

// A test of this program in a process of its own, forked for it. Used by the one thread of the
// runner.

// When a test counts as one that never ends. Neither depends on how busy the machine is.
struct TestLimits {
  // The seconds of processor time that one of its processes may use.
  unsigned processorSeconds = 0;
  // For how many seconds on end none of its threads may run or be about to.
  unsigned idleSeconds = 0;
};

struct TestEnd {
  int status = -1;  // as wait tells it; -1 if there was no process to be had
  bool neverEnded = false;
  long long processorMs = 0;
  long long wallMs = 0;
};

// Runs the test with the point on; 0 is none. What the test left running is ended behind it.
TestEnd runTest(const std::string& test, unsigned point, const TestLimits& limits);

// The processes that a test leaves behind become this one's. To be called once, ahead of the tests.
void adoptWhatTestsLeave();
