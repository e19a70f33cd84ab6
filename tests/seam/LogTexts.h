#pragma once

#include <compare>
#include <set>
#include <string>

#include "tests/seam/SourceTree.h"

namespace seam {

// A text that the product can log. What only a run can tell, such as a number, shows as "…".
struct LogText {
  std::string level;  // "DEBUG", "INFO", "ERROR" or "FATAL"
  std::string text;   // behind the use-case prefix
  auto operator<=>(const LogText& other) const = default;
};

// All texts that the sources hand to the log. A statement that makes an item and shows no text of
// its own counts as an empty text, so that a new way of logging is noticed.
std::set<LogText> loggedTexts(const SourceTree& product);

// The rows "| level | `text` | meaning |" of a page's tables; others are passed over. Throws
// std::runtime_error for a row without a meaning and for one that stands twice.
std::set<LogText> tabledTexts(const std::string& page);

}  // namespace seam
