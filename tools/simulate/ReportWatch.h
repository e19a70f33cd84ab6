#pragma once

#include "tools/runner/RunResult.h"
#include "tools/simulate/Verdict.h"

namespace simulate {

// Follows what one life reports to the service manager.
class ReportWatch {
 public:
  // Outlives the object.
  explicit ReportWatch(Verdict& verdict) : verdict_(verdict) {}

  void stopRequested() { ++stops_; }
  // A report of the service's thread seemed to fail: that of the failure follows it, also where the
  // manager took the first one.
  void reportFailed() { failed_ = true; }
  void status(const runner::Status& status);

  bool hasStarted() const { return last_.has_value(); }
  // STOPPED was reported, or would have been if a report on its way had not been overtaken.
  bool isStopped() const { return stopped_ > 0 || overtaken_; }
  bool hasStopBeenRequested() const { return stops_ > 0; }

 private:
  bool isOvertaken(const runner::Status& status) const;
  void pending(const runner::Status& status);

  Verdict& verdict_;
  std::optional<runner::Status> last_;
  std::uint32_t checkPoint_ = 0;
  unsigned stopped_ = 0;
  bool running_ = false;
  bool overtaken_ = false;
  bool failed_ = false;
  unsigned stops_ = 0;
};

}  // namespace simulate
