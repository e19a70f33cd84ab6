#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "platform/host/ServiceManager.h"
#include "tests/machine/MachineRun.h"
#include "tools/runner/ScenarioCatalog.h"

// The page about exit codes, held against what the scenarios expect. Of each table the first column
// is a code and the last names scenarios; where there are five, the third says what the log says.

namespace {

using Names = std::set<std::string>;

constexpr char kServiceTable[] = "## The service's exit code";
constexpr char kProcessTable[] = "## The process's exit code";
constexpr char kStateTable[] = "## Ended without STOPPED";

struct Row {
  int line;
  std::vector<std::string> cells;
};

std::vector<std::string> cellsOf(const std::string& line) {
  std::vector<std::string> cells;
  std::size_t begin = 2;
  for (std::size_t end = 0; (end = line.find(" |", begin)) != std::string::npos; begin = end + 3) {
    cells.push_back(line.substr(begin, end - begin));
  }
  return cells;
}

// What stands in backticks in a cell.
std::vector<std::string> quotedIn(const std::string& cell) {
  std::vector<std::string> quoted;
  for (std::size_t begin = 0; (begin = cell.find('`', begin)) != std::string::npos;) {
    const std::size_t end = cell.find('`', begin + 1);
    quoted.push_back(cell.substr(begin + 1, end - begin - 1));
    begin = end + 1;
  }
  return quoted;
}

std::vector<Row> rowsUnder(const std::string& heading) {
  std::vector<Row> rows;
  std::ifstream page(SOURCE_ROOT "/docs/exit-codes.md");
  int number = 0;
  bool isUnder = false;
  for (std::string line; std::getline(page, line);) {
    ++number;
    if (line.starts_with("## ")) {
      isUnder = line == heading;
    } else if (isUnder && line.starts_with("| `")) {
      rows.push_back({number, cellsOf(line)});
    }
  }
  EXPECT_FALSE(rows.empty()) << heading;
  return rows;
}

// The scenarios that the page names for each code.
std::map<std::string, Names> namedUnder(const std::string& heading) {
  std::map<std::string, Names> named;
  for (const Row& row : rowsUnder(heading)) {
    const std::vector<std::string> names = quotedIn(row.cells.back());
    EXPECT_FALSE(names.empty()) << "docs/exit-codes.md:" << row.line << ": no scenario shows it";
    named[quotedIn(row.cells.front()).at(0)].insert(names.begin(), names.end());
  }
  return named;
}

host::Scenario scenarioNamed(const std::string& name) {
  const auto loaded = runner::loadScenario(SOURCE_ROOT "/scenarios/" + name + ".scenario");
  if (const auto* wrong = std::get_if<std::string>(&loaded)) {
    ADD_FAILURE() << *wrong;
    return {};
  }
  return std::get<runner::LoadedScenario>(loaded).scenario;
}

// How the page writes the code with which the scenario's process ends.
std::string processCodeOf(const host::Scenario& scenario) {
  using Kind = host::ExpectedEnd::Kind;
  switch (scenario.end.kind) {
    case Kind::kExit:
      return std::to_string(scenario.end.exitCode);
    case Kind::kFault:
      return "0xC0000005";
    case Kind::kTerminate:
      return "3";
    case Kind::kEnded:
      return "any";
    case Kind::kRunning:
    case Kind::kDeadlock:
      break;
  }
  return "none";
}

std::string serviceCodeOf(const host::Scenario& scenario) {
  if (scenario.end.lastState != SERVICE_STOPPED) {
    return "";
  }
  return std::to_string(static_cast<std::int32_t>(scenario.end.lastExitCode.value_or(0)));
}

std::string stateWithoutStopped(const host::Scenario& scenario) {
  const auto& state = scenario.end.lastState;
  return !state || state == SERVICE_STOPPED ? "" : host::ServiceManager::stateName(*state);
}

// All scenarios by what `keyOf` says of them; those of which it says nothing are left out.
template <class KeyOf>
std::map<std::string, Names> scenariosBy(const KeyOf& keyOf) {
  std::map<std::string, Names> all;
  for (const std::string& name : scenarioNames()) {
    all[keyOf(scenarioNamed(name))].insert(name);
  }
  all.erase("");
  return all;
}

// Of the many that end well the page names some; of all others it names each.
void compareWithSuccessInPart(std::map<std::string, Names> expected,
                              std::map<std::string, Names> named) {
  EXPECT_TRUE(std::ranges::includes(expected["0"], named["0"]))
      << ::testing::PrintToString(named["0"]);
  EXPECT_GE(named["0"].size(), 1U);
  expected.erase("0");
  named.erase("0");
  EXPECT_EQ(named, expected);
}

std::vector<std::string> logLinesOf(const host::Scenario& scenario) {
  std::vector<std::string> lines;
  for (const std::string& line : scenario.expected.value_or(std::vector<std::string>{})) {
    if (line.starts_with("[")) {
      lines.push_back(line);
    }
  }
  return lines;
}

bool isIn(const std::vector<std::string>& lines, const std::string& text) {
  return std::ranges::any_of(
      lines, [&](const std::string& line) { return line.find(text) != std::string::npos; });
}

TEST(ExitCodesPageTest, ServiceExitCodesAreThoseOfTheScenarios) {
  compareWithSuccessInPart(scenariosBy(serviceCodeOf), namedUnder(kServiceTable));
}

TEST(ExitCodesPageTest, ProcessExitCodesAreThoseOfTheScenarios) {
  compareWithSuccessInPart(scenariosBy(processCodeOf), namedUnder(kProcessTable));
}

TEST(ExitCodesPageTest, StatesWithoutStoppedAreThoseOfTheScenarios) {
  EXPECT_EQ(namedUnder(kStateTable), scenariosBy(stateWithoutStopped));
}

// The first text of a row stands in the log of each of its scenarios, as its last line if the row
// says so; the other texts in that of one at least.
TEST(ExitCodesPageTest, LogSaysInEachScenarioWhatThePageSays) {
  int texts = 0;
  for (const char* heading : {kServiceTable, kProcessTable}) {
    for (const Row& row : rowsUnder(heading)) {
      SCOPED_TRACE("docs/exit-codes.md:" + std::to_string(row.line));
      ASSERT_EQ(row.cells.size(), 5U);
      const std::string& cell = row.cells[2];
      const std::vector<std::string> quoted = quotedIn(cell);
      std::set<std::string> unseen(quoted.begin(), quoted.end());
      for (const std::string& name : quotedIn(row.cells.back())) {
        std::vector<std::string> lines = logLinesOf(scenarioNamed(name));
        std::erase_if(unseen, [&](const std::string& text) { return isIn(lines, text); });
        if (cell == "nothing") {
          EXPECT_THAT(lines, ::testing::IsEmpty()) << name;
        }
        if (cell.find("is the last line") != std::string::npos && !lines.empty()) {
          lines = {lines.back()};
        }
        EXPECT_TRUE(quoted.empty() || isIn(lines, quoted.front())) << name;
      }
      EXPECT_THAT(unseen, ::testing::IsEmpty());
      texts += static_cast<int>(quoted.size());
    }
  }
  EXPECT_GE(texts, 20);
}

}  // namespace
