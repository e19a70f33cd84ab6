#include "platform/host/ForkedLives.h"

#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "platform/host/XmlLibrary.h"

namespace host {
namespace {

constexpr int kHarnessError = 71;
// On the clock on the wall, of a machine that may be busy.
constexpr int kLongestLifeMs = 60'000;

[[noreturn]] void giveUp(const char* what) {
  std::perror(what);
  _exit(kHarnessError);
}

// The order's size; 0 when nobody gives any more.
std::size_t receive(std::span<char> order) {
  ssize_t size = 0;
  do {
    size = recv(kLifeOrders, order.data(), order.size(), 0);
  } while (size < 0 && errno == EINTR);
  return size > 0 ? static_cast<std::size_t>(size) : 0;
}

void emptyReport() {
  if (ftruncate(kLifeReport, 0) != 0 || lseek(kLifeReport, 0, SEEK_SET) != 0) {
    giveUp("the report cannot be emptied");
  }
}

// Sees a life to its end. Whoever gave the order may go away meanwhile: then it is cut short.
LifeEnding watchOver(pid_t life) {
  LifeEnding ending;
  const int descriptor = static_cast<int>(syscall(SYS_pidfd_open, life, 0));
  pollfd news[] = {{descriptor, POLLIN, 0}, {kLifeOrders, POLLIN, 0}};
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
  close(kLifeOrders);
}

}  // namespace

std::size_t raiseLife(std::span<char> order) {
  // Loaded once for all lives.
  XmlLibrary::instance();
  while (const std::size_t size = receive(order)) {
    emptyReport();
    const pid_t life = fork();
    if (life < 0) {
      giveUp("no life can be forked");
    }
    if (life == 0) {
      beginLife();
      return size;
    }
    setpgid(life, life);
    const LifeEnding ending = watchOver(life);
    if (send(kLifeOrders, &ending, sizeof ending, MSG_NOSIGNAL) < 0) {
      break;
    }
  }
  _exit(0);
}

}  // namespace host
