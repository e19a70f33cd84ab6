#pragma once

#include <string>
#include <utility>

#include "tests/unit/task/TaskRoads.h"

// How the tables of the roads are written. The result that failing calls give is 0x80070005.
namespace roads {

inline Texts operator+(Texts left, const Texts& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

inline std::vector<Step> operator+(std::vector<Step> left, const std::vector<Step>& right) {
  left.insert(left.end(), right.begin(), right.end());
  return left;
}

inline const std::string kFree = "SysFreeString";
inline const std::string kUninitialize = "CoUninitialize";
// What a failed step of a definition releases.
inline const Texts kCleanUp = {"Release ITaskFolder", "Release ITaskDefinition", kUninitialize};

inline std::string line(const std::string& text) {
  return "[DBG] [TPM] " + text;
}

// A release, a free, the closing of COM, or a line.
inline Step plain(std::string text) {
  return {std::move(text), Failure::kImpossible, {}, {}, {}};
}
inline Step logs(const std::string& text) {
  return plain(line(text));
}

inline Step goesOn(std::string text) {
  return {std::move(text), Failure::kGoesOn, {}, {}, {}};
}

// `ahead` comes between the call and the line, `behind` follows the line.
inline Step stops(std::string text, const Texts& ahead, const std::string& lead,
                  const Texts& behind, Texts left = {}) {
  return {std::move(text),
          Failure::kStops,
          ahead + Texts{line(lead + "80070005")} + behind,
          std::move(left),
          {}};
}

// A string for which there is no memory: the strings of the same call are freed, all that was taken
// before stays, and COM stays open.
inline Step allocates(const std::string& text, Texts left, Texts freed = {}) {
  return {"SysAllocString " + text, Failure::kThrows, std::move(freed), std::move(left), {}};
}

inline Step dies(std::string text, Texts after) {
  return {std::move(text), Failure::kDies, std::move(after), {}, {}};
}

// The way to the root folder, which all operations take.
std::vector<Step> opening();

// The three strings of a registration, and the registration: its clean-up is the one that closes
// COM although the caller does so too. `left` is what is held meanwhile, `behind` is what the
// caller does after a failure.
std::vector<Step> saving(const Texts& left, const Texts& behind);

}  // namespace roads
