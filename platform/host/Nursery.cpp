#include "platform/host/Nursery.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdio>
#include <map>
#include <string_view>

#include "platform/host/Bootstrap.h"
#include "platform/host/Call.h"
#include "platform/host/CallNames.h"
#include "platform/host/CallWatch.h"
#include "platform/host/ForkedLives.h"
#include "platform/host/Machine.h"
#include "platform/host/Report.h"
#include "platform/host/Scenario.h"
#include "platform/host/ThreadIds.h"

namespace host {
namespace {

constexpr int kHarnessError = 71;

// Seven calls of a thread tell a place: there are less than 512 names.
constexpr unsigned kBitsOfACall = 9;

// More than any scenario makes without a wait; a scenario's own limit, if it has one, is lower.
constexpr unsigned kEndlessLoopCalls = 150'000;

LifeWatch* theWatch = nullptr;
LifeOrder theOrder;
std::string_view theCall;
unsigned theCallsSeen = 0;
// How often the calls of the scenario's own faults came.
std::array<unsigned, LifeWatch::kMostOwnFaults> theOwnCallsSeen;
bool theProductIsEntered = false;
bool theTokenIsAskedFor = false;  // and the dispatcher has not been entered

[[noreturn]] void giveUp(const char* what) {
  std::perror(what);
  _exit(kHarnessError);
}

Phase phaseNow() {
  const auto& statuses = machine().services.statuses;
  if (statuses.empty()) {
    return !theProductIsEntered ? Phase::kLoading
           : theTokenIsAskedFor ? Phase::kDropping
                                : Phase::kEntering;
  }
  switch (statuses.back().dwCurrentState) {
    case SERVICE_START_PENDING:
      return Phase::kStarting;
    case SERVICE_RUNNING:
      return Phase::kRunning;
    case SERVICE_STOP_PENDING:
      return Phase::kStopping;
    default:
      return Phase::kStopped;
  }
}

std::uint16_t placeOf(std::string_view call) {
  const auto calls = callsThatCanFail();
  for (std::size_t i = 0; i < calls.size(); ++i) {
    if (calls[i] == call) {
      return static_cast<std::uint16_t>(i);
    }
  }
  giveUp("a call without a name");
}

// What a thread called last. Made when it is first asked for: a life begins ahead of all static
// objects.
std::uint64_t& placeOfThread(std::uint32_t thread) {
  static auto* places = new std::map<std::uint32_t, std::uint64_t>;
  return (*places)[thread];
}

std::uint32_t threadNow() {
  return Scheduler::isKnown() ? Scheduler::current().id : kFirstThreadId;
}

// The scenario's own faults, if it has any: where they strike.
void lookForOwnFaults(std::string_view call) {
  const std::vector<InjectedFault>& faults = lifeScenario()->faults;
  if (faults.empty()) {
    return;
  }
  std::uint64_t& place = placeOfThread(threadNow());
  for (std::size_t i = 0; i < std::min(faults.size(), theOwnCallsSeen.size()); ++i) {
    if (faults[i].call != call) {
      continue;
    }
    const unsigned nth = ++theOwnCallsSeen[i];
    if (nth == faults[i].nth || (faults[i].lasting && nth > faults[i].nth)) {
      OwnStrike& strike = theWatch->own[i];
      strike.place = strike.phases == 0 ? place + threadNow() : strike.place;
      strike.phases |= static_cast<std::uint8_t>(1U << static_cast<unsigned>(phaseNow()));
    }
  }
  place = (place << kBitsOfACall) + placeOf(call);
}

void look(std::string_view call) {
  theTokenIsAskedFor =
      call == "OpenProcessToken" || (theTokenIsAskedFor && call != "StartServiceCtrlDispatcherW");
  if (theWatch->isTraced && theWatch->count < LifeWatch::kMostCalls) {
    theWatch->calls[theWatch->count] = {
        placeOf(call), phaseNow(),
        static_cast<std::uint8_t>((threadNow() - kFirstThreadId) / kThreadIdStep)};
  }
  lookForOwnFaults(call);
  ++theWatch->count;
  if (!theOrder.isFaulted || call != theCall) {
    return;
  }
  ++theCallsSeen;
  if (theCallsSeen == theOrder.nth) {
    theWatch->struck = true;
    theWatch->phaseAtStrike = phaseNow();
  } else if (theCallsSeen > theOrder.nth) {
    ++theWatch->callsAfterStrike;
  }
}

}  // namespace

LifeOrder raiseWatchedLife() {
  void* const shared =
      mmap(nullptr, sizeof(LifeWatch), PROT_READ | PROT_WRITE, MAP_SHARED, kNurseryWatch, 0);
  if (shared == MAP_FAILED) {
    giveUp("the watch cannot be mapped");
  }
  close(kNurseryWatch);
  theWatch = static_cast<LifeWatch*>(shared);
  std::array<char, sizeof(LifeOrder)> message{};
  if (raiseLife(message) != message.size()) {
    giveUp("an order of another size");
  }
  return std::bit_cast<LifeOrder>(message);
}

void beginWatchedLife(const LifeOrder& order) {
  theOrder = order;
  theCall = callsThatCanFail()[order.call];
  theWatch->isTraced = !order.isFaulted;
  theWatch->struck = false;
  theWatch->callsAfterStrike = 0;
  std::fill(std::begin(theWatch->own), std::end(theWatch->own), OwnStrike{});
  if (lifeScenario()->faults.size() > LifeWatch::kMostOwnFaults) {
    giveUp("a scenario with more faults of its own than can be watched");
  }
  theWatch->count = 0;
  watchCalls(look);
  // A scenario that is required to spin until something happens may wait for that in vain.
  Scheduler::instance().setEndlessLoopHandler(kEndlessLoopCalls,
                                              [] { Report::instance().endNow("endless"); });
  if (!order.isFaulted) {
    return;
  }
  const Deed deed = order.isDone ? Deed::kDone : Deed::kUndone;
  if (order.lasting) {
    Faults::instance().failFrom(std::string(theCall), order.error, order.nth, deed);
  } else {
    Faults::instance().failOnce(std::string(theCall), order.error, order.nth, deed);
  }
}

void enterProduct() {
  theProductIsEntered = true;
}

bool isProductEntered() {
  return theProductIsEntered;
}

}  // namespace host
