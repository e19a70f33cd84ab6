#include "tools/simulate/OrderReport.h"

namespace simulate {
namespace {

struct KindRow {
  const char* name;
  const char* figure;  // the row of the page
};
constexpr KindRow kRows[kOrderKinds] = {
    {"one deviation", "schedules with one pre-emption"},
    {"two deviations", "schedules with two pre-emptions"},
    {"by seed", "schedules drawn"},
    {"a stop placed", "stops placed"},
    {"a signal placed", "signals of the event placed"},
    {"the end placed", "ends of the process placed"},
};

// "500 of about 1 200"
std::string share(const OrderFigures& figures) {
  return runner::inThrees(figures.lives) + " of " + (figures.isEstimate ? "about " : "") +
         runner::inThrees(figures.possible);
}

std::string otherOrders(const OrderFigures& figures) {
  return figures.otherOrder == 0
             ? ""
             : " (" + runner::inThrees(figures.otherOrder) + " in another permitted order)";
}

void add(OrderTotals::Kind& kind, const OrderFigures& figures) {
  kind.figures.possible += figures.possible;
  kind.figures.isEstimate = kind.figures.isEstimate || figures.isEstimate;
  kind.figures.lives += figures.lives;
  kind.figures.otherOrder += figures.otherOrder;
  kind.whole += figures.lives == figures.possible && !figures.isEstimate ? 1U : 0U;
}

}  // namespace

std::string lineOf(const OrderResult& result) {
  std::string line = result.scenario + ": " + std::to_string(result.calls) + " calls, " +
                     std::to_string(result.decisions) + " decisions";
  if (!result.refusal.empty()) {
    line += "; left out: " + result.refusal;
  }
  for (std::size_t i = 0; i < kOrderKinds; ++i) {
    const OrderFigures& figures = result.figures[i];
    if (figures.possible > 0) {
      line += std::string("; ") + kRows[i].name + " " + share(figures) + otherOrders(figures);
    }
  }
  return line + "; " + std::to_string(result.failed) + " failed";
}

OrderTotals totalsOf(const std::vector<OrderResult>& results) {
  OrderTotals totals;
  totals.scenarios = results.size();
  for (const OrderResult& result : results) {
    totals.failed += result.failed + (result.refusal.empty() ? 0U : 1U);
    for (std::size_t i = 0; i < kOrderKinds; ++i) {
      add(totals.kinds[i], result.figures[i]);
      totals.lives += result.figures[i].lives;
    }
    for (std::size_t i = 0; i < kProbes; ++i) {
      totals.probes[i] += result.probes[i];
    }
  }
  return totals;
}

std::string textOf(const OrderTotals& totals) {
  const std::string scenarios = std::to_string(totals.scenarios);
  std::string text;
  for (std::size_t i = 0; i < kOrderKinds; ++i) {
    const OrderTotals::Kind& kind = totals.kinds[i];
    text += std::string(kRows[i].name) + ": " + share(kind.figures) + otherOrders(kind.figures) +
            ", all in " + std::to_string(kind.whole) + " of " + scenarios + " scenarios\n";
  }
  return text + scenarios + " scenarios, " + std::to_string(totals.lives) + " lives, ";
}

std::vector<runner::Figure> figuresOf(const OrderTotals& totals) {
  std::vector<runner::Figure> figures;
  for (std::size_t i = 0; i < kOrderKinds; ++i) {
    const bool isDrawn = static_cast<OrderKind>(i) == OrderKind::kBySeed;
    const OrderFigures& kind = totals.kinds[i].figures;
    figures.push_back({kRows[i].figure, isDrawn ? runner::inThrees(kind.lives) : share(kind)});
  }
  figures.push_back({"schedules and places that failed", runner::inThrees(totals.failed)});
  return figures;
}

std::string textOf(const OrderBounds& bounds) {
  if (bounds.each != OrderBounds::kAll) {
    return " --budget " + std::to_string(bounds.each);
  }
  return bounds.pairs == OrderBounds::kAll ? "" : " --pairs " + std::to_string(bounds.pairs);
}

}  // namespace simulate
