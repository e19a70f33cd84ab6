#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "VUSL/Support/LogOutlet.h"
#include "VUSL/Support/Text.h"

// Stamps each message with time and thread and delivers it to the attached outlets, in the order of
// their attachment. It takes no lock: outlets are attached and detached on the first thread while
// no other thread logs.
class LogSink {
 public:
  static constexpr int32_t kConsoleChannel = 0;
  static constexpr int32_t kOutletChannel = 1;

  // The one sink of the process. It stands from its first use, so from before any other object that
  // logs, and is never destroyed, because destructors of static objects log too.
  static LogSink& process();

  // `lineTag` stands in each line between the stamp and the level.
  explicit LogSink(const std::string& lineTag);

  LogSink(const LogSink&) = delete;
  LogSink& operator=(const LogSink&) = delete;

  // The same as `log(message, level, 1)`.
  virtual void log(const vusl::string_t& message, int level);

  // Delivers to the outlets attached with `channel`. Throws `AssertException` at one that is null,
  // after those before it have had the message; lets pass what an outlet throws.
  virtual void log(const vusl::string_t& message, int level, int32_t channel);

  virtual ~LogSink() = default;

  // Adds `outlet`, which stays the caller's and must be detached before it goes.
  void attach(LogOutlet* outlet, int32_t channel);

  // Removes every entry of `outlet`; does nothing if there is none.
  void detach(const LogOutlet* outlet);

  // Removes all outlets.
  void detachAll();

 private:
  struct Entry {
    int32_t channel;
    LogOutlet* outlet;
  };

  std::string tag;
  std::vector<Entry> outlets;
  vusl::string_t wideTag;  // what outlets are given, widened once
};
