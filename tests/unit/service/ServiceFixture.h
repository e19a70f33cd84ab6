#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "VUSL/Support/LogOutlet.h"
#include "VUSL/Support/LogSink.h"
#include "platform/win32.h"
#include "service/TPMEnrollment.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/MachineTest.h"

class talsClientCaller;

namespace TPMEnrollmentService {

// The tests' window on the private members of TPMEnrollment.
class TPMEnrollmentPeer {
 public:
  static bool initialized(const TPMEnrollment& enrollment) { return enrollment.m_initialized; }
  static bool running(const TPMEnrollment& enrollment) { return enrollment.m_running; }
  static std::int32_t retries(const TPMEnrollment& enrollment) {
    return enrollment.m_eventOpenRetries;
  }
  static std::uint32_t retryDelayMs(const TPMEnrollment& enrollment) {
    return enrollment.m_eventRetryDelayMs;
  }
  static void setRetries(TPMEnrollment& enrollment, std::int32_t retries) {
    enrollment.m_eventOpenRetries = retries;
  }
  static bool runInit(TPMEnrollment& enrollment, talsClientCaller& caller, std::uint32_t method) {
    return enrollment.RunInitTransaction(caller, method);
  }
  static void setRetryDelayMs(TPMEnrollment& enrollment, std::uint32_t milliseconds) {
    enrollment.m_eventRetryDelayMs = milliseconds;
  }
  // Where the fields stand in the object, in the order of their declaration.
  static std::vector<const void*> places(const TPMEnrollment& enrollment) {
    return {&enrollment.m_initialized, &enrollment.m_running, &enrollment.m_runningLock,
            &enrollment.m_eventOpenRetries, &enrollment.m_eventRetryDelayMs};
  }
  static std::uint32_t createStopEvent(TPMEnrollment& enrollment) {
    return enrollment.CreateStopEvent();
  }

  static std::int32_t waitTimeoutMs() { return TPMEnrollment::s_waitTimeoutMs; }
  static void setWaitTimeoutMs(std::int32_t milliseconds) {
    TPMEnrollment::s_waitTimeoutMs = milliseconds;
  }
  static HANDLE eventHandle(std::size_t index) { return TPMEnrollment::s_eventHandles[index]; }
  static void setEventHandle(std::size_t index, HANDLE handle) {
    TPMEnrollment::s_eventHandles[index] = handle;
  }
  static HANDLE boundaryDescriptor() { return TPMEnrollment::s_boundaryDescriptor; }
  static HANDLE privateNamespace() { return TPMEnrollment::s_privateNamespace; }
  static const STARTUPINFOW& startupInfo() { return TPMEnrollment::s_startupInfo; }
  static const PROCESS_INFORMATION& processInfo() { return TPMEnrollment::s_processInfo; }
  static STARTUPINFOW& changeStartupInfo() { return TPMEnrollment::s_startupInfo; }

  // The process-wide members as a fresh process has them.
  static void forgetProcess();
};

}  // namespace TPMEnrollmentService

// What is written to a wide stream while the object lives.
class WideCapture {
 public:
  explicit WideCapture(std::wostream& stream) : stream_(stream), old_(stream.rdbuf(&buffer_)) {}
  ~WideCapture() { stream_.rdbuf(old_); }
  WideCapture(const WideCapture&) = delete;
  WideCapture& operator=(const WideCapture&) = delete;

  std::wstring text() const { return buffer_.str(); }

 private:
  std::wostream& stream_;
  std::wstringbuf buffer_;
  std::wstreambuf* old_;
};

// Attached to the log while it lives, it leaves `error` as the last error of whoever logs.
class LastErrorOutlet : private LogOutlet {
 public:
  explicit LastErrorOutlet(DWORD error) : error_(error) {
    LogSink::process().attach(this, LogSink::kOutletChannel);
  }
  ~LastErrorOutlet() override { LogSink::process().detach(this); }

 private:
  void Log(const vusl::string_t&, const vusl::string_t&, const vusl::string_t&, int) override {
    host::setLastError(error_);
  }

  DWORD error_;
};

// A machine, a process in which nothing has happened yet, and a record of the log.
class ServiceTest : public host::MachineTest {
 protected:
  using Texts = std::vector<std::string>;
  using Peer = TPMEnrollmentService::TPMEnrollmentPeer;

  ServiceTest() { Peer::forgetProcess(); }
  ~ServiceTest() override { Peer::forgetProcess(); }

  // The client stack in C:\Orvix\bin, with its libraries. `script` is what the client library
  // answers; nothing but successes if it is empty.
  static void installClient(const std::string& script = "");

  // The service's configuration file in the stack's directory.
  static void writeConfiguration(const std::string& content);

  // The log's lines with every object's address left out, from the one that ends in `first` on.
  Texts linesFrom(const std::string& first) const;

  LogRecorder log;
};
