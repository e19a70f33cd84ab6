// The platform calls beneath a log item and a buffer, made as cheap as they are on Windows, where
// time and thread are read from memory. Over the model each call is taken into the journal under
// one lock for all threads, which costs more than all that is measured here.

#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>

#include "platform/win32.h"

void GetLocalTime(LPSYSTEMTIME time) {
  using namespace std::chrono;
  // The zone's share is an addition; here it is none.
  const auto now = floor<milliseconds>(system_clock::now());
  const auto today = floor<days>(now);
  const year_month_day date(today);
  const hh_mm_ss clock(now - today);
  time->wYear = static_cast<WORD>(static_cast<int>(date.year()));
  time->wMonth = static_cast<WORD>(static_cast<unsigned>(date.month()));
  time->wDay = static_cast<WORD>(static_cast<unsigned>(date.day()));
  time->wDayOfWeek = static_cast<WORD>(weekday(today).c_encoding());
  time->wHour = static_cast<WORD>(clock.hours().count());
  time->wMinute = static_cast<WORD>(clock.minutes().count());
  time->wSecond = static_cast<WORD>(clock.seconds().count());
  time->wMilliseconds = static_cast<WORD>(clock.subseconds().count());
}

DWORD GetCurrentThreadId() {
  thread_local const auto id = static_cast<DWORD>(gettid());
  return id;
}

// What is measured here has ASCII alone, which the product widens by itself.
int MultiByteToWideChar(UINT, DWORD, LPCSTR, int, LPWSTR, int) {
  return 0;
}

errno_t memcpy_s(void* target, std::size_t room, const void* source, std::size_t size) {
  if (size == 0) return 0;
  if (target == nullptr) return EINVAL;
  if (source == nullptr || room < size) {
    std::memset(target, 0, room);
    return source == nullptr ? EINVAL : ERANGE;
  }
  std::memcpy(target, source, size);
  return 0;
}
