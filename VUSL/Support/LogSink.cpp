#include "VUSL/Support/LogSink.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "VUSL/Support/AssertException.h"
#include "VUSL/Support/Settings.h"
#include "platform/win32.h"

namespace {

// The local time to the millisecond, with a colon before the milliseconds, and the thread's id.
std::string Stamp() {
  std::array<char, 256> stamp{};
  SYSTEMTIME now{};
  GetLocalTime(&now);
  const auto thread = static_cast<unsigned long long>(GetCurrentThreadId());
  std::snprintf(stamp.data(), stamp.size(), "%4u-%02u-%02u %02u:%02u:%02u:%03u %016llx ", now.wYear,
                now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond, now.wMilliseconds,
                thread);
  return stamp.data();
}

}  // namespace

LogSink& LogSink::process() {
  static LogSink* const sink = new LogSink(std::string(settings::kServiceName) + ": ");
  return *sink;
}

LogSink::LogSink(const std::string& lineTag) : tag(lineTag) {}

void LogSink::log(const vusl::string_t& message, int level) {
  log(message, level, kOutletChannel);
}

void LogSink::log(const vusl::string_t& message, int level, int32_t channel) {
  const std::string stamp = Stamp();
  for (const Entry& entry : outlets) {
    if (entry.channel != channel) continue;
    if (entry.outlet == nullptr) throw AssertException("Outlet is NULL");
    entry.outlet->Log(vusl::Widen(stamp), vusl::Widen(tag), message, level);
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
