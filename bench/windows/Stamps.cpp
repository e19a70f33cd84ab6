#include "bench/windows/Stamps.h"

namespace stamps {
namespace {

constexpr wchar_t kName[] = L"TPMEnrollmentServiceStartStamps";

Shared* viewOf(HANDLE mapping) {
  if (mapping == nullptr) {
    return nullptr;
  }
  return static_cast<Shared*>(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, 0, sizeof(Shared)));
}

}  // namespace

Shared* openShared() {
  return viewOf(OpenFileMappingW(FILE_MAP_WRITE, FALSE, kName));
}

Shared* makeShared() {
  return viewOf(
      CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(Shared), kName));
}

LONGLONG now() {
  LARGE_INTEGER counter{};
  QueryPerformanceCounter(&counter);
  return counter.QuadPart;
}

void stamp(Shared* shared, Moment moment) {
  if (shared != nullptr && shared->at[moment] == 0) {
    shared->at[moment] = now();
  }
}

}  // namespace stamps
