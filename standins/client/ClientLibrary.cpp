// The entry points of the stand-in for the client library. All of them have one shape, which is
// wide enough for the entry that is handed most; what a caller of another one does not hand over is
// not looked at.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include "ClientEntries.h"
#include "standins/client/ClientPlatform.h"
#include "standins/client/ClientScript.h"

#ifdef _WIN32
// What is exported is told by a list at link time.
#define CLIENT_EXPORT extern "C"
#else
#define CLIENT_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace client_standin {

namespace {

constexpr int kThrownInt = 1;

using ProgressCallback = void (*)(std::uint32_t state);

const Script& script() {
#define CLIENT_NAME(entry) #entry,
  static const Script loaded = loadScript({CLIENT_ENTRIES(CLIENT_NAME)});
#undef CLIENT_NAME
  return loaded;
}

// What a handle points to; nobody looks at it.
int handedOut = 0;

// The steps that a transaction reports, and to whom.
struct Report {
  const Progress& progress;
  ProgressCallback callback;
};

void reportSteps(void* parameter) {
  const auto& report = *static_cast<const Report*>(parameter);
  for (const std::uint32_t state : report.progress.states) {
    if (report.progress.everyMs > 0) sleepFor(report.progress.everyMs);
    report.callback(state);
  }
}

void actOn(const char* entry, const Answer& answer) {
  switch (answer.kind) {
    case Answer::Kind::kThrow:
      throw std::runtime_error(std::string("thrown by ") + entry);
    case Answer::Kind::kThrowInt:
      throw kThrownInt;
    case Answer::Kind::kCrash: {
      // Volatile twice, so that the compiler neither sees through the pointer nor drops the write.
      volatile int* volatile nowhere = nullptr;
      *nowhere = 0;
      break;
    }
    case Answer::Kind::kNever:
      sleepForever();
    case Answer::Kind::kStatus:
      break;
  }
}

std::int32_t answer(const char* entry, std::atomic<std::size_t>& calls, void* first,
                    ProgressCallback callback) {
  const Answer next = answerOf(script(), entry, calls.fetch_add(1));
  if (!next.progress.states.empty()) {
    Report report{next.progress, callback};
    runOnOwnThread(reportSteps, &report);
  }
  if (next.delayMs > 0) sleepFor(next.delayMs);
  actOn(entry, next);
  if (next.status == 0 && first != nullptr && std::strcmp(entry, "talsCaidProtect") == 0) {
    *static_cast<void**>(first) = &handedOut;
  }
  reportAnswer(entry, next.status);
  return next.status;
}

}  // namespace

}  // namespace client_standin

#define CLIENT_ENTRY(entry)                                                     \
  CLIENT_EXPORT std::int32_t entry(void*, const void*, std::uint32_t,           \
                                   client_standin::ProgressCallback);           \
  CLIENT_EXPORT std::int32_t entry(void* first, const void*, std::uint32_t,     \
                                   client_standin::ProgressCallback callback) { \
    static std::atomic<std::size_t> calls{0};                                   \
    return client_standin::answer(#entry, calls, first, callback);              \
  }
CLIENT_ENTRIES(CLIENT_ENTRY)
#undef CLIENT_ENTRY
