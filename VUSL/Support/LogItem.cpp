#include "VUSL/Support/LogItem.h"

#include <array>
#include <charconv>

#include "VUSL/Support/LogSink.h"
#include "VUSL/Support/UseCaseIdentifier.h"

namespace {

using NumberText = std::array<char, 128>;

constexpr const char* kNullText = "NULL";
constexpr const wchar_t* kNullWideText = L"NULL";

constexpr int kDecimalBase = 10;
constexpr int kHexadecimalBase = 16;

// Nearly every message is shorter, so that its memory is taken once and not anew with each piece.
constexpr size_t kUsualLength = 128;

void CutAtZero(vusl::string_t& message) {
  const size_t zero = message.find(L'\0');
  if (zero != vusl::string_t::npos) message.resize(zero);
}

// Digits in lower case.
template <class Integer>
std::string_view Print(NumberText& text, Integer value, int base) {
  const auto written = std::to_chars(text.data(), text.data() + text.size(), value, base);
  return {text.data(), static_cast<size_t>(written.ptr - text.data())};
}

}  // namespace

LogItem::LogItem() : prefix(UseCaseIdentifier::getInstance().getText()) {
  outletMessage.reserve(kUsualLength);
  consoleMessage.reserve(kUsualLength);
  append(prefix);
}

LogItem::LogItem(const char* location) : LogItem() {
  *this << location << " ";
}

LogItem::~LogItem() {
  LogSink& sink = LogSink::process();
  CutAtZero(outletMessage);
  sink.log(outletMessage, level, LogSink::kOutletChannel);
  CutAtZero(consoleMessage);
  sink.log(consoleMessage, level, LogSink::kConsoleChannel);
}

LogItem& LogItem::operator<<(const std::string& text) {
  return append(text);
}

LogItem& LogItem::operator<<(const vusl::string_t& text) {
  outletMessage += text;
  consoleMessage += text;
  return *this;
}

LogItem& LogItem::operator<<(const char* text) {
  return append(text == nullptr ? kNullText : text);
}

LogItem& LogItem::operator<<(const wchar_t* text) {
  const wchar_t* const shown = text == nullptr ? kNullWideText : text;
  outletMessage += shown;
  consoleMessage += shown;
  return *this;
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

LogItem& LogItem::append(std::string_view utf8) {
  const size_t start = outletMessage.size();
  vusl::AppendWidened(outletMessage, utf8);
  consoleMessage.append(outletMessage, start, vusl::string_t::npos);
  return *this;
}

LogItem& LogItem::appendSigned32(int32_t value) {
  if (decimal == 0) return appendUnsigned32(static_cast<uint32_t>(value));
  NumberText text;
  return append(Print(text, value, kDecimalBase));
}

LogItem& LogItem::appendUnsigned32(uint32_t value) {
  NumberText text;
  return append(Print(text, value, decimal != 0 ? kDecimalBase : kHexadecimalBase));
}

LogItem& LogItem::append64(int64_t value) {
  NumberText text;
  if (decimal != 0) return append(Print(text, value, kDecimalBase));
  return append(Print(text, static_cast<uint64_t>(value), kHexadecimalBase));
}
