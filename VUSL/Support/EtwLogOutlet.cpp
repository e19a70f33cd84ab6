#include "VUSL/Support/EtwLogOutlet.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <stdexcept>

#include "VUSL/Support/Exception.h"

namespace {

constexpr uint8_t kTraceLoggingChannel = 11;
// The class of information that hands over a provider's metadata. It is a number because not all
// headers have a name for it.
constexpr ULONG kProviderTraits = 2;

constexpr ULONG kUserData = 0;
constexpr ULONG kEventMetadata = 1;
constexpr ULONG kProviderMetadata = 2;

// Length, no tags, the event's name, and each field's name with the type of its text: 2 for narrow,
// 1 for UTF-16.
constexpr std::array<uint8_t, 26> kLogEventMetadata = {
    26,  0,                                        //
    0,                                             //
    'L', 'o', 'g', 0,                              //
    'l', 'o', 'g', 'L', 'e', 'v', 'e', 'l', 0, 2,  //
    'M', 'e', 's', 's', 'a', 'g', 'e', 0,   1,
};

struct EventRow {
  int32_t level;
  const char* logLevel;
  uint8_t eventLevel;
};

constexpr std::array<EventRow, 5> kEventRows = {{
    {LogLevel::kVerbose, "VER", 5},
    {LogLevel::kDebug, "DBG", 5},
    {LogLevel::kInfo, "INF", 4},
    {LogLevel::kError, "ERR", 2},
    {LogLevel::kFatal, "FTL", 1},
}};

const EventRow* FindRow(int32_t level) {
  for (const EventRow& row : kEventRows) {
    if (row.level == level) return &row;
  }
  return nullptr;
}

EVENT_INFO_CLASS InformationClass(ULONG number) {
  return static_cast<EVENT_INFO_CLASS>(number);
}

EVENT_DATA_DESCRIPTOR Describe(const void* data, size_t size, ULONG type) {
  EVENT_DATA_DESCRIPTOR descriptor{};
  descriptor.Ptr = reinterpret_cast<uintptr_t>(data);
  descriptor.Size = static_cast<ULONG>(size);
  descriptor.Reserved = type;
  return descriptor;
}

uint16_t MetadataLength(const uint8_t* metadata) {
  return static_cast<uint16_t>(metadata[0] | (metadata[1] << 8));
}

void WriteEvent(const TraceProvider& provider, const EventRow& row, const vusl::string_t& text) {
  EVENT_DESCRIPTOR event{};
  event.Channel = kTraceLoggingChannel;
  event.Level = row.eventLevel;

  // As a C string, because the field ends at its first zero character.
  // cppcheck-suppress stlcstrParam
  // NOLINTNEXTLINE(readability-redundant-string-cstr)
  const std::u16string message = vusl::Utf16(text.c_str());
  std::array<EVENT_DATA_DESCRIPTOR, 4> data = {
      Describe(provider.metadata, MetadataLength(provider.metadata), kProviderMetadata),
      Describe(kLogEventMetadata.data(), kLogEventMetadata.size(), kEventMetadata),
      Describe(row.logLevel, std::strlen(row.logLevel) + 1, kUserData),
      Describe(message.c_str(), (message.size() + 1) * sizeof(char16_t), kUserData),
  };
  EventWriteTransfer(provider.handle, &event, nullptr, nullptr, static_cast<ULONG>(data.size()),
                     data.data());
}

}  // namespace

EtwLogOutlet::~EtwLogOutlet() {
  if (provider == nullptr) return;
  const REGHANDLE handle = provider->handle;
  provider->handle = 0;
  provider->levelPlus1.store(0, std::memory_order_relaxed);
  EventUnregister(handle);
}

void EtwLogOutlet::registerProvider(TraceProvider* newProvider) {
  provider = newProvider;
  if (provider->handle != 0) std::abort();
  provider->keywordAny.store(0, std::memory_order_relaxed);
  provider->keywordAll.store(0, std::memory_order_relaxed);
  const ULONG result =
      EventRegister(&provider->id, &TraceProvider::OnEnable, provider, &provider->handle);
  // Deliberate: a pointer is thrown. A process whose trace provider cannot be registered is to end
  // at the clause for everything, and not at those that tell of an `Exception`.
  if (result != ERROR_SUCCESS) throw new Exception("TraceLoggingRegister failed");
  // The length of the metadata is the first word of it. The result is not looked at: events without
  // the provider's traits can be read as well.
  EventSetInformation(provider->handle, InformationClass(kProviderTraits),
                      const_cast<uint8_t*>(provider->metadata), MetadataLength(provider->metadata));
}

void EtwLogOutlet::Log(const vusl::string_t&, const vusl::string_t&, const vusl::string_t& message,
                       int itemLevel) {
  if (itemLevel < level) return;
  // Deliberate: made before it is known whether a session wants it. A session that comes or goes
  // then changes what is written and hardly what a line costs its thread.
  const vusl::string_t text = message + L"\r\n";
  const EventRow* const row = FindRow(itemLevel);
  if (row == nullptr) return;
  if (!provider->isEnabled(row->eventLevel, 0)) return;
  WriteEvent(*provider, *row, text);
}

void EtwLogOutlet::Dump(const vusl::string_t&) {
  throw std::runtime_error(
      "EtwLogOutlet: Dump(const vusl::string_t& message) should not be called");
}
