#include "platform/host/Report.h"

#include <signal.h>
#include <unistd.h>

#include <cstdio>

#include "platform/host/Call.h"
#include "platform/host/CallNames.h"
#include "platform/host/Races.h"
#include "platform/host/Schedule.h"

namespace host {
namespace {

constexpr std::size_t kMostGathered = 16'384;

}  // namespace

Report& Report::instance() {
  static auto* report = new Report;
  return *report;
}

void Report::open(int descriptor, bool together) {
  descriptor_ = descriptor;
  together_ = together;
  if (!together) {
    return;
  }
  // The signal's own effect follows: the handler is gone by the time that it returns.
  struct sigaction action = {};
  action.sa_handler = [](int) {
    Report& report = Report::instance();
    report.flush();  // first, in case that nothing more comes of it
    report.recordOrder();
    report.flush();
  };
  action.sa_flags = static_cast<int>(SA_RESETHAND);
  for (const int signal : {SIGSEGV, SIGBUS, SIGILL, SIGFPE, SIGABRT}) {
    sigaction(signal, &action, nullptr);
  }
}

void Report::record(ReportKind kind, std::string_view text) {
  if (descriptor_ < 0) {
    return;
  }
  const Scheduler::Guard guard;
  char head[64];
  const int length =
      std::snprintf(head, sizeof head, "%c %lld %zu\n", static_cast<char>(kind),
                    static_cast<long long>(Scheduler::instance().now()), text.size());
  gathered_.append(head, static_cast<std::size_t>(length));
  gathered_.append(text);
  gathered_ += '\n';
  if (!together_ || gathered_.size() > kMostGathered) {
    flush();
  }
}

void Report::flush() {
  std::string_view left = gathered_;
  while (!left.empty()) {
    const ssize_t written = write(descriptor_, left.data(), left.size());
    if (written <= 0) {
      break;  // nobody reads any more: the run tool has gone, and there is nobody to tell
    }
    left.remove_prefix(static_cast<std::size_t>(written));
  }
  gathered_.clear();
}

void Report::recordOrder() {
  const Schedule& schedule = Schedule::instance();
  if (schedule.kind() != Schedule::Kind::kList) {
    return;
  }
  std::string calls;
  for (const std::string_view name : platformCalls()) {
    if (const std::size_t count = Journal::instance().count(name); count > 0) {
      calls += std::string(name) + " " + std::to_string(count) + "\n";
    }
  }
  record(ReportKind::kDecisions, schedule.decisions());
  record(ReportKind::kCalls, calls);
}

void Report::endNow(std::string_view how) {
  recordOrder();
  record(ReportKind::kEnd, how);
  flush();
  races::lookAgainAtEnd();
  _exit(0);
}

}  // namespace host
