#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/machine/CheckerProcess.h"
#include "tests/machine/TemporaryFolder.h"

// The examples of the page about the configuration are run. A block "conf" is a file, by default
// the service's own; a block "console" is what a person types, behind "$ ", and what then shows.

namespace {

constexpr char kDefaultName[] = "TPMEnrollmentService.conf";

struct Block {
  std::string info;  // behind the opening fence
  std::string text;
  int line = 0;
};

std::vector<Block> blocksOf(std::istream& page) {
  std::vector<Block> blocks;
  bool inside = false;
  int number = 0;
  for (std::string line; std::getline(page, line);) {
    ++number;
    if (!line.starts_with("```")) {
      if (inside) {
        blocks.back().text += line + "\n";
      }
    } else if (inside) {
      inside = false;
    } else {
      blocks.push_back({line.substr(3), "", number});
      inside = true;
    }
  }
  EXPECT_FALSE(inside) << "the last block has no end";
  return blocks;
}

// What is typed, as a script, and what then shows.
std::pair<std::string, std::string> takenApart(const std::string& console) {
  std::string script;
  std::string shown;
  std::istringstream lines(console);
  for (std::string line; std::getline(lines, line);) {
    (line.starts_with("$ ") ? script : shown) +=
        (line.starts_with("$ ") ? line.substr(2) : line) + "\n";
  }
  return {script, shown};
}

TEST(ConfigurationPageTest, ExamplesShowWhatTheCheckerSays) {
  std::ifstream page(SOURCE_ROOT "/docs/configuration.md");
  int examples = 0;
  auto folder = std::make_unique<TemporaryFolder>();
  std::string waiting;  // a file that no example has used yet
  for (const Block& block : blocksOf(page)) {
    if (block.info.starts_with("conf")) {
      const std::string name = block.info == "conf" ? kDefaultName : block.info.substr(5);
      std::ofstream(folder->path() / name) << block.text;
      waiting = name;
    } else if (block.info == "console") {
      const auto [script, shown] = takenApart(block.text);
      const CheckerRun run = runCheckerScript(folder->path(), script);
      EXPECT_EQ(run.out, shown) << "docs/configuration.md:" << block.line << "\n" << run.err;
      ++examples;
      waiting.clear();
      folder = std::make_unique<TemporaryFolder>();
    }
  }
  EXPECT_EQ(waiting, "") << "this file is checked by no example";
  EXPECT_GE(examples, 6);
}

}  // namespace
