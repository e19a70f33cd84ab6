#include "VUSL/Support/LogSink.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "VUSL/Support/AssertException.h"
#include "VUSL/Support/Settings.h"
#include "VUSL/Support/SpareText.h"
#include "platform/win32.h"

namespace {

// Writes `value` at `to` with at least `width` digits, filled up with `fill`; returns the place
// behind it. The base is the compiler's to know, which makes divisions cheap.
template <unsigned int kBase>
wchar_t* Print(wchar_t* to, uint64_t value, size_t width, wchar_t fill) {
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): what was not written is not read
  std::array<wchar_t, 20> digits;  // the last first; no number here has more
  size_t count = 0;
  do {
    digits[count++] = L"0123456789abcdef"[value % kBase];
    value /= kBase;
  } while (value != 0);
  for (size_t i = count; i < width; ++i) *to++ = fill;
  while (count > 0) *to++ = digits[--count];
  return to;
}

wchar_t* PrintPart(wchar_t* to, unsigned int value, size_t width, wchar_t end) {
  to = Print<10>(to, value, width, L'0');
  *to++ = end;
  return to;
}

// The local time to the millisecond, with a colon before the milliseconds, and the thread's id in
// hexadecimal: "%4u-%02u-%02u %02u:%02u:%02u:%03u %016llx ". The system's own printing by that form
// took as long as all the rest of an item.
void PrintStamp(vusl::string_t& stamp, const SYSTEMTIME& now, DWORD thread) {
  // NOLINTNEXTLINE(cppcoreguidelines-pro-type-member-init): what was not written is not read
  std::array<wchar_t, 256> buffer;
  wchar_t* end = Print<10>(buffer.data(), now.wYear, 4, L' ');
  *end++ = L'-';
  end = PrintPart(end, now.wMonth, 2, L'-');
  end = PrintPart(end, now.wDay, 2, L' ');
  end = PrintPart(end, now.wHour, 2, L':');
  end = PrintPart(end, now.wMinute, 2, L':');
  end = PrintPart(end, now.wSecond, 2, L':');
  end = PrintPart(end, now.wMilliseconds, 3, L' ');
  end = Print<16>(end, thread, 16, L'0');
  *end++ = L' ';
  stamp.assign(buffer.data(), end);
}

}  // namespace

LogSink& LogSink::process() {
  static LogSink* const sink = new LogSink(std::string(settings::kServiceName) + ": ");
  return *sink;
}

LogSink::LogSink(const std::string& lineTag) : tag(lineTag), wideTag(vusl::Widen(tag)) {}

void LogSink::log(const vusl::string_t& message, int level) {
  log(message, level, kOutletChannel);
}

void LogSink::log(const vusl::string_t& message, int level, int32_t channel) {
  // Deliberate: stamped also if nobody takes the message. Only outlets know their thresholds.
  SYSTEMTIME now{};
  GetLocalTime(&now);
  const DWORD thread = GetCurrentThreadId();
  vusl::SpareText stamp(thread);
  PrintStamp(stamp.text(), now, thread);
  for (const Entry& entry : outlets) {
    if (entry.channel != channel) continue;
    if (entry.outlet == nullptr) throw AssertException("Outlet is NULL");
    entry.outlet->Log(stamp.text(), wideTag, message, level);
  }
}

void LogSink::attach(LogOutlet* outlet, int32_t channel) {
  outlets.push_back({channel, outlet});
}

void LogSink::detach(const LogOutlet* outlet) {
  std::erase_if(outlets, [outlet](const Entry& entry) { return entry.outlet == outlet; });
}

void LogSink::detachAll() {
  outlets.clear();
}
