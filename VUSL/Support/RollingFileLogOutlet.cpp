#include "VUSL/Support/RollingFileLogOutlet.h"

#include <array>
#include <chrono>
#include <ctime>
#include <cwchar>

#include "VUSL/Support/BaseException.h"
#include "VUSL/Support/CriticalSection.h"
#include "VUSL/Support/ScopedLock.h"
#include "platform/win32.h"

namespace {

constexpr const char* kDefaultTimeFormat = "%Y%m%d%H%M%S";
constexpr DWORD kReadWriteAppend = GENERIC_READ | GENERIC_WRITE | FILE_APPEND_DATA;

// The lock of all outlets. It stands before the program's entry, like the other locks of the
// process: one that cannot be made ends the process there, where nothing catches.
vusl::CriticalSection sharedSection;

int DayOfYear(const SYSTEMTIME& time) {
  const std::chrono::year year(time.wYear);
  const std::chrono::sys_days day = year / time.wMonth / time.wDay;
  return static_cast<int>((day - std::chrono::sys_days(year / 1 / 1)).count());
}

}  // namespace

RollingFileLogOutlet::RollingFileLogOutlet(const std::string& path)
    : currentSize(vusl::File::getSize(vusl::Widen(path))),
      file(vusl::Widen(path)),
      logFileName(vusl::Widen(path)) {}

void RollingFileLogOutlet::reopen() {
  if (level == LogLevel::kNone) return;
  file.open(kReadWriteAppend, FILE_END);
}

void RollingFileLogOutlet::Dump(const vusl::string_t& message) {
  const vusl::ScopedLock lock(sharedSection);
  try {
    const std::string text = vusl::Narrow(message) + "\r\n";
    const auto lengthBytes = static_cast<uint32_t>(text.size());
    rollIfFull(lengthBytes);
    file.write(text.data(), lengthBytes);
    // Deliberate: the whole text counts, also if the platform wrote less of it.
    currentSize += lengthBytes;
    if (!lastWriteOk && listener != nullptr) {
      lastWriteOk = true;
      listener->OnStatus(L"Log file written successfully.", LogStatusListener::kRecovery);
    }
  } catch (const BaseException& failure) {
    reportFailure(L"Error when writing to log file: ", failure.what());
  } catch (...) {
    reportFailure(L"Could not write to log file.", "");
  }
}

void RollingFileLogOutlet::rollIfFull(uint32_t lengthBytes) {
  if (uint64_t{currentSize} + lengthBytes <= maxFileSize) return;
  try {
    file.close();
    roll(logFileName, 0);
    currentSize = 0;
  } catch (const BaseException& failure) {
    // Opened ahead of all else: where that fails, what was counted so far holds.
    vusl::File live(logFileName);
    live.open(kReadWriteAppend, FILE_END);
    // Deliberate: the reason has no line end. It stands at the head of the line that should have
    // been the first of the new file.
    const std::string reason = failure.what();
    const auto reasonBytes = static_cast<uint32_t>(reason.size());
    currentSize = live.getSize() + reasonBytes;
    live.write(reason.data(), reasonBytes);
    live.close();
  }
}

void RollingFileLogOutlet::reportFailure(const wchar_t* text, const char* reason) noexcept {
  if (!lastWriteOk || listener == nullptr) return;
  lastWriteOk = false;
  try {
    listener->OnStatus(text + vusl::Widen(reason), LogStatusListener::kFailure);
  } catch (...) {
    // A log item is written in a destructor: what the listener throws there would end the process.
  }
}

void RollingFileLogOutlet::roll(const vusl::string_t& path, unsigned int index) {
  vusl::File target(path);
  if (!target.exists()) return;
  if (index >= maxArchiveNumber) {
    target.remove();
    return;
  }
  const vusl::string_t archive = logFileName + L"." + std::to_wstring(index);
  roll(archive, index + 1);
  target.rename(archive);
}

void RollingFileLogOutlet::timeStamp(std::string& out, const std::string& format) {
  SYSTEMTIME now{};
  GetLocalTime(&now);
  std::tm parts{};
  parts.tm_year = now.wYear - 1900;
  parts.tm_mon = now.wMonth - 1;
  parts.tm_mday = now.wDay;
  parts.tm_hour = now.wHour;
  parts.tm_min = now.wMinute;
  parts.tm_sec = now.wSecond;
  parts.tm_wday = now.wDayOfWeek;
  parts.tm_yday = DayOfYear(now);
  parts.tm_isdst = -1;
  // Wide, because compilers take a narrow format from nowhere but a literal.
  std::array<wchar_t, 64> buffer{};
  const vusl::string_t chosen = vusl::Widen(format.empty() ? kDefaultTimeFormat : format);
  const size_t length = std::wcsftime(buffer.data(), buffer.size(), chosen.c_str(), &parts);
  out = vusl::Narrow(vusl::string_t(buffer.data(), length));
}
