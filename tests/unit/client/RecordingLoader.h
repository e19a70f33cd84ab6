#pragma once

#include <functional>
#include <string>
#include <vector>

#include "client/TalsClientLoaderBase.h"
#include "client/talsStatus.h"

// A client stack of the test's own: its three live entries note that they were called and answer
// what they are told. One at a time.
class RecordingLoader : public TalsClientLoaderBase {
 public:
  RecordingLoader() {
    calls.clear();
    answer = [](const std::string&) { return STATUS_OK; };
    entries.talsInit = reinterpret_cast<TalsEntry>(&init);
    entries.talsInitHUB = reinterpret_cast<TalsEntry>(&initHUB);
    entries.talsInitQX1 = reinterpret_cast<TalsEntry>(&initQX1);
  }
  ~RecordingLoader() override {
    if (whenDestroyed) whenDestroyed();
  }

  std::function<void()> whenDestroyed;

  // Outlive the loader, as the caller destroys it.
  static inline std::vector<std::string> calls;
  static inline std::function<talsStatus(const std::string& entry)> answer;

 private:
  static talsStatus note(const std::string& entry, void* argument) {
    calls.push_back(entry + (argument == nullptr ? "(null)" : "(something)"));
    return answer(entry);
  }
  static talsStatus init(void* argument) { return note("talsInit", argument); }
  static talsStatus initHUB(void* argument) { return note("talsInitHUB", argument); }
  static talsStatus initQX1(void* argument) { return note("talsInitQX1", argument); }
};
