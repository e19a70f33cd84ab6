#include "tools/sweep/Cells.h"

#include <algorithm>
#include <array>

#include "platform/host/CallNames.h"
#include "platform/host/FaultTable.h"
#include "tools/sweep/ProductCalls.h"

namespace sweep {
namespace {

constexpr std::array<std::string_view, host::kPhases> kPhaseTexts = {
    "loading", "entering", "dropping", "starting", "running", "stopping", "stopped",
};

void addCells(const host::FaultRow& row, std::span<const DWORD> errors, bool isDone,
              std::set<Cell>& cells) {
  for (const DWORD error : errors) {
    for (std::size_t i = 0; i < host::kPhases; ++i) {
      for (const bool lasting : {false, true}) {
        cells.insert({row.call, error, isDone, static_cast<host::Phase>(i), lasting});
      }
    }
  }
}

bool isAbout(const NotTried& row, const Cell& cell) {
  return isAmong(cell.call, row.calls) && (row.phases & in(cell.phase)) != 0 &&
         (row.times == Times::kAny || (row.times == Times::kFromThenOn) == cell.lasting);
}

std::string textOf(const Cell& cell) {
  return std::string(cell.call) + (cell.lasting ? ", from then on, with " : ", once, with ") +
         std::to_string(cell.error) + (cell.isDone ? " after its work, " : ", ") +
         std::string(phaseText(cell.phase));
}

}  // namespace

std::set<Cell> allCells(const std::filesystem::path& root) {
  const std::set<std::string_view> made = productCalls(root, host::callsThatCanFail());
  std::set<Cell> cells;
  for (const host::FaultRow& row : host::faultTable()) {
    if (made.contains(row.call)) {
      addCells(row, row.errors, false, cells);
      addCells(row, row.errorsWhenDone, true, cells);
    }
  }
  return cells;
}

Untried untriedCells(const std::set<Cell>& all, const std::set<Cell>& tried) {
  Untried untried;
  for (const Cell& cell : all) {
    const auto rows = notTried();
    const auto row = std::find_if(rows.begin(), rows.end(),
                                  [&](const NotTried& each) { return isAbout(each, cell); });
    if (tried.contains(cell) != (row == rows.end())) {
      untried.findings.push_back(textOf(cell) + (row == rows.end()
                                                     ? ": not tried, and nothing says why"
                                                     : ": tried, and was not to come"));
    } else if (row != rows.end()) {
      untried.byReason[row->why][cell.call] |= in(cell.phase);
      ++untried.cells[row->why];
    }
  }
  return untried;
}

std::string_view phaseText(host::Phase phase) {
  return kPhaseTexts[static_cast<std::size_t>(phase)];
}

}  // namespace sweep
