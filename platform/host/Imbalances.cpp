#include "platform/host/Imbalances.h"

#include <algorithm>
#include <array>

#include "platform/host/Report.h"
#include "platform/host/Scenario.h"

namespace host {
namespace {

constexpr std::array kImbalances = {
    Imbalance{"null handle closed", "CloseHandle: null is no handle",
              "both event handles are closed at the end, opened or not"},
    Imbalance{"boundary kept", "boundary from CreateBoundaryDescriptorW is still open",
              "the boundary descriptor lives as long as the process"},
    Imbalance{"child kept", "process from CreateProcessW is still open",
              "the launch lets go of its child without closing its handles"},
    Imbalance{"child kept", "thread from CreateProcessW is still open",
              "the launch lets go of its child without closing its handles"},
    Imbalance{"language library kept", "module from LoadLibraryExW as data is still open",
              "language libraries stay loaded to the end of the process"},
    Imbalance{"unregistered provider let go", "EventUnregister: provider 0x0 is unknown",
              "the outlet lets go of its trace provider, registered or not"},
    Imbalance{"COM ended too often", "CoUninitialize: the thread has not begun COM",
              "the task steps end COM after a failure and so does who called them"},
    Imbalance{"released definition used",
              "ITaskDefinition::get_Settings: the ITaskDefinition was released before",
              "a failure to get the registration info counts as success"},
    Imbalance{"folder released twice", "IUnknown::Release: the ITaskFolder was released before",
              "a failure to get the registration info counts as success"},
    Imbalance{"definition released twice",
              "IUnknown::Release: the ITaskDefinition was released before",
              "a failure to get the registration info counts as success"},
    Imbalance{"settings kept", "reference from ITaskDefinition::get_Settings is still open",
              "an early return of the task's settings releases less than it took"},
};

const Imbalance* rowOf(std::string_view text) {
  const auto row = std::find_if(kImbalances.begin(), kImbalances.end(),
                                [&](const Imbalance& listed) { return listed.text == text; });
  return row == kImbalances.end() ? nullptr : &*row;
}

}  // namespace

std::span<const Imbalance> imbalances() {
  return kImbalances;
}

std::vector<std::string_view> imbalanceNames() {
  std::vector<std::string_view> names;
  for (const Imbalance& row : kImbalances) {
    if (std::find(names.begin(), names.end(), row.name) == names.end()) {
      names.push_back(row.name);
    }
  }
  return names;
}

std::vector<std::string> comparedLedger(const std::map<std::string, unsigned>& named,
                                        const std::vector<std::string>& lines) {
  std::map<std::string_view, unsigned> left;  // by text: how often it is still to come
  for (const Imbalance& row : kImbalances) {
    const auto found = named.find(std::string(row.name));
    left[row.text] = found == named.end() ? 0 : found->second;
  }
  std::vector<std::string> compared;
  for (const std::string& line : lines) {
    const Imbalance* const row = rowOf(line);
    if (row == nullptr || left[row->text] == 0) {
      compared.push_back("unnamed: " + line);
      continue;
    }
    --left[row->text];
    compared.push_back(std::string(kNamedImbalance) + line + " (" + std::string(row->reason) + ")");
  }
  for (const Imbalance& row : kImbalances) {
    for (; left[row.text] > 0; --left[row.text]) {
      compared.push_back("missing: " + std::string(row.text) + " (" + std::string(row.name) + ")");
    }
  }
  return compared;
}

void reportLedger(const Scenario& scenario, const std::vector<std::string>& lines) {
  for (const std::string& line : comparedLedger(scenario.imbalances, lines)) {
    Report::instance().record(ReportKind::kLedger, line);
  }
}

}  // namespace host
