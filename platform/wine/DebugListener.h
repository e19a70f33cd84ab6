#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>

#include "platform/win32.h"

namespace wine {

// Listens to the debug output of all processes, as monitors do. Whoever writes a line waits until
// the one before it was taken, so `onLine` sees the writer not more than a line ahead.
class DebugListener {
 public:
  // `onLine` gets each line in UTF-8 and its writer's process id, on the listener's own thread.
  // Throws `std::runtime_error` if somebody listens already.
  explicit DebugListener(std::function<void(const std::string&, DWORD)> onLine);

  // Takes what is still there, then ends.
  ~DebugListener();

  DebugListener(const DebugListener&) = delete;
  DebugListener& operator=(const DebugListener&) = delete;

 private:
  void listen();

  std::function<void(const std::string&, DWORD)> onLine_;
  HANDLE section_ = nullptr;
  HANDLE isFree_ = nullptr;
  HANDLE isFilled_ = nullptr;
  const char* buffer_ = nullptr;
  std::atomic<bool> ends_{false};
  std::thread thread_;
};

}  // namespace wine
