#pragma once

#include <cstdint>

#include "client/talsStatus.h"

// The interface through which the enrollment loop runs commands of the client library.
//
// Used on the thread of the enrollment loop. Failures of the library come back as statuses; an
// exception that the library lets out passes through.
class ItalsClientCaller {
 public:
  // Runs `command` on the calling thread.
  //
  // `command`: 0 Init of both components, 1 Init of the first (method 1), 2 Init of the
  // second (method 2), 3 recertification of the endorsement key.
  // `reserved`: passed as 0; has no effect.
  // Returns the library's status; STATUS_ERROR for any other command.
  virtual talsStatus executeSync(std::uint32_t command, std::uint32_t reserved) = 0;

  // Sets the key type that command 3 works on.
  virtual void setKeyType(std::uint32_t type) = 0;

  virtual ~ItalsClientCaller() = default;
};
