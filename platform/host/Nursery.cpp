#include "platform/host/Nursery.h"

#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <string_view>

#include "platform/host/Call.h"
#include "platform/host/CallNames.h"
#include "platform/host/CallWatch.h"
#include "platform/host/Machine.h"
#include "platform/host/Report.h"
#include "platform/host/ThreadIds.h"
#include "platform/host/XmlLibrary.h"

namespace host {
namespace {

constexpr int kReportDescriptor = 3;
constexpr int kHarnessError = 71;
// On the clock on the wall, of a machine that may be busy.
constexpr int kLongestLifeMs = 60'000;

// More than any scenario makes without a wait; a scenario's own limit, if it has one, is lower.
constexpr unsigned kEndlessLoopCalls = 150'000;

LifeWatch* theWatch = nullptr;
LifeOrder theOrder;
std::string_view theCall;
unsigned theCallsSeen = 0;
bool theProductIsEntered = false;

[[noreturn]] void giveUp(const char* what) {
  std::perror(what);
  _exit(kHarnessError);
}

Phase phaseNow() {
  const auto& statuses = machine().services.statuses;
  if (statuses.empty()) {
    return theProductIsEntered ? Phase::kEntering : Phase::kLoading;
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

void look(std::string_view call) {
  if (theWatch->isTraced && theWatch->count < LifeWatch::kMostCalls) {
    const std::uint32_t id = Scheduler::isKnown() ? Scheduler::current().id : kFirstThreadId;
    theWatch->calls[theWatch->count] = {
        placeOf(call), phaseNow(),
        static_cast<std::uint8_t>((id - kFirstThreadId) / kThreadIdStep)};
  }
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

bool receive(LifeOrder& order) {
  ssize_t size = 0;
  do {
    size = recv(kNurseryControl, &order, sizeof order, 0);
  } while (size < 0 && errno == EINTR);
  return size == static_cast<ssize_t>(sizeof order);
}

// Sees a life to its end. Whoever gave the order may go away meanwhile: then it is cut short.
LifeEnding watchOver(pid_t life) {
  LifeEnding ending;
  const int descriptor = static_cast<int>(syscall(SYS_pidfd_open, life, 0));
  pollfd news[] = {{descriptor, POLLIN, 0}, {kNurseryControl, POLLIN, 0}};
  ending.tookTooLong = poll(news, 2, kLongestLifeMs) <= 0;
  close(descriptor);
  // The life and the programs that it started, before its number can name another group.
  kill(-life, SIGKILL);
  kill(life, SIGKILL);
  while (waitpid(life, &ending.waitStatus, 0) < 0 && errno == EINTR) {
  }
  return ending;
}

void beginLife() {
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  close(kNurseryControl);
}

}  // namespace

LifeOrder raiseLife() {
  void* const shared =
      mmap(nullptr, sizeof(LifeWatch), PROT_READ | PROT_WRITE, MAP_SHARED, kNurseryWatch, 0);
  if (shared == MAP_FAILED) {
    giveUp("the watch cannot be mapped");
  }
  close(kNurseryWatch);
  theWatch = static_cast<LifeWatch*>(shared);
  // Loaded once for all lives.
  XmlLibrary::instance();
  LifeOrder order;
  while (receive(order)) {
    if (ftruncate(kReportDescriptor, 0) != 0 || lseek(kReportDescriptor, 0, SEEK_SET) != 0) {
      giveUp("the report cannot be emptied");
    }
    const pid_t life = fork();
    if (life < 0) {
      giveUp("no life can be forked");
    }
    if (life == 0) {
      beginLife();
      return order;
    }
    setpgid(life, life);
    const LifeEnding ending = watchOver(life);
    if (send(kNurseryControl, &ending, sizeof ending, MSG_NOSIGNAL) < 0) {
      break;
    }
  }
  _exit(0);
}

void beginWatchedLife(const LifeOrder& order) {
  theOrder = order;
  theCall = callsThatCanFail()[order.call];
  theWatch->isTraced = !order.isFaulted;
  theWatch->struck = false;
  theWatch->callsAfterStrike = 0;
  theWatch->count = 0;
  watchCalls(look);
  // A scenario that is required to spin until something happens may wait for that in vain.
  Scheduler::instance().setEndlessLoopHandler(kEndlessLoopCalls,
                                              [] { Report::instance().endNow("endless"); });
  if (!order.isFaulted) {
    return;
  }
  if (order.lasting) {
    Faults::instance().failFrom(std::string(theCall), order.error, order.nth);
  } else {
    Faults::instance().failOnce(std::string(theCall), order.error, order.nth);
  }
}

void enterProduct() {
  theProductIsEntered = true;
}

}  // namespace host
