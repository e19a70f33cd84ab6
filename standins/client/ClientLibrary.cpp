// The entry points of the stand-in for the client library. All of them have the one shape that the
// live entries have: a pointer that is not looked at, and a status.

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "ClientEntries.h"
#include "standins/client/ClientPlatform.h"
#include "standins/client/ClientScript.h"

#ifdef _WIN32
#define CLIENT_EXPORT extern "C" __declspec(dllexport)
#else
#define CLIENT_EXPORT extern "C" __attribute__((visibility("default")))
#endif

namespace client_standin {

namespace {

constexpr int kThrownInt = 1;

const Script& script() {
#define CLIENT_NAME(entry) #entry,
  static const Script loaded = loadScript({CLIENT_KNOWN_ENTRIES(CLIENT_NAME)});
#undef CLIENT_NAME
  return loaded;
}

[[maybe_unused]] std::int32_t answer(const char* entry, std::atomic<std::size_t>& calls) {
  const Answer next = answerOf(script(), entry, calls.fetch_add(1));
  switch (next.kind) {
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
  if (next.delayMs > 0) sleepFor(next.delayMs);
  reportAnswer(entry, next.status);
  return next.status;
}

}  // namespace

}  // namespace client_standin

#define CLIENT_ENTRY(entry)                       \
  CLIENT_EXPORT std::int32_t entry(void*);        \
  CLIENT_EXPORT std::int32_t entry(void*) {       \
    static std::atomic<std::size_t> calls{0};     \
    return client_standin::answer(#entry, calls); \
  }
CLIENT_EXPORTED_ENTRIES(CLIENT_ENTRY)
#undef CLIENT_ENTRY
