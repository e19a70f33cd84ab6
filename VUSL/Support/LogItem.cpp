#include "VUSL/Support/LogItem.h"

#include <array>
#include <cstdio>

#include "VUSL/Support/LogSink.h"
#include "VUSL/Support/UseCaseIdentifier.h"

namespace {

using NumberText = std::array<char, 128>;

constexpr const char* kNullText = "NULL";
constexpr const wchar_t* kNullWideText = L"NULL";

}  // namespace

LogItem::LogItem()
    : prefix(UseCaseIdentifier::getInstance().getText()),
      outletMessage(vusl::Widen(prefix)),
      consoleMessage(outletMessage) {}

LogItem::LogItem(const char* location) : LogItem() {
  *this << location << " ";
}

LogItem::~LogItem() {
  LogSink& sink = LogSink::process();
  // As C strings, because a message ends at its first zero character.
  // cppcheck-suppress stlcstrParam
  sink.log(outletMessage.c_str(), level, LogSink::kOutletChannel);
  // cppcheck-suppress stlcstrParam
  sink.log(consoleMessage.c_str(), level, LogSink::kConsoleChannel);
}

LogItem& LogItem::operator<<(const std::string& text) {
  return *this << vusl::Widen(text);
}

LogItem& LogItem::operator<<(const vusl::string_t& text) {
  outletMessage += text;
  consoleMessage += text;
  return *this;
}

LogItem& LogItem::operator<<(const char* text) {
  return *this << std::string(text == nullptr ? kNullText : text);
}

LogItem& LogItem::operator<<(const wchar_t* text) {
  return *this << vusl::string_t(text == nullptr ? kNullWideText : text);
}

LogItem& LogItem::operator<<(int value) {
  return appendSigned32(value);
}

LogItem& LogItem::operator<<(unsigned int value) {
  return appendUnsigned32(value);
}

LogItem& LogItem::operator<<(long value) {
  if constexpr (sizeof(value) == sizeof(int32_t)) {
    return appendSigned32(static_cast<int32_t>(value));
  } else {
    return append64(value);
  }
}

LogItem& LogItem::operator<<(unsigned long value) {
  if constexpr (sizeof(value) == sizeof(uint32_t)) {
    return appendUnsigned32(static_cast<uint32_t>(value));
  } else {
    return append64(static_cast<int64_t>(value));
  }
}

LogItem& LogItem::operator<<(long long value) {
  return append64(value);
}

// Deliberate: one form serves every 64-bit value, and it is the signed one. Readers of the log know
// the all-ones values of the platform as "-1".
LogItem& LogItem::operator<<(unsigned long long value) {
  return append64(static_cast<int64_t>(value));
}

LogItem& LogItem::operator<<(LogBase base) {
  decimal = static_cast<int32_t>(base);
  return *this;
}

LogItem& LogItem::debug() {
  level = LogLevel::kDebug;
  return *this;
}

LogItem& LogItem::info() {
  level = LogLevel::kInfo;
  return *this;
}

LogItem& LogItem::error() {
  level = LogLevel::kError;
  return *this;
}

LogItem& LogItem::fatal() {
  level = LogLevel::kFatal;
  return *this;
}

LogItem& LogItem::appendSigned32(int32_t value) {
  if (decimal == 0) return appendUnsigned32(static_cast<uint32_t>(value));
  NumberText text{};
  std::snprintf(text.data(), text.size(), "%d", value);
  return *this << text.data();
}

LogItem& LogItem::appendUnsigned32(uint32_t value) {
  NumberText text{};
  std::snprintf(text.data(), text.size(), decimal != 0 ? "%u" : "%x", value);
  return *this << text.data();
}

LogItem& LogItem::append64(int64_t value) {
  NumberText text{};
  if (decimal != 0) {
    std::snprintf(text.data(), text.size(), "%lld", static_cast<long long>(value));
  } else {
    std::snprintf(text.data(), text.size(), "%llx", static_cast<unsigned long long>(value));
  }
  return *this << text.data();
}
