#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace threads {

// What the thread sanitizer told once.
struct RaceReport {
  // The same for the same race, whichever life it is met in: "data race ServiceHost.cpp:147 in
  // ...".
  std::string summary;
  // All of it, without the lines that frame it.
  std::string text;
};

// The reports in what a life printed, in order. Empty only if the sanitizer said nothing there:
// words of its own that are no whole report are one too.
std::vector<RaceReport> raceReports(std::string_view printed);

}  // namespace threads
