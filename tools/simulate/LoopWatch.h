#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tools/simulate/Verdict.h"

namespace simulate {

// Follows the enrollment loop of one life through what it logs, and knows at each line what may
// come next. Lines of the control handler come in between and are told apart by their text.
class LoopWatch {
 public:
  // Both outlive the object.
  LoopWatch(const Life& life, Verdict& verdict);

  // A line of the log, without level, use case, address and method.
  void line(std::string_view text, host::Nanoseconds at);
  void programStarted();
  // The service manager took a stop; the control handler is to hand it on.
  void stopAccepted(host::Nanoseconds at);
  // The handler failed ahead of that.
  void stopGivenUp() { accepted_.reset(); }
  // The machine slept for so long: nobody could do anything meanwhile.
  void slept(host::Nanoseconds span);
  bool isWaiting() const { return place_ == Place::kWait; }
  bool isLooking() const { return place_ == Place::kLook; }

  // Whether anything of the loop was seen at all.
  bool hasBegun() const { return place_ != Place::kBefore; }
  bool hasClosed() const { return place_ == Place::kClosed; }
  bool hasOpenedEvent() const { return opened_; }
  bool hasStopEvent() const { return stopEventThere_; }
  bool allGoalsStand() const { return done_[1] && done_[2] && arranged_; }
  bool endedByStop() const { return byStop_; }
  bool hasStopCome() const { return stop_.has_value(); }
  // A call of the client library that was begun and has not come back.
  bool isInClient() const { return running_ != 0; }
  // The answer that the script of the client library gives to that call: "8 after 300 ms".
  std::string scriptedAnswer() const;
  // The life was cut short at this time: a stop must not have been waiting to be seen.
  void cutShort(host::Nanoseconds at);

 private:
  enum class Place { kBefore, kPass, kLook, kWait, kAfterWait, kClosed };
  struct Row {
    std::string_view text;
    void (LoopWatch::*take)(std::string_view rest);
  };
  static const Row kRows[];

  void stopEventMade(std::string_view rest);
  void loopBegins(std::string_view rest);
  void transactionBegins(std::string_view rest);
  void answered(std::string_view rest);
  void transactionFailed(std::string_view rest);
  void lookBegins(std::string_view rest);
  void tryFailed(std::string_view rest);
  void eventOpened(std::string_view rest);
  void eventNotThere(std::string_view rest);
  void taskArranged(std::string_view rest);
  void waitBegins(std::string_view rest);
  void waitIsOver(std::string_view rest);
  void stopSeen(std::string_view rest);
  void tpmEventSeen(std::string_view rest);
  void launched(std::string_view rest);
  void launchFailed(std::string_view rest);
  void closes(std::string_view rest);
  void stopComes(std::string_view rest);

  void expect(bool holds, const std::string& promise);
  void passBegins();
  void checkSeconds(unsigned seconds);
  void loseTheStopUnlessItMayBe(host::Nanoseconds at);
  void expectThatTheStopCame(host::Nanoseconds at);
  void expectNoLongerWait(host::Nanoseconds at);
  // How long what is under way may take that nobody waits for.
  std::int64_t marginMs() const;
  bool hasPendingStop() const { return stop_.has_value() && !stopTaken_; }

  const Life& life_;
  Verdict& verdict_;
  host::Nanoseconds at_ = 0;
  Place place_ = Place::kBefore;
  std::array<bool, 3> done_{};  // by method
  std::array<bool, 3> ran_{};   // in this pass
  std::array<std::size_t, 3> calls_{};
  unsigned running_ = 0;
  bool arranged_ = false;
  bool opened_ = false;
  bool looked_ = false;  // in this pass
  bool lookExhausted_ = false;
  unsigned triesLeft_ = 0;
  host::Nanoseconds waitBegan_ = 0;
  host::Nanoseconds sleptInWait_ = 0;  // if the wait's timeout goes on in a sleep
  std::int32_t waitMs_ = 0;
  unsigned passes_ = 0;
  bool stopEventThere_ = false;
  struct Stop {
    host::Nanoseconds at;
    bool beforeEvent;
    bool inClient;
  };
  std::optional<Stop> stop_;
  std::optional<host::Nanoseconds> accepted_;  // the first stop, and it has not come yet
  bool stopTaken_ = false;
  bool byStop_ = false;
  unsigned launches_ = 0;
  bool launchHasFailed_ = false;
};

}  // namespace simulate
