#include "tests/fuzz/QuickValue.h"

#include <cstring>

// The platform's call as the linker names it.
extern "C" {
LSTATUS __real__Z16RegQueryValueExWP6HKEY__PKwPjS3_PhS3_(HKEY, LPCWSTR, LPDWORD, LPDWORD, LPBYTE,
                                                         LPDWORD);
LSTATUS __wrap__Z16RegQueryValueExWP6HKEY__PKwPjS3_PhS3_(HKEY, LPCWSTR, LPDWORD, LPDWORD, LPBYTE,
                                                         LPDWORD);
}

namespace fuzz {
namespace {

std::string_view theBytes;
char theKey = 0;

}  // namespace

QuickValue::QuickValue(std::string_view bytes) {
  theBytes = bytes;
}

QuickValue::~QuickValue() {
  theBytes = {};
}

HKEY QuickValue::key() {
  return reinterpret_cast<HKEY>(&theKey);
}

}  // namespace fuzz

LSTATUS __wrap__Z16RegQueryValueExWP6HKEY__PKwPjS3_PhS3_(HKEY key, LPCWSTR name, LPDWORD reserved,
                                                         LPDWORD type, LPBYTE data, LPDWORD size) {
  if (key != fuzz::QuickValue::key()) {
    return __real__Z16RegQueryValueExWP6HKEY__PKwPjS3_PhS3_(key, name, reserved, type, data, size);
  }
  const DWORD room = *size;
  *size = static_cast<DWORD>(fuzz::theBytes.size());
  if (data == nullptr) {
    return ERROR_SUCCESS;
  }
  if (room < *size) {
    return ERROR_MORE_DATA;
  }
  std::memcpy(data, fuzz::theBytes.data(), *size);
  return ERROR_SUCCESS;
}
