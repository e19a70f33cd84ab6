#pragma once

#include <cstdint>

#include "VUSL/Support/Text.h"

// Hears of a file outlet's runs of failures, on the thread that logs and under the outlet's lock,
// so it must not log to that outlet.
class LogStatusListener {
 public:
  static constexpr uint32_t kRecovery = 0;
  static constexpr uint32_t kFailure = 1;

  LogStatusListener() = default;
  LogStatusListener(const LogStatusListener&) = delete;
  LogStatusListener& operator=(const LogStatusListener&) = delete;
  virtual ~LogStatusListener() = default;

  // `flag`: `kFailure` at the first failure of a run, `kRecovery` at the first line written after
  // it.
  virtual void OnStatus(const vusl::string_t& text, uint32_t flag) = 0;
};
