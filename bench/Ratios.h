#pragma once

#include <string>

// A table of what things cost beside the cost of something known.
namespace ratios {

// One row: `ours` and `peer` are names of benchmarks, a name with "/2" at its end one that runs on
// two threads. `limit` is the goal for the ratio; 0 if there is none. The peer's cost counts
// `peerTimes` times.
struct Row {
  std::string what;
  std::string ours;
  std::string peer;
  double limit;
  double peerTimes = 1;
};

// Two amounts of the same unit; 0 stands for one that could not be had.
struct Figures {
  double ours;
  double peer;
};

// A row of something else than time. `figures` is asked before any benchmark runs; `what` names
// the unit.
struct Measure {
  std::string what;
  Figures (*figures)();
  double limit;
};

// Adds a row to the program's table. Both return true, so that a constant can do it.
bool addRow(Row row);
bool addMeasure(Measure measure);

// Runs all benchmarks of the program in rounds, each round in another order, and prints for each
// row the least that a round took. Returns the program's status: 0 also if a goal was missed, 1 if
// a benchmark reported an error or did not run.
int run(int argc, char** argv);

}  // namespace ratios
