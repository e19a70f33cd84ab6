#pragma once

#include "VUSL/Support/Text.h"

// A place where log lines go. Outlets are owned by whoever attaches them to the `LogSink`. They are
// called on every thread that logs and guard themselves where they must.
class LogOutlet {
 public:
  LogOutlet() = default;
  LogOutlet(const LogOutlet&) = delete;
  LogOutlet& operator=(const LogOutlet&) = delete;
  virtual ~LogOutlet() = default;

  // Takes one message. `timestamp` and `tag` end in a blank; `level` is one of LogLevel.
  virtual void Log(const vusl::string_t& timestamp, const vusl::string_t& tag,
                   const vusl::string_t& message, int level) = 0;

  // Whether a line begins with the timestamp and the tag.
  virtual bool wantsPrefix() { return true; }

  // Makes the outlet ready to write, for those that hold something open.
  virtual void reopen() {}
};
