#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host/Choices.h"
#include "platform/host/Scheduler.h"

namespace host {

// Who gets the turn in virtual time, where more than one could have it.
//
// Random times hardly ever make two threads collide, and one way of drawing turns finds one kind of
// collision. So there are several ways, and one in which every turn that passes is told beforehand.
class Schedule {
 public:
  enum class Kind {
    kUniform,   // now and then the turn passes to anybody; with seed 0 only when its owner waits
    kSticky,    // the same, eight times more seldom
    kPriority,  // the thread of the highest rank runs; now and then it falls to the lowest
    kStarve,    // one thread runs only when nobody else can
    kStall,     // as kUniform; twice the thread that runs is held up for up to a minute
    kList,      // as told: a list of deviations from the plain run
  };

  // With kList: decisions after these are not counted, and nothing deviates there.
  static constexpr std::size_t kMostDecisions = 20'000;

  static Schedule& instance();

  // "uniform", "sticky", "priority", "starve", "stall", or "list" with deviations behind it, each a
  // decision's number and who gets the turn there in place of the first: "list 12:1 40:2". False
  // for anything else.
  bool follow(std::string_view text, std::uint64_t seed);

  Kind kind() const { return kind_; }

  // At a platform call of `self`: how long it is held up, nearly always 0.
  Nanoseconds holdUp();

  // At a platform call of `self`, which may go on, or must not if it had the turn for too long:
  // who gets the turn. The threads are in the order of their making.
  Thread* atCall(std::span<Thread* const> able, Thread& self);

  // The thread that had the turn waits or has ended: who gets it.
  Thread* atWait(std::span<Thread* const> able);

  // With kList: how many threads could have had the turn at each decision so far, in order,
  // separated by blanks. A decision is where there was more than one.
  std::string decisions() const;

 private:
  Thread* decide(std::span<Thread* const> able, std::size_t plain);
  Thread* highest(std::span<Thread* const> able);
  Thread* anyButTheVictim(std::span<Thread* const> able, Thread* self);
  std::uint32_t rankOf(const Thread& thread);

  Kind kind_ = Kind::kUniform;
  Choices choices_{0};
  std::uint64_t calls_ = 0;
  std::vector<std::uint64_t> changes_;  // calls at which something happens, with some kinds
  std::map<std::uint32_t, std::uint32_t> ranks_;  // by the thread's id
  std::uint32_t lowest_ = 0;
  std::uint32_t victim_ = 0;  // place in the order of making
  std::map<std::size_t, std::size_t> deviations_;
  std::vector<std::uint8_t> decisions_;
};

}  // namespace host
