#include "service/TPMEnrollmentProcessException.h"

#include <sstream>

#include "VUSL/Support/GetSystemErrorText.h"
#include "VUSL/Support/Text.h"

namespace TPMEnrollmentService {

TPMEnrollmentProcessException::TPMEnrollmentProcessException(const std::string& location,
                                                             DWORD code)
    : ExceptionStream<TPMEnrollmentProcessException, Exception>(location), errorCode(code) {
  std::wostringstream text;
  text << L"Last error code: " << code << L" : " << GetSystemErrorText(code);
  // Deliberate: this replaces the location. Keeping it would change the lines that readers of the
  // log know.
  message = vusl::Narrow(text.str());
}

}  // namespace TPMEnrollmentService
