#include "VUSL/Support/TraceProvider.h"

#include <array>

#include "VUSL/Support/Settings.h"

namespace {

constexpr ULONG kDisabled = 0;
constexpr ULONG kEnabled = 1;
// What the level "0, everything" of a session stands for.
constexpr uint32_t kEveryLevelPlus1 = 256;

// The length in 16 bits, little-endian, and the name with its zero.
template <size_t Size>
consteval std::array<uint8_t, Size + 2> Metadata(const char (&name)[Size]) {
  std::array<uint8_t, Size + 2> blob{};
  blob[0] = static_cast<uint8_t>(blob.size() & 0xFF);
  blob[1] = static_cast<uint8_t>(blob.size() >> 8);
  for (size_t i = 0; i < Size; ++i) blob[i + 2] = static_cast<uint8_t>(name[i]);
  return blob;
}

constexpr auto kServiceMetadata = Metadata(settings::kServiceName);
constexpr auto kRecertificationMetadata = Metadata(settings::kRecertificationName);

constinit TraceProvider serviceProvider = {
    0,       kServiceMetadata.data(),
    0,       0,
    0,       nullptr,
    nullptr, {0x590DE0FF, 0xDC7D, 0x4731, {0xAC, 0x4F, 0xA9, 0x61, 0xAF, 0x00, 0xE9, 0xDA}}};

constinit TraceProvider recertificationProvider = {
    0,       kRecertificationMetadata.data(),
    0,       0,
    0,       nullptr,
    nullptr, {0xF33E9E07, 0x8792, 0x47E8, {0xB3, 0xFA, 0x2C, 0x92, 0xAB, 0x32, 0xC5, 0xB3}}};

}  // namespace

bool TraceProvider::isEnabled(uint8_t eventLevel, uint64_t keyword) const {
  if (eventLevel >= levelPlus1.load(std::memory_order_relaxed)) return false;
  if (keyword == 0) return true;
  const uint64_t all = keywordAll.load(std::memory_order_relaxed);
  return (keyword & keywordAny.load(std::memory_order_relaxed)) != 0 && (keyword & all) == all;
}

void NTAPI TraceProvider::OnEnable(LPCGUID source, ULONG control, UCHAR level, ULONGLONG keywordAny,
                                   ULONGLONG keywordAll, PEVENT_FILTER_DESCRIPTOR filter,
                                   PVOID provider) {
  auto& record = *static_cast<TraceProvider*>(provider);
  if (control == kDisabled) {
    record.levelPlus1.store(0, std::memory_order_relaxed);
  } else if (control == kEnabled) {
    record.keywordAny.store(keywordAny, std::memory_order_relaxed);
    record.keywordAll.store(keywordAll, std::memory_order_relaxed);
    record.levelPlus1.store(level == 0 ? kEveryLevelPlus1 : level + 1U, std::memory_order_relaxed);
  }
  if (record.chainedCallback == nullptr) return;
  record.chainedCallback(source, control, level, keywordAny, keywordAll, filter,
                         record.chainedContext);
}

TraceProvider* FindTraceProvider(const std::string& logFileName) {
  if (logFileName == settings::kRecertificationLogFile) return &recertificationProvider;
  if (logFileName == settings::kServiceLogFile) return &serviceProvider;
  return nullptr;
}
