#pragma once

#include <cstdint>

// The levels of log items and the thresholds of outlets, and the tags of the levels in a line.
namespace LogLevel {

inline constexpr int32_t kVerbose = 0;  // below every threshold that a setting can give
inline constexpr int32_t kDebug = 1;    // the level of a new item
inline constexpr int32_t kInfo = 2;
inline constexpr int32_t kError = 3;
inline constexpr int32_t kFatal = 4;
inline constexpr int32_t kNone = 5;  // a threshold only: no item carries it

// The tag of `level` in a line, with its trailing blank; empty for a level that items do not carry.
constexpr const wchar_t* Tag(int32_t level) {
  switch (level) {
    case kVerbose:
      return L"[VER] ";
    case kDebug:
      return L"[DBG] ";
    case kInfo:
      return L"[INF] ";
    case kError:
      return L"[ERR] ";
    case kFatal:
      return L"[FTL] ";
    default:
      return L"";
  }
}

}  // namespace LogLevel
