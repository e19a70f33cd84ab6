#pragma once

#include <string>
#include <variant>
#include <vector>

#include "platform/host/TraceSessions.h"

namespace host {

// A self-describing event as somebody reads it who knows nothing of the program that wrote it.
struct DecodedEvent {
  struct Field {
    std::string name;
    UCHAR type = 0;  // 1 for UTF-16, 2 for narrow text
    std::u16string text;
    bool operator==(const Field&) const = default;
  };
  std::string provider;
  std::string name;
  std::vector<Field> fields;
};

// What makes an event unreadable.
struct TraceFault {
  std::string reason;
};

// Reads provider, event and fields out of the bytes of an event. Every byte must have a meaning:
// lengths that are not those of their blocks, texts without an end and bytes left over are faults.
std::variant<DecodedEvent, TraceFault> decode(const TraceEvent& event);

// The event in one line, for people: `TPMEnrollmentService Log, level 4, logLevel "INF", Message
// "[TPM] Started.\r\n"`. Control characters are shown as escapes. An event that cannot be read says
// so, with the reason.
std::string describe(const TraceEvent& event);

}  // namespace host
