#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "VUSL/Support/LogBase.h"
#include "VUSL/Support/LogLevel.h"
#include "VUSL/Support/Text.h"

// One log message. It is a temporary of one statement: text and numbers are streamed into it, and
// the end of the statement hands it to the process's `LogSink`:
//   LogItem().info() << "Waiting " << seconds << " s";
//
// It may be used at any time, before main and in the destructors of static objects too; while no
// outlet is attached the message vanishes. An exception of an outlet ends the process, because it
// meets the destructor's promise not to throw: an outlet that is null is a fault in the set-up that
// must not go unnoticed.
class LogItem {
 public:
  // Starts with the use-case text, at the level DEBUG, with numbers in decimal.
  LogItem();

  // The same, followed by `location` and one blank.
  explicit LogItem(const char* location);

  LogItem(const LogItem&) = delete;
  LogItem& operator=(const LogItem&) = delete;

  // Delivers to the outlets of channel 1 and then to those of channel 0. The text ends at its first
  // zero character.
  virtual ~LogItem();

  // Narrow text is UTF-8. A null pointer shows as "NULL".
  LogItem& operator<<(const std::string& text);
  LogItem& operator<<(const vusl::string_t& text);
  LogItem& operator<<(const char* text);
  LogItem& operator<<(const wchar_t* text);

  // Numbers print in the item's base; hexadecimal is in lower case with no prefix. A type that is
  // 64 bits wide prints in decimal as a signed number, also when it is unsigned.
  LogItem& operator<<(int value);
  LogItem& operator<<(unsigned int value);
  LogItem& operator<<(long value);
  LogItem& operator<<(unsigned long value);
  LogItem& operator<<(long long value);
  LogItem& operator<<(unsigned long long value);

  // Sets the base of the numbers that follow.
  LogItem& operator<<(LogBase base);

  // Set the item's level.
  LogItem& debug();
  LogItem& info();
  LogItem& error();
  LogItem& fatal();

 private:
  LogItem& append(std::string_view utf8);
  LogItem& appendSigned32(int32_t value);
  LogItem& appendUnsigned32(uint32_t value);
  LogItem& append64(int64_t value);

  std::string prefix;
  vusl::string_t outletMessage;
  vusl::string_t consoleMessage;
  int32_t decimal = static_cast<int32_t>(LogBase::kDecimal);
  int32_t level = LogLevel::kDebug;
};
