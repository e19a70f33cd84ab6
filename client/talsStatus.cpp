#include "client/talsStatus.h"

#include <array>
#include <iomanip>
#include <sstream>

#include "VUSL/Support/LogItem.h"

namespace {

constexpr std::array<const char*, 24> kStatusTexts = {
    "STATUS_OK",
    "STATUS_UNKNOWN_PARAM",
    "STATUS_ERROR",
    "STATUS_INVALID_PARAM",
    "STATUS_MISSING_CONFIG",
    "STATUS_MISSING_FEI",
    "STATUS_UNKNOWN_PLATFORM",
    "STATUS_SERVICE_UNAVAILABLE",
    "STATUS_CONNECTION_ERROR",
    "STATUS_PENDING_TRANSACTION",
    "STATUS_EPID_GROUP_REVOKED",
    "STATUS_EPID_KEY_REVOKED",
    "STATUS_EPID_SIG_REVOKED",
    "STATUS_INVALID_CAID",
    "STATUS_INVALID_BUFFER_SIZE",
    "STATUS_IN_PROGRESS",
    "STATUS_NEED_EPID_REKEY",
    "STATUS_INVALID_MESSAGE",
    "STATUS_NEED_SUBSEQUENT_CALL",
    "STATUS_INVALID_SCP_VERSION",
    "STATUS_PROVISIONING_IN_PROGRESS",
    "STATUS_OAS_BROKER_STATUS_WAIT",
    "STATUS_FEI_COMMUNICATION_ERROR",
    "STATUS_NOT_SUPPORTED_PLATFORM",
};

constexpr char kNoTextForm[] = "string representation not defined for this value of ";

// The digits come from a stream of their own, so the destination's formatting flags neither affect
// them nor are changed by them.
std::string hexDigits(std::uint32_t value) {
  std::ostringstream digits;
  digits.imbue(std::locale::classic());
  digits << std::hex << std::setw(2) << std::setfill('0') << value;
  return digits.str();
}

// One unsigned comparison, so negative values are out of range too.
std::string textOf(std::uint32_t value) {
  if (value < kStatusTexts.size()) return kStatusTexts[value];
  return std::string(kNoTextForm) + TypeName<talsStatus>::text;
}

}  // namespace

std::ostream& operator<<(std::ostream& out, talsStatus status) {
  const auto value = static_cast<std::uint32_t>(status);
  const std::string form = "0x" + hexDigits(value) + " [" + textOf(value) + "]";
  // Unformatted, so that a width set on the destination is left alone as well.
  return out.write(form.data(), static_cast<std::streamsize>(form.size()));
}

LogItem& operator<<(LogItem& item, talsStatus status) {
  std::ostringstream text;
  text << status;
  return item << text.str();
}

LogItem& operator<<(LogItem&& item, talsStatus status) {
  return item << status;
}
