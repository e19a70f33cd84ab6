#pragma once

#include <cstdint>
#include <string_view>

#include "VUSL/Support/LogLevel.h"
#include "VUSL/Support/LogOutlet.h"

// An outlet that writes finished lines. `T` is the outlet's class.
template <class T>
class OutletBase : public LogOutlet {
 public:
  // The threshold of this type of outlet: items below it are dropped. Written only during the
  // set-up, before other threads log, and read without a lock.
  inline static int32_t level = LogLevel::kDebug;

  // Drops an item below the threshold; otherwise makes the line and hands it to `Dump`.
  void Log(const vusl::string_t& timestamp, const vusl::string_t& tag,
           const vusl::string_t& message, int itemLevel) override {
    if (itemLevel < level) return;
    const std::wstring_view levelTag = LogLevel::Tag(itemLevel);
    vusl::string_t line;
    // One request for the whole line, whose length is known.
    line.reserve(timestamp.size() + tag.size() + levelTag.size() + message.size());
    if (wantsPrefix()) {
      line += timestamp;
      line += tag;
    }
    line += levelTag;
    line += message;
    Dump(line);
  }

  // Writes one finished line, which has no line end yet.
  virtual void Dump(const vusl::string_t& message) = 0;
};
