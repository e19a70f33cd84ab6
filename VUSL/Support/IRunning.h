#pragma once

namespace vusl {

// Something whose being at work can be asked about from another thread.
class IRunning {
 public:
  // Returns whether the work is in progress at this moment.
  virtual bool IsRunning() const = 0;

  virtual ~IRunning() = default;

 protected:
  IRunning() = default;
  IRunning(const IRunning&) = default;
  IRunning& operator=(const IRunning&) = default;
};

}  // namespace vusl
