#pragma once

#include <functional>
#include <utility>

#include "platform/win32.h"

namespace contract {

// A second thread, made and awaited by the platform's own calls; awaited at the latest when it goes
// out of scope.
class OtherThread {
 public:
  explicit OtherThread(std::function<void()> body)
      : body_(std::move(body)), handle_(CreateThread(nullptr, 0, enter, this, 0, nullptr)) {}
  ~OtherThread() {
    join();
    CloseHandle(handle_);
  }
  OtherThread(const OtherThread&) = delete;
  OtherThread& operator=(const OtherThread&) = delete;

  void join() { WaitForSingleObject(handle_, INFINITE); }

 private:
  static DWORD WINAPI enter(LPVOID self) {
    static_cast<OtherThread*>(self)->body_();
    return 0;
  }

  std::function<void()> body_;
  HANDLE handle_;
};

}  // namespace contract
