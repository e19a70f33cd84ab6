#pragma once

#include <mutex>
#include <string>
#include <vector>

#include "VUSL/Support/LogOutlet.h"

// Records what the process logs, at every level and whatever the thresholds of the product's
// outlets are. Attached to channel 1 of the process's sink from construction to destruction.
// Threads of the test may log while another reads the texts; construction and destruction are for
// times when no other thread logs.
class LogRecorder : private LogOutlet {
 public:
  LogRecorder();
  ~LogRecorder() override;

  // The messages so far, oldest first: the level's tag, then the message, narrowed. For example
  // "[DBG] [TPM] Stopping service...".
  std::vector<std::string> texts() const;

  // The same with every "[0x<hexadecimal digits>]" replaced by "[0x]".
  std::vector<std::string> withoutAddresses() const;

  // Whether one of the messages has `text` in it, as a whole or as a part.
  bool contains(const std::string& text) const;

  // Forgets the messages so far.
  void clear();

 private:
  void Log(const vusl::string_t& timestamp, const vusl::string_t& tag,
           const vusl::string_t& message, int level) override;

  mutable std::mutex guard;
  std::vector<std::string> recorded;
};
