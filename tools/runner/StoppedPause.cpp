#include "tools/runner/StoppedPause.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <string_view>

#include "platform/host/windows/Services.h"
#include "tools/runner/RunResult.h"

namespace runner {
namespace {

using host::Nanoseconds;

constexpr Nanoseconds kDay = Nanoseconds{86'400'000} * host::kNanosecondsPerMillisecond;

// "2026-01-02 03:04:05:006 ": where the numbers of the time begin, and what each counts.
struct Place {
  std::size_t at;
  std::size_t digits;
  Nanoseconds milliseconds;
};
constexpr Place kPlaces[] = {{11, 2, 3'600'000}, {14, 2, 60'000}, {17, 2, 1'000}, {20, 3, 1}};
constexpr std::size_t kStampSize = 24;

// After each of these nothing is left to do but to report STOPPED.
constexpr std::string_view kLastWords[] = {
    "Service stopped successfully",
    "Service stopped with error: ", "Unable to initialize service. ",
    "Exception occured in ServiceMain function "};

// The time of day of a log line's stamp; nothing for a line without one.
std::optional<Nanoseconds> timeOfDay(std::string_view line) {
  if (line.size() < kStampSize || line[kStampSize - 1] != ' ') {
    return std::nullopt;
  }
  Nanoseconds time = 0;
  for (const Place& place : kPlaces) {
    const char* const begin = line.data() + place.at;
    const char* const end = begin + place.digits;
    Nanoseconds number = 0;
    const auto [stopped, error] = std::from_chars(begin, end, number);
    if (error != std::errc{} || stopped != end) {
      return std::nullopt;
    }
    time += number * place.milliseconds * host::kNanosecondsPerMillisecond;
  }
  return time;
}

// How far the record's time is ahead of the line's stamp: the distance of the two clocks, which is
// the same for all lines of a day, and how late the line was told.
struct StampedLine {
  Nanoseconds stamp;
  Nanoseconds delay;
};

std::optional<StampedLine> stampedLine(const Record& record) {
  const auto time = timeOfDay(record.text);
  if (record.kind != host::ReportKind::kDebugLine || !time) {
    return std::nullopt;
  }
  return StampedLine{*time, record.at - *time};
}

bool isLastWord(std::string_view line) {
  return std::ranges::any_of(kLastWords, [&](std::string_view words) {
    return line.find(words) != std::string_view::npos;
  });
}

bool isStopped(const Record& record) {
  const auto status = parseStatus(record.text);
  return record.kind == host::ReportKind::kStatus && status && status->state == SERVICE_STOPPED;
}

}  // namespace

std::optional<Nanoseconds> shortestPauseAheadOfStopped(const std::vector<Record>& records) {
  std::optional<Nanoseconds> distance;
  for (const Record& record : records) {
    if (const auto line = stampedLine(record)) {
      distance = std::min(line->delay, distance.value_or(line->delay));
    }
  }
  std::optional<Nanoseconds> said;
  std::optional<Nanoseconds> shortest;
  for (const Record& record : records) {
    const auto line = stampedLine(record);
    if (line && isLastWord(record.text)) {
      said = line->stamp + *distance;
    } else if (said && isStopped(record)) {
      // Behind midnight stamps are a day less than the lines ahead of it would have them.
      const Nanoseconds pause = (record.at - *said) % kDay;
      shortest = std::min(pause, shortest.value_or(pause));
    }
  }
  return shortest;
}

}  // namespace runner
