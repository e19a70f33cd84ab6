#pragma once

#include <array>
#include <string>
#include <vector>

#include "tools/runner/FigureTable.h"
#include "tools/simulate/Orders.h"

namespace simulate {

// What came of one scenario's orders, in a line without its end.
std::string lineOf(const OrderResult& result);

// What came of those of all scenarios.
struct OrderTotals {
  struct Kind {
    OrderFigures figures;
    std::size_t whole = 0;  // scenarios of which no life of this kind was left out
  };
  std::array<Kind, kOrderKinds> kinds{};
  std::size_t scenarios = 0;
  std::uint64_t lives = 0;
  std::uint64_t failed = 0;  // what was left out for a reason was not shown to be right
  ProbeCounts probes{};
};
OrderTotals totalsOf(const std::vector<OrderResult>& results);

// A line for each kind, with line ends: how many of how many.
std::string textOf(const OrderTotals& totals);

// The same for a page that has rows for them.
std::vector<runner::Figure> figuresOf(const OrderTotals& totals);

// The options that give these bounds, each with a blank before it.
std::string textOf(const OrderBounds& bounds);

}  // namespace simulate
