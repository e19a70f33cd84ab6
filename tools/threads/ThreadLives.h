#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "tools/runner/ScenarioRun.h"

namespace threads {

struct ThreadLivesOptions {
  std::vector<std::string> scenarios;  // names; all short ones of the catalog if empty
  unsigned seeds = 5;                  // orders of turns of each scenario
  bool sideBySide = true;              // and a life whose threads really run side by side
  unsigned jobs = 1;                   // lives in virtual time that happen at once
  runner::Programs programs;           // of a build with the thread sanitizer
  int interrupt = -1;                  // gives everything up when it becomes readable; not owned
  // Told of each life that is over, by one thread at a time: how many are, and of how many.
  std::function<void(std::size_t done, std::size_t all)> onLife = {};
};

// Something that was found, and where.
struct Finding {
  std::string text;                // of the first time
  std::vector<std::string> lives;  // "first-boot, seed 3", "first-boot, side by side"
};

struct ThreadLivesResult {
  std::size_t scenarios = 0;
  std::size_t inTurns = 0;     // lives
  std::size_t sideBySide = 0;  // lives
  // By what it is in a few words: reports of the sanitizer, and lives that came to no end of their
  // own.
  std::map<std::string, Finding> found;
};

// Lets the service live through the scenarios under the thread sanitizer and gathers what that
// says. Whether a life goes as its scenario says is not looked at: other tests ask that, and in
// other orders of the threads it may go otherwise. Gives why not, if lives could not be had. Blocks
// the calling thread.
std::variant<ThreadLivesResult, std::string> liveUnderThreadSanitizer(
    const ThreadLivesOptions& options);

}  // namespace threads
