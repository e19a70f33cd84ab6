#pragma once

#include <atomic>

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/SharedTexts.h"
#include "VUSL/Support/TypeName.h"

// Publishes one process-wide instance of `T` for as long as the holder lives. The holder does not
// own the instance. Registering and clearing belong to one thread; the pointer may be read from
// any thread, which is not thereby protected from the instance's end.
template <typename T>
class Singleton {
 public:
  // Registers the instance. Throws `Exception` if one is registered already, which then stays.
  explicit Singleton(T* instance) {
    if (instanceOrNull() != nullptr) {
      throw Exception("Singleton") << "instance already set";
    }
    s_instance.store(instance, std::memory_order_relaxed);
  }

  // Clears the registration.
  virtual ~Singleton() { s_instance.store(nullptr, std::memory_order_relaxed); }

  Singleton(const Singleton&) = delete;
  Singleton& operator=(const Singleton&) = delete;

  // Returns the registered instance. Throws `Exception` if there is none.
  static T* getInstance() {
    T* const instance = instanceOrNull();
    if (instance == nullptr) {
      throw Exception(kGetInstance) << kNullInstance << TypeName<T>::text;
    }
    return instance;
  }

  // Returns the registered instance, or null if there is none.
  static T* instanceOrNull() { return s_instance.load(std::memory_order_relaxed); }

 private:
  // Shared with no lock, by design: the reader on the other thread takes what it finds. Relaxed
  // because the pointer orders nothing.
  inline static std::atomic<T*> s_instance{nullptr};
};
