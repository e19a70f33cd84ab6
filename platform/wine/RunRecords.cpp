#include "platform/wine/RunRecords.h"

namespace wine {

RunRecords::RunRecords() {
  QueryPerformanceFrequency(&perSecond_);
  QueryPerformanceCounter(&began_);
}

long long RunRecords::nanoseconds() const {
  constexpr long long kNanosecondsPerSecond = 1'000'000'000;
  LARGE_INTEGER now{};
  QueryPerformanceCounter(&now);
  const long long ticks = now.QuadPart - began_.QuadPart;
  return ticks / perSecond_.QuadPart * kNanosecondsPerSecond +
         ticks % perSecond_.QuadPart * kNanosecondsPerSecond / perSecond_.QuadPart;
}

void RunRecords::record(char kind, std::string_view text) {
  const std::lock_guard<std::mutex> guard(oneAtATime_);
  std::string bytes = std::string(1, kind) + ' ' + std::to_string(nanoseconds()) + ' ' +
                      std::to_string(text.size()) + '\n';
  bytes += text;
  bytes += '\n';
  // Not through the C runtime, which would write two bytes for each line feed.
  DWORD written = 0;
  WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), bytes.data(), static_cast<DWORD>(bytes.size()),
            &written, nullptr);
}

}  // namespace wine
