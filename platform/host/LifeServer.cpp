#include "platform/host/LifeServer.h"

#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "platform/host/XmlLibrary.h"

namespace host {
namespace {

constexpr int kHarnessError = 71;
// On the clock on the wall, of a machine that may be busy.
constexpr int kLongestLifeMs = 60'000;

// The environment of a life refers to it for as long as the life lasts.
std::array<char, 65'536> theOrder;

// The order's size; 0 when nobody gives any more.
std::size_t receiveOrder() {
  ssize_t size = 0;
  do {
    size = recv(kLifeServerControl, theOrder.data(), theOrder.size(), 0);
  } while (size < 0 && errno == EINTR);
  return size > 0 ? static_cast<std::size_t>(size) : 0;
}

void takeEnvironment(std::size_t size) {
  for (std::size_t at = 0; at < size; at += std::strlen(&theOrder[at]) + 1) {
    putenv(&theOrder[at]);
  }
}

// Sees a life to its end. Whoever gave the order may go away meanwhile: then it is cut short.
ServedEnd watchOver(pid_t life) {
  ServedEnd end;
  const int descriptor = static_cast<int>(syscall(SYS_pidfd_open, life, 0));
  pollfd news[] = {{descriptor, POLLIN, 0}, {kLifeServerControl, POLLIN, 0}};
  end.tookTooLong = poll(news, 2, kLongestLifeMs) <= 0;
  close(descriptor);
  // The life and the programs that it started, before its number can name another group.
  kill(-life, SIGKILL);
  kill(life, SIGKILL);
  while (waitpid(life, &end.waitStatus, 0) < 0 && errno == EINTR) {
  }
  return end;
}

}  // namespace

void serveLives() {
  // Loaded once for all lives.
  XmlLibrary::instance();
  while (const std::size_t size = receiveOrder()) {
    const bool isEmptied =
        ftruncate(kLifeServerReport, 0) == 0 && lseek(kLifeServerReport, 0, SEEK_SET) == 0;
    const pid_t life = isEmptied ? fork() : -1;
    if (life < 0) {
      std::perror("no life can be forked");
      _exit(kHarnessError);
    }
    if (life == 0) {
      setpgid(0, 0);
      prctl(PR_SET_PDEATHSIG, SIGKILL);
      close(kLifeServerControl);
      takeEnvironment(size);
      return;
    }
    setpgid(life, life);
    const ServedEnd end = watchOver(life);
    if (send(kLifeServerControl, &end, sizeof end, MSG_NOSIGNAL) < 0) {
      break;
    }
  }
  _exit(0);
}

}  // namespace host
