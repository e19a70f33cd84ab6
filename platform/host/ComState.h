#pragma once

#include <cstdint>
#include <map>

#include "platform/host/windows/Types.h"

namespace host {

// COM in the machine's process: who has begun it, and in which mode.
struct ComState {
  struct Apartment {
    DWORD mode = 0;
    unsigned depth = 0;  // how often the thread began it and has not ended it
  };

  std::map<std::uint32_t, Apartment> threads;  // by the thread's id
  bool securitySet = false;
  // The platform's documentation leaves open whether CoInitializeSecurity may be called anew after
  // the process's last CoUninitialize.
  bool securityEndsWithLastThread = true;

  // Whether a thread may use COM: it has begun it, or any other has in the multithreaded mode.
  bool isBegunFor(std::uint32_t thread) const;
};

}  // namespace host
