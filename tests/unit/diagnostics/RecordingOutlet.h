#pragma once

#include <functional>
#include <string>
#include <vector>

#include "VUSL/Support/LogOutlet.h"
#include "VUSL/Support/LogSink.h"

// Keeps everything that a sink hands to an outlet.
class RecordingOutlet : public LogOutlet {
 public:
  struct Message {
    std::wstring timestamp;
    std::wstring tag;
    std::wstring text;
    int level;
  };

  void Log(const vusl::string_t& timestamp, const vusl::string_t& tag,
           const vusl::string_t& message, int level) override {
    messages.push_back({timestamp, tag, message, level});
    if (onLog) onLog();
  }

  std::vector<Message> messages;
  std::function<void()> onLog;
};

// Attaches an outlet to the process's sink for the length of a scope.
class AttachedOutlet {
 public:
  AttachedOutlet(LogOutlet& attached, int channel) : outlet(attached) {
    LogSink::process().attach(&outlet, channel);
  }
  ~AttachedOutlet() { LogSink::process().detach(&outlet); }
  AttachedOutlet(const AttachedOutlet&) = delete;
  AttachedOutlet& operator=(const AttachedOutlet&) = delete;

 private:
  LogOutlet& outlet;
};
