#include "tools/runner/LifeProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>

#include "tools/runner/LifeSurroundings.h"

namespace runner {
namespace {

constexpr std::size_t kMostStrayBytes = std::size_t{1} << 20U;

struct Pipe {
  Descriptor readEnd;
  Descriptor writeEnd;
};

bool makePipe(Pipe& made) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) {
    return false;
  }
  made.readEnd = movedUp(ends[0]);
  made.writeEnd = movedUp(ends[1]);
  return made.readEnd.isOpen() && made.writeEnd.isOpen() &&
         fcntl(made.readEnd.get(), F_SETFL, O_NONBLOCK) == 0;
}

// Reads what there is. The piece is empty at the end of the pipe, or if nothing is there yet:
// `ended` tells which.
std::string_view readPiece(int descriptor, std::array<char, 65536>& buffer, bool& ended) {
  ssize_t size = 0;
  do {
    size = read(descriptor, buffer.data(), buffer.size());
  } while (size < 0 && errno == EINTR);
  ended = size == 0 || (size < 0 && errno != EAGAIN);
  return {buffer.data(), size > 0 ? static_cast<std::size_t>(size) : 0};
}

}  // namespace

std::variant<RunResult, std::string> LifeProcess::run(const LifeOptions& options) {
  LifeProcess life(options);
  std::string refusal = life.start();
  if (!refusal.empty()) {
    return refusal;
  }
  life.listen();
  return std::move(life.result_);
}

LifeProcess::~LifeProcess() {
  if (process_ > 0) {
    killAll();
    waitpid(process_, nullptr, 0);
  }
}

std::string LifeProcess::start() {
  Pipe report;
  Pipe stray;
  if (!makePipe(report) || !makePipe(stray)) {
    return systemText("no pipe for the life's report");
  }
  deadline_ = std::chrono::steady_clock::now() + options_.bound;
  std::string refusal = spawn(report.writeEnd.get(), stray.writeEnd.get());
  if (!refusal.empty()) {
    return refusal;
  }
  processEnd_ = Descriptor(static_cast<int>(syscall(SYS_pidfd_open, process_, 0)));
  if (!processEnd_.isOpen()) {
    return systemText("the life cannot be watched");
  }
  report_ = std::move(report.readEnd);
  stray_ = std::move(stray.readEnd);
  return {};
}

std::string LifeProcess::spawn(int reportEnd, int strayEnd) {
  const OwnSignals signals;
  const auto started = startProgram({options_.program,
                                     options_.arguments,
                                     options_.environment,
                                     reportEnd,
                                     strayEnd,
                                     {},
                                     signals.get()});
  if (const auto* refusal = std::get_if<std::string>(&started)) {
    return *refusal;
  }
  process_ = std::get<StartedProgram>(started).process;
  result_.addressesFixed = std::get<StartedProgram>(started).addressesFixed;
  return {};
}

void LifeProcess::listen() {
  bool hasExited = false;
  while (!hasExited && waitForNews(hasExited)) {
  }
  // Before the process is reaped its number cannot name another one's group.
  killAll();
  int waitStatus = 0;
  while (waitpid(process_, &waitStatus, 0) < 0 && errno == EINTR) {
  }
  process_ = -1;
  if (!givenUp_) {
    readReport();
  }
  readStray();
  decideEnd(waitStatus);
}

// One look at everything that may have news. False if the run has been given up.
bool LifeProcess::waitForNews(bool& hasExited) {
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(deadline_ - std::chrono::steady_clock::now());
  if (left.count() <= 0) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(options_.bound);
    return giveUp(End::kKilled, "it took more than " + std::to_string(seconds.count()) + " s");
  }
  std::array<pollfd, 4> news{pollfd{report_.get(), POLLIN, 0}, pollfd{stray_.get(), POLLIN, 0},
                             pollfd{processEnd_.get(), POLLIN, 0},
                             pollfd{options_.interrupt, POLLIN, 0}};
  const auto waitMs =
      static_cast<int>(std::min<std::chrono::milliseconds::rep>(left.count(), INT_MAX));
  if (poll(news.data(), news.size(), waitMs) < 0 && errno != EINTR) {
    return giveUp(End::kLost, systemText("nothing can be heard of it"));
  }
  if (news[3].revents != 0) {
    return giveUp(End::kInterrupted, "");
  }
  if (news[0].revents != 0) {
    readReport();
  }
  if (news[1].revents != 0) {
    readStray();
  }
  hasExited = news[2].revents != 0;
  return !givenUp_;
}

void LifeProcess::readReport() {
  const auto take = [this](const Record& record) {
    addRecord(result_, record);
    endTold_ = endTold_ || record.kind == host::ReportKind::kEnd;
    return !options_.onRecord || options_.onRecord(record);
  };
  std::array<char, 65536> buffer;
  while (report_.isOpen()) {
    bool ended = false;
    const std::string_view piece = readPiece(report_.get(), buffer, ended);
    if (ended) {
      report_.reset();
    }
    if (piece.empty()) {
      return;
    }
    if (!reader_.feed(piece, take)) {
      report_.reset();
      const std::string fault = reader_.fault();
      giveUp(fault.empty() ? End::kInterrupted : End::kLost, fault);
    }
  }
}

void LifeProcess::readStray() {
  std::array<char, 65536> buffer;
  while (stray_.isOpen()) {
    bool ended = false;
    const std::string_view piece = readPiece(stray_.get(), buffer, ended);
    result_.strayOutput.append(
        piece.substr(0, kMostStrayBytes - std::min(kMostStrayBytes, result_.strayOutput.size())));
    if (ended) {
      stray_.reset();
    }
    if (piece.empty()) {
      return;
    }
  }
}

bool LifeProcess::giveUp(End end, const std::string& detail) {
  if (!givenUp_) {
    result_.end = end;
    result_.detail = detail;
    givenUp_ = true;
  }
  return false;
}

void LifeProcess::killAll() const {
  kill(-process_, SIGKILL);
}

void LifeProcess::decideEnd(int waitStatus) {
  if (!givenUp_) {
    runner::decideEnd(result_, waitStatus, endTold_, reader_.fault());
  }
}

}  // namespace runner
