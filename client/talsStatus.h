#pragma once

#include <cstdint>
#include <ostream>

#include "VUSL/Support/TypeName.h"

class LogItem;

// Result codes of the closed client library, as its entry points return them.
//
// The enumeration is complete from 0 to 23, but a library may answer with any 32-bit value: the
// fixed underlying type makes every one of them a valid talsStatus.
//
// Within this program three values have a meaning: STATUS_OK is what the library answers on
// success, STATUS_ERROR is also made here for unknown commands, and STATUS_CONNECTION_ERROR is the
// one result that makes the enrollment loop try again.
enum talsStatus : std::int32_t {
  STATUS_OK = 0,
  STATUS_UNKNOWN_PARAM = 1,
  STATUS_ERROR = 2,
  STATUS_INVALID_PARAM = 3,
  STATUS_MISSING_CONFIG = 4,
  STATUS_MISSING_FEI = 5,
  STATUS_UNKNOWN_PLATFORM = 6,
  STATUS_SERVICE_UNAVAILABLE = 7,
  STATUS_CONNECTION_ERROR = 8,
  STATUS_PENDING_TRANSACTION = 9,
  STATUS_EPID_GROUP_REVOKED = 10,
  STATUS_EPID_KEY_REVOKED = 11,
  STATUS_EPID_SIG_REVOKED = 12,
  STATUS_INVALID_CAID = 13,
  STATUS_INVALID_BUFFER_SIZE = 14,
  STATUS_IN_PROGRESS = 15,
  STATUS_NEED_EPID_REKEY = 16,
  STATUS_INVALID_MESSAGE = 17,
  STATUS_NEED_SUBSEQUENT_CALL = 18,
  STATUS_INVALID_SCP_VERSION = 19,
  STATUS_PROVISIONING_IN_PROGRESS = 20,
  STATUS_OAS_BROKER_STATUS_WAIT = 21,
  STATUS_FEI_COMMUNICATION_ERROR = 22,
  STATUS_NOT_SUPPORTED_PLATFORM = 23,
};

template <>
struct TypeName<talsStatus> {
  static constexpr const char* text = "enum talsStatus";
};

// Writes the text form of `status`, such as "0x08 [STATUS_CONNECTION_ERROR]". A value outside the
// enumeration gets "0x" with its digits and a fallback text; a negative one shows its 32-bit two's
// complement. The formatting flags of `out` are neither used nor changed.
std::ostream& operator<<(std::ostream& out, talsStatus status);

// Appends the same text to a log item as one piece. The item's level and number base are neither
// read nor changed: the status always shows in hexadecimal.
LogItem& operator<<(LogItem& item, talsStatus status);

// The same for an item that is still a temporary. Without it the status would bind to the item's
// own insertion of an int and show as a bare number.
LogItem& operator<<(LogItem&& item, talsStatus status);
