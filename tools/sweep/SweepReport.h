#pragma once

#include <chrono>
#include <ostream>
#include <vector>

#include "tools/runner/FigureTable.h"
#include "tools/sweep/Sweep.h"

namespace sweep {

// What each call's failures came to, a line each, with the log lines that came of them.
void printGroups(std::ostream& out, const SweepResult& result);

// What is not as it may be: each kind of reason once for a call, with how often.
void printObjections(std::ostream& out, const SweepResult& result);

// The figures, as a table of docs/testing.md, and what was never reached.
void printFigures(std::ostream& out, const SweepResult& result, std::chrono::seconds took);

// The figures that the page of all proofs has.
std::vector<runner::Figure> figuresOf(const SweepResult& result);

}  // namespace sweep
