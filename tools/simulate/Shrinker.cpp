#include "tools/simulate/Shrinker.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

namespace simulate {
namespace {

using Lines = std::vector<std::string>;

Lines linesOf(std::string_view text) {
  Lines lines;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    lines.emplace_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return lines;
}

std::string joined(const Lines& lines) {
  std::string text;
  for (const std::string& line : lines) {
    text += line + "\n";
  }
  return text;
}

class Shrinking {
 public:
  Shrinking(Lines lines, const std::function<bool(const std::string&)>& fails, unsigned mostTries)
      : lines_(std::move(lines)), fails_(fails), triesLeft_(mostTries) {}

  std::string result() {
    bool isShorter = true;
    while (isShorter && triesLeft_ > 0) {
      isShorter = leaveOutBlocks();
      isShorter = leaveOutLines() || isShorter;
      isShorter = simplifyLines() || isShorter;
    }
    return joined(lines_);
  }

 private:
  bool tryOut(const Lines& lines) {
    if (triesLeft_ == 0) {
      return false;
    }
    --triesLeft_;
    if (!fails_(joined(lines))) {
      return false;
    }
    lines_ = lines;
    return true;
  }

  // Without the lines from `begin` up to `end`.
  bool leaveOut(std::size_t begin, std::size_t end) {
    Lines fewer = lines_;
    fewer.erase(fewer.begin() + static_cast<std::ptrdiff_t>(begin),
                fewer.begin() + static_cast<std::ptrdiff_t>(end));
    return tryOut(fewer);
  }

  // From a line that begins something, a section or a life, up to the next such line.
  std::size_t endOfBlock(std::size_t begin, std::string_view mark) const {
    std::size_t end = begin + 1;
    while (end < lines_.size() && !lines_[end].starts_with(mark)) {
      ++end;
    }
    return end;
  }

  // Lives as a whole, which cannot go line by line: what must be there in one must be there in
  // each. Then sections as a whole.
  bool leaveOutBlocks() {
    bool anything = false;
    for (const std::string_view mark : {"[scenario]", "["}) {
      for (std::size_t at = 0; at < lines_.size();) {
        if (lines_[at].starts_with(mark) && leaveOut(at, endOfBlock(at, mark))) {
          anything = true;
        } else {
          ++at;
        }
      }
    }
    return anything;
  }

  // Halves first, then ever smaller pieces, down to single lines.
  bool leaveOutLines() {
    bool anything = false;
    for (std::size_t size = std::max<std::size_t>(lines_.size() / 2, 1); size > 0; size /= 2) {
      for (std::size_t at = 0; at < lines_.size();) {
        if (leaveOut(at, std::min(at + size, lines_.size()))) {
          anything = true;
        } else {
          at += size;
        }
      }
    }
    return anything;
  }

  bool replace(std::size_t number, const std::string& line) {
    if (line == lines_[number]) {
      return false;
    }
    Lines changed = lines_;
    changed[number] = line;
    return tryOut(changed);
  }

  bool simplifyLines() {
    bool anything = false;
    for (std::size_t i = 0; i < lines_.size(); ++i) {
      anything = dropDelay(i) || anything;
      anything = roundTime(i) || anything;
    }
    return anything;
  }

  // "0 after 7345 ms" becomes "0".
  bool dropDelay(std::size_t number) {
    const std::size_t after = lines_[number].find(" after ");
    return after != std::string::npos && replace(number, lines_[number].substr(0, after));
  }

  // "7345 ms" becomes the first of some plain times that will do.
  bool roundTime(std::size_t number) {
    constexpr std::array<std::string_view, 5> kPlain = {"1 s", "10 s", "1 min", "1 h", "3 h"};
    const std::string line = lines_[number];
    const std::size_t end = line.find(" ms");
    if (end == std::string::npos || end == 0) {
      return false;
    }
    const std::size_t before = line.find_last_not_of("0123456789", end - 1);
    const std::size_t begin = before == std::string::npos ? 0 : before + 1;
    return std::any_of(kPlain.begin(), kPlain.end(), [&](std::string_view plain) {
      return replace(number, line.substr(0, begin) + std::string(plain) + line.substr(end + 3));
    });
  }

  Lines lines_;
  const std::function<bool(const std::string&)>& fails_;
  unsigned triesLeft_;
};

}  // namespace

std::string shrunk(const std::string& text, const std::function<bool(const std::string&)>& fails,
                   unsigned mostTries) {
  return Shrinking(linesOf(text), fails, mostTries).result();
}

}  // namespace simulate
