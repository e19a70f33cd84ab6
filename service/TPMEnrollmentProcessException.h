#pragma once

#include <string>

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/ExceptionStream.h"
#include "platform/win32.h"

namespace TPMEnrollmentService {

// A step of the enrollment's process failed in the platform. Thrown by value when the
// recertification program cannot be started; belongs to the thread that holds it.
class TPMEnrollmentProcessException
    : public ExceptionStream<TPMEnrollmentProcessException, Exception> {
 public:
  // `location` names the throwing function and `code` is the platform's error of the failed step.
  // The text becomes "Last error code: <code> : <the system's message>".
  TPMEnrollmentProcessException(const std::string& location, DWORD code);

  // The platform's error of the failed step, as GetLastError gave it.
  DWORD errorCode;
};

}  // namespace TPMEnrollmentService
