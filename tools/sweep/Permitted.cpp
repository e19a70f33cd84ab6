#include "tools/sweep/Permitted.h"

#include <algorithm>
#include <vector>

#include "platform/host/Text.h"
#include "tools/sweep/PermittedRows.h"

namespace sweep {
namespace {

// A text without its placeholders for the error.
std::string withError(std::string_view text, DWORD error) {
  std::string filled(text);
  for (const auto& [mark, number] :
       {std::pair<std::string_view, std::string>("{}", std::to_string(error)),
        std::pair<std::string_view, std::string>("{x}", host::hexText(error).substr(2))}) {
    for (std::size_t at = 0; (at = filled.find(mark)) != std::string::npos;) {
      filled.replace(at, mark.size(), number);
    }
  }
  return filled;
}

}  // namespace

std::span<const Permission> permissions() {
  static const std::vector<Permission> all = [] {
    std::vector<Permission> rows;
    for (const std::span<const Permission> part :
         {rows::ofTheStart(), rows::ofTheStack(), rows::ofTheWork(), rows::ofTheTask(),
          rows::ofLettingGo()}) {
      rows.insert(rows.end(), part.begin(), part.end());
    }
    return rows;
  }();
  return all;
}

bool isAmong(std::string_view call, std::string_view calls) {
  if (calls.ends_with('*')) {
    calls.remove_suffix(1);
    return call.starts_with(calls);
  }
  return call == calls;
}

bool isAbout(const Permission& row, std::string_view call, host::Phase phase) {
  return isAmong(call, row.calls) && (row.phases & in(phase)) != 0;
}

bool permits(const Permission& row, Outcome outcome) {
  return (row.outcomes & (1U << static_cast<unsigned>(outcome))) != 0;
}

bool isToldBy(std::string_view line, std::string_view text, DWORD error) {
  std::string wanted = withError(text, error);
  wanted.resize(wanted.find_last_not_of(' ') + 1);  // as those of a line that ends there
  std::string_view left = wanted;
  const std::size_t star = left.find('*');
  if (!line.starts_with(left.substr(0, star))) {
    return false;
  }
  std::size_t at = std::min(star, left.size());
  while (left.find('*') != std::string_view::npos) {
    left.remove_prefix(left.find('*') + 1);
    const std::string_view piece = left.substr(0, left.find('*'));
    const std::size_t found = line.find(piece, at);
    if (found == std::string_view::npos) {
      return false;
    }
    at = found + piece.size();
  }
  return true;
}

}  // namespace sweep
