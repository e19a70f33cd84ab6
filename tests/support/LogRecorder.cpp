#include "tests/support/LogRecorder.h"

#include <algorithm>

#include "VUSL/Support/LogLevel.h"
#include "VUSL/Support/LogSink.h"

namespace {

std::string withoutAddressesIn(const std::string& text) {
  constexpr const char* kOpening = "[0x";
  constexpr const char* kHexadecimalDigits = "0123456789abcdef";
  std::string result;
  size_t position = 0;
  for (;;) {
    const size_t opening = text.find(kOpening, position);
    if (opening == std::string::npos) return result + text.substr(position);
    const size_t digits = opening + 3;
    const size_t end = text.find_first_not_of(kHexadecimalDigits, digits);
    result += text.substr(position, digits - position);
    const bool isAddress = end != std::string::npos && end > digits && text[end] == ']';
    position = isAddress ? end : digits;
  }
}

}  // namespace

LogRecorder::LogRecorder() {
  LogSink::process().attach(this, LogSink::kOutletChannel);
}

LogRecorder::~LogRecorder() {
  LogSink::process().detach(this);
}

std::vector<std::string> LogRecorder::texts() const {
  const std::lock_guard lock(guard);
  return recorded;
}

std::vector<std::string> LogRecorder::withoutAddresses() const {
  std::vector<std::string> result;
  for (const std::string& text : texts()) result.push_back(withoutAddressesIn(text));
  return result;
}

bool LogRecorder::contains(const std::string& text) const {
  const std::lock_guard lock(guard);
  return std::any_of(recorded.begin(), recorded.end(),
                     [&](const std::string& line) { return line.find(text) != std::string::npos; });
}

void LogRecorder::clear() {
  const std::lock_guard lock(guard);
  recorded.clear();
}

void LogRecorder::Log(const vusl::string_t&, const vusl::string_t&, const vusl::string_t& message,
                      int level) {
  const std::lock_guard lock(guard);
  recorded.push_back(vusl::Narrow(LogLevel::Tag(level) + message));
}
