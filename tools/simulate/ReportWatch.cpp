#include "tools/simulate/ReportWatch.h"

#include "platform/host/windows/windows.h"

namespace simulate {
namespace {

constexpr std::uint32_t kWaitHintMs = 5000;

}  // namespace

// Both threads fill in one record with no lock. Who fills it in while the other's report is on its
// way changes what that report tells: the same is told twice, and what was to be told is lost. Once
// a stop may come, that is the one report of STOPPED.
bool ReportWatch::isOvertaken(const runner::Status& status) const {
  // The handler of a first stop may have told STOPPED in place of what it filled in, and then that
  // of a second one overtakes the service's own report.
  const unsigned mostStopped = stops_ > 1 ? 1 : 0;
  return hasStopBeenRequested() && !overtaken_ && stopped_ <= mostStopped && last_ &&
         last_->state == status.state && last_->checkPoint == status.checkPoint;
}

void ReportWatch::pending(const runner::Status& status) {
  if (isOvertaken(status)) {
    overtaken_ = true;
    verdict_.hit(Probe::kReportOvertaken);
    return;
  }
  if (status.checkPoint <= checkPoint_) {
    verdict_.breaks("the check-point did not rise: " + std::to_string(status.checkPoint) +
                    " after " + std::to_string(checkPoint_));
  }
  checkPoint_ = status.checkPoint;
}

void ReportWatch::status(const runner::Status& status) {
  if (status.waitHintMs != kWaitHintMs) {
    verdict_.breaks("a wait hint of " + std::to_string(status.waitHintMs) + " ms");
  }
  if ((status.controlsAccepted == 0) != (status.state == SERVICE_START_PENDING)) {
    verdict_.breaks("a stop is accepted exactly while the service does not start");
  }
  switch (status.state) {
    case SERVICE_START_PENDING:
      if (last_) {
        verdict_.breaks("START_PENDING was not the first report");
      }
      pending(status);
      break;
    case SERVICE_RUNNING:
      if (!last_ || last_->state != SERVICE_START_PENDING) {
        verdict_.breaks("RUNNING was not reported after START_PENDING");
      }
      running_ = true;
      break;
    case SERVICE_STOP_PENDING:
      if (!running_ || !hasStopBeenRequested()) {
        verdict_.breaks("STOP_PENDING was reported without a stop");
      }
      pending(status);
      if (stopped_ > 0) {
        verdict_.hit(Probe::kStopPendingAfterStopped);
      }
      break;
    case SERVICE_STOPPED:
      ++stopped_;
      if (overtaken_ && !failed_) {
        verdict_.breaks("the check-point did not rise: " + std::to_string(checkPoint_) +
                        " was told twice");
      }
      if (stopped_ > 1) {
        verdict_.hit(Probe::kStoppedTwice);
        // Once by each thread, and only while there is a handler.
        if (!hasStopBeenRequested() || stopped_ > 2) {
          verdict_.breaks("STOPPED was reported too often");
        }
      }
      break;
    default:
      verdict_.breaks("a state that there is not: " + std::to_string(status.state));
      break;
  }
  last_ = status;
}

}  // namespace simulate
