#include "service/TPMEnrollmentProcessException.h"

#include <string>

#include "VUSL/Support/GetSystemErrorText.h"
#include "VUSL/Support/Text.h"

namespace TPMEnrollmentService {

TPMEnrollmentProcessException::TPMEnrollmentProcessException(const std::string& location,
                                                             DWORD code)
    : ExceptionStream<TPMEnrollmentProcessException, Exception>(location), errorCode(code) {
  // Deliberate: this replaces the location. Keeping it would change the lines that readers of the
  // log know.
  message = vusl::Narrow(L"Last error code: " + std::to_wstring(code) + L" : " +
                         GetSystemErrorText(code));
}

}  // namespace TPMEnrollmentService
