#include <string>

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/LogTag.h"
#include "VUSL/Support/Text.h"
#include "client/HKeyContainer.h"
#include "platform/win32.h"
#include "service/TPMEnrollment.h"
#include "service/TPMEnrollmentProcessException.h"

namespace TPMEnrollmentService {

namespace {

constexpr char kMethod[] = "RunVTMEKRecertification";
// The file's name has a small k in "Ek"; the messages write "EK".
constexpr char kProgram[] = "\\OrvixVTMEkRecertification.exe";

}  // namespace

static_assert(sizeof(STARTUPINFOW) == 104);

STARTUPINFOW TPMEnrollment::s_startupInfo = {};
PROCESS_INFORMATION TPMEnrollment::s_processInfo = {};

void TPMEnrollment::RunVTMEKRecertification() {
  const HKeyContainer stack(1);
  std::string path;
  if (HKeyContainer::GetValueString(stack.key(), kInstallDirValue, path) != ERROR_SUCCESS) {
    // Deliberate: the words stand as the exception's location, so a colon follows them in the log.
    throw Exception(kCannotReadInstallDir);
  }
  // The directory is used as it stands, and whether the program is there the start finds out.
  path += kProgram;

  // Deliberate: the two handles that an earlier launch left here are not closed. The program is
  // not watched, and a second launch while the first still runs loses them.
  s_processInfo = {};
  s_startupInfo = {};
  s_startupInfo.cb = sizeof(s_startupInfo);
  if (!CreateProcessW(vusl::Widen(path).c_str(), nullptr, nullptr, nullptr, FALSE, 0, nullptr,
                      nullptr, &s_startupInfo, &s_processInfo)) {
    LogItem().error() << LogTag(this, kMethod)
                      << "Cannot run OrvixVTMEKRecertification.exe process.";
    // Read after the line is written, so a log outlet that sets the last error shows here.
    throw TPMEnrollmentProcessException(
        "TPMEnrollmentService::TPMEnrollment::RunVTMEKRecertification", GetLastError());
  }
  LogItem().info() << LogTag(this, kMethod) << "OrvixVTMEKRecertification has been started.";
}

}  // namespace TPMEnrollmentService
