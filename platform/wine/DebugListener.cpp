#include "platform/wine/DebugListener.h"

#include <cstring>
#include <stdexcept>

#include "platform/wine/Plan.h"

namespace wine {
namespace {

// The buffer begins with the writer's process id; a text with its terminator follows.
constexpr DWORD kBufferBytes = 4096;
constexpr std::size_t kTextBytes = kBufferBytes - sizeof(DWORD);
// With no writer left, so long a silence means that nothing more comes.
constexpr DWORD kSilenceMs = 50;

std::string toUtf8FromAnsi(const char* text, std::size_t length) {
  const int size = static_cast<int>(length);
  std::wstring wide(
      static_cast<std::size_t>(MultiByteToWideChar(CP_ACP, 0, text, size, nullptr, 0)), L'\0');
  MultiByteToWideChar(CP_ACP, 0, text, size, wide.data(), static_cast<int>(wide.size()));
  return toUtf8(wide);
}

}  // namespace

DebugListener::DebugListener(std::function<void(const std::string&, DWORD)> onLine)
    : onLine_(std::move(onLine)) {
  isFree_ = CreateEventW(nullptr, FALSE, FALSE, L"DBWIN_BUFFER_READY");
  isFilled_ = CreateEventW(nullptr, FALSE, FALSE, L"DBWIN_DATA_READY");
  section_ = CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, kBufferBytes,
                                L"DBWIN_BUFFER");
  if (isFree_ == nullptr || isFilled_ == nullptr || section_ == nullptr ||
      GetLastError() == ERROR_ALREADY_EXISTS) {
    throw std::runtime_error("somebody listens to the debug output already");
  }
  buffer_ = static_cast<const char*>(MapViewOfFile(section_, FILE_MAP_READ, 0, 0, 0));
  if (buffer_ == nullptr) {
    throw std::runtime_error("the buffer of the debug output cannot be read");
  }
  thread_ = std::thread([this] { listen(); });
}

DebugListener::~DebugListener() {
  ends_ = true;
  thread_.join();
  UnmapViewOfFile(buffer_);
  CloseHandle(section_);
  CloseHandle(isFilled_);
  CloseHandle(isFree_);
}

void DebugListener::listen() {
  for (;;) {
    SetEvent(isFree_);
    while (WaitForSingleObject(isFilled_, kSilenceMs) != WAIT_OBJECT_0) {
      if (ends_) {
        return;
      }
    }
    DWORD writer = 0;
    std::memcpy(&writer, buffer_, sizeof(writer));
    const char* const text = buffer_ + sizeof(writer);
    onLine_(toUtf8FromAnsi(text, strnlen(text, kTextBytes)), writer);
  }
}

}  // namespace wine
