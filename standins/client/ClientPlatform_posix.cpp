#include <dlfcn.h>

#include <cerrno>
#include <ctime>
#include <thread>

#include "standins/client/ClientPlatform.h"

namespace client_standin {

namespace {

constexpr std::uint32_t kWithoutEnd = 0xFFFFFFFF;

using SleepFunction = void (*)(std::uint32_t);
using Body = void (*)(void*);
using RunFunction = void (*)(Body, void*);
using AnsweredFunction = void (*)(const char*, std::int32_t);

// Found at run time, so that the library loads into programs without the function too.
template <typename Function>
Function ofMainProgram(const char* name) {
  return reinterpret_cast<Function>(dlsym(RTLD_DEFAULT, name));
}

}  // namespace

std::FILE* openBesideLibrary(const char* fileName, std::string& shownPath) {
  static const char anchor = 0;
  Dl_info library{};
  if (dladdr(&anchor, &library) == 0 || library.dli_fname == nullptr) {
    errno = EBADF;
    return nullptr;
  }
  const std::string path = library.dli_fname;
  shownPath = path.substr(0, path.find_last_of('/') + 1) + fileName;
  return std::fopen(shownPath.c_str(), "r");
}

void sleepFor(std::uint32_t milliseconds) {
  if (const auto sleep = ofMainProgram<SleepFunction>("host_client_sleep")) {
    sleep(milliseconds);
    return;
  }
  timespec left{};
  left.tv_sec = static_cast<time_t>(milliseconds / 1000);
  left.tv_nsec = static_cast<long>(milliseconds % 1000) * 1000000L;
  while (nanosleep(&left, &left) != 0 && errno == EINTR) {
  }
}

void sleepForever() {
  for (;;) sleepFor(kWithoutEnd);
}

void runOnOwnThread(Body body, void* argument) {
  if (const auto run = ofMainProgram<RunFunction>("host_client_run")) {
    run(body, argument);
    return;
  }
  std::thread(body, argument).join();
}

void reportAnswer(const char* entry, std::int32_t status) {
  const auto answered = ofMainProgram<AnsweredFunction>("host_client_answered");
  if (answered != nullptr) answered(entry, status);
}

}  // namespace client_standin
