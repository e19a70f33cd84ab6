#include "tools/runner/RecordReader.h"

#include <charconv>
#include <cstddef>

namespace runner {
namespace {

// "<kind> <nanoseconds> <length>": one letter and two numbers of 64 bits at most.
constexpr std::size_t kLongestHead = 48;
// Far above any line that a program logs; a greater length is garbage.
constexpr std::size_t kLongestText = std::size_t{1} << 24U;
constexpr std::size_t kShownBytes = 40;
constexpr std::string_view kKinds = "DNSCLTEHMOAP";

struct Head {
  host::ReportKind kind = host::ReportKind::kNote;
  host::Nanoseconds at = 0;
  std::size_t length = 0;
};

// Reads a number and what must follow it.
template <class Number>
bool takeNumber(std::string_view& text, Number& number, char end) {
  const auto [stopped, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || stopped == text.data() + text.size() || *stopped != end) {
    return false;
  }
  text.remove_prefix(static_cast<std::size_t>(stopped - text.data()) + 1);
  return true;
}

// `line` with its line end.
bool parseHead(std::string_view line, Head& head) {
  if (line.size() < 2 || kKinds.find(line[0]) == std::string_view::npos || line[1] != ' ') {
    return false;
  }
  head.kind = static_cast<host::ReportKind>(line[0]);
  line.remove_prefix(2);
  return takeNumber(line, head.at, ' ') && takeNumber(line, head.length, '\n') && line.empty() &&
         head.length <= kLongestText;
}

// The beginning of `bytes` with anything unprintable as a dot.
std::string shown(std::string_view bytes) {
  std::string text(bytes.substr(0, kShownBytes));
  for (char& character : text) {
    if (character < ' ' || character > '~') {
      character = '.';
    }
  }
  return text;
}

}  // namespace

RecordReader::Progress RecordReader::refuse(const std::string& reason) {
  fault_ = reason;
  return Progress::kFault;
}

RecordReader::Progress RecordReader::next(Record& record) {
  const std::string_view rest = std::string_view(pending_).substr(position_);
  const std::size_t lineEnd = rest.substr(0, kLongestHead).find('\n');
  if (lineEnd == std::string_view::npos) {
    return rest.size() < kLongestHead ? Progress::kIncomplete
                                      : refuse("no record begins with \"" + shown(rest) + "\"");
  }
  Head head;
  if (!parseHead(rest.substr(0, lineEnd + 1), head)) {
    return refuse("no record begins with \"" + shown(rest.substr(0, lineEnd)) + "\"");
  }
  const std::string_view body = rest.substr(lineEnd + 1);
  if (body.size() <= head.length) {
    return Progress::kIncomplete;
  }
  if (body[head.length] != '\n') {
    return refuse("a record is longer than it says: \"" + shown(body) + "\"");
  }
  record = {head.kind, head.at, std::string(body.substr(0, head.length))};
  position_ += lineEnd + 1 + head.length + 1;
  return Progress::kRecord;
}

bool RecordReader::feed(std::string_view bytes, const Taker& take) {
  if (ended_) {
    return false;
  }
  pending_.append(bytes);
  Record record;
  Progress progress = next(record);
  while (progress == Progress::kRecord && !ended_) {
    ended_ = !take(record);
    if (!ended_) {
      progress = next(record);
    }
  }
  ended_ = ended_ || progress == Progress::kFault;
  pending_.erase(0, position_);
  position_ = 0;
  return !ended_;
}

std::string RecordReader::fault() const {
  if (!fault_.empty() || ended_ || pending_.empty()) {
    return fault_;
  }
  return "a record breaks off: \"" + shown(pending_) + "\"";
}

}  // namespace runner
