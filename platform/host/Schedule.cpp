#include "platform/host/Schedule.h"

#include <algorithm>
#include <charconv>

#include "platform/host/ThreadIds.h"

namespace host {
namespace {

// A life of the first boot's kind has about so many calls that can be met by a second thread.
constexpr std::uint32_t kCallsOfALife = 2'500;
constexpr std::uint32_t kHighestDrawnRank = 1'000'000;
constexpr std::uint32_t kMostThreads = 4;
constexpr std::uint32_t kLongestHoldUpMs = 60'000;
constexpr std::uint32_t kCallsBetweenStickyChoices = 64;

struct NamedKind {
  std::string_view name;
  Schedule::Kind kind;
};
constexpr NamedKind kKinds[] = {
    {"uniform", Schedule::Kind::kUniform},   {"sticky", Schedule::Kind::kSticky},
    {"priority", Schedule::Kind::kPriority}, {"starve", Schedule::Kind::kStarve},
    {"stall", Schedule::Kind::kStall},       {"list", Schedule::Kind::kList},
};

// "12:1 40:2"
bool readDeviations(std::string_view text, std::map<std::size_t, std::size_t>& deviations) {
  const char* at = text.data();
  const char* const end = at + text.size();
  while (at != end) {
    std::size_t decision = 0;
    std::size_t other = 0;
    const auto first = std::from_chars(at, end, decision);
    if (first.ec != std::errc{} || first.ptr == end || *first.ptr != ':') {
      return false;
    }
    const auto second = std::from_chars(first.ptr + 1, end, other);
    if (second.ec != std::errc{} || (second.ptr != end && *second.ptr != ' ')) {
      return false;
    }
    deviations[decision] = other;
    at = second.ptr == end ? end : second.ptr + 1;
  }
  return true;
}

}  // namespace

Schedule& Schedule::instance() {
  static auto* schedule = new Schedule;
  return *schedule;
}

bool Schedule::follow(std::string_view text, std::uint64_t seed) {
  *this = Schedule();
  const std::size_t blank = std::min(text.find(' '), text.size());
  const auto* named = std::find_if(std::begin(kKinds), std::end(kKinds), [&](const NamedKind& row) {
    return row.name == text.substr(0, blank);
  });
  if (named == std::end(kKinds)) {
    return false;
  }
  kind_ = named->kind;
  const std::string_view rest = text.substr(std::min(blank + 1, text.size()));
  if (kind_ == Kind::kList) {
    return readDeviations(rest, deviations_);
  }
  // Apart from the scheduler's own choices, which kUniform and kStall still draw.
  constexpr std::uint64_t kOtherStream = 0x5851F42D4C957F2DU;
  choices_ = Choices(seed == 0 ? 0 : seed ^ kOtherStream);
  lowest_ = kHighestDrawnRank;
  victim_ = choices_.pick(kMostThreads);
  const std::uint32_t changes = kind_ == Kind::kPriority ? 2 + choices_.pick(3)
                                : kind_ == Kind::kStall  ? 2
                                                         : 0;
  for (std::uint32_t i = 0; i < changes; ++i) {
    changes_.push_back(1 + choices_.pick(kCallsOfALife));
  }
  return rest.empty();
}

Nanoseconds Schedule::holdUp() {
  if (kind_ != Kind::kStall ||
      std::find(changes_.begin(), changes_.end(), ++calls_) == changes_.end()) {
    return 0;
  }
  return (1 + choices_.pick(kLongestHoldUpMs)) * kNanosecondsPerMillisecond;
}

std::uint32_t Schedule::rankOf(const Thread& thread) {
  const auto [entry, isNew] = ranks_.try_emplace(thread.id, 0);
  if (isNew) {
    entry->second = kHighestDrawnRank + choices_.pick(kHighestDrawnRank);
  }
  return entry->second;
}

Thread* Schedule::highest(std::span<Thread* const> able) {
  Thread* best = able.front();
  for (Thread* thread : able) {
    if (rankOf(*thread) > rankOf(*best)) {
      best = thread;
    }
  }
  return best;
}

Thread* Schedule::anyButTheVictim(std::span<Thread* const> able, Thread* self) {
  const std::uint32_t victim = kFirstThreadId + kThreadIdStep * victim_;
  std::vector<Thread*> others;
  for (Thread* thread : able) {
    if (thread->id != victim) {
      others.push_back(thread);
    }
  }
  if (others.empty()) {
    return able.front();
  }
  const bool mayStay = std::find(others.begin(), others.end(), self) != others.end();
  if (mayStay && choices_.pick(kCallsBetweenStickyChoices) != 0) {
    return self;
  }
  return others[choices_.pick(static_cast<std::uint32_t>(others.size()))];
}

Thread* Schedule::decide(std::span<Thread* const> able, std::size_t plain) {
  if (able.size() < 2 || decisions_.size() >= kMostDecisions) {
    return able[plain];
  }
  const auto deviation = deviations_.find(decisions_.size());
  decisions_.push_back(static_cast<std::uint8_t>(able.size()));
  if (deviation == deviations_.end() || deviation->second >= able.size()) {
    return able[plain];
  }
  // 0 is the plain one, the others follow in the order of their making.
  const std::size_t wanted = deviation->second;
  return able[wanted == 0 ? plain : wanted <= plain ? wanted - 1 : wanted];
}

Thread* Schedule::atCall(std::span<Thread* const> able, Thread& self) {
  const auto place = std::find(able.begin(), able.end(), &self);
  const bool mayStay = place != able.end();
  switch (kind_) {
    case Kind::kList:
      return decide(able, mayStay ? static_cast<std::size_t>(place - able.begin()) : 0);
    case Kind::kPriority:
      if (std::find(changes_.begin(), changes_.end(), ++calls_) != changes_.end()) {
        ranks_[self.id] = --lowest_;
      }
      return highest(able);
    case Kind::kStarve:
      return anyButTheVictim(able, mayStay ? &self : nullptr);
    case Kind::kSticky:
      if (mayStay && choices_.pick(kCallsBetweenStickyChoices) != kCallsBetweenStickyChoices - 1) {
        return &self;
      }
      break;
    case Kind::kUniform:
    case Kind::kStall:
      break;
  }
  return able[choices_.pick(static_cast<std::uint32_t>(able.size()))];
}

Thread* Schedule::atWait(std::span<Thread* const> able) {
  switch (kind_) {
    case Kind::kList:
      return decide(able, 0);
    case Kind::kPriority:
      return highest(able);
    case Kind::kStarve:
      return anyButTheVictim(able, nullptr);
    case Kind::kUniform:
    case Kind::kSticky:
    case Kind::kStall:
      break;
  }
  return able[choices_.pick(static_cast<std::uint32_t>(able.size()))];
}

std::string Schedule::decisions() const {
  std::string text;
  for (const std::uint8_t count : decisions_) {
    text += (text.empty() ? "" : " ") + std::to_string(count);
  }
  return text;
}

}  // namespace host
