#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/host/Scheduler.h"
#include "platform/host/windows/Types.h"

namespace host {

// Something that a handle stands for. An object lives as long as a handle to it or another
// program of the machine holds it.
class KernelObject {
 public:
  virtual ~KernelObject() = default;

  // The kind's name in the ledger: "event", "mutex", "file", ...
  virtual const char* kind() const = 0;
  // Only some kinds can be waited for.
  virtual bool waitable() const { return false; }
  // Whether a wait of this thread would end now.
  virtual bool signalled(const Thread& /*waiter*/) const { return false; }
  // The thread that a wait is for to let go; null if there is none.
  virtual const Thread* holder() const { return nullptr; }
  // Takes what a satisfied wait takes; true if the object had been abandoned.
  virtual bool consume(Thread& /*waiter*/) { return false; }
  // Searches, namespaces and boundaries have calls of their own that end them.
  virtual bool closedByCloseHandle() const { return true; }

  std::wstring name;  // empty for an unnamed object
};

// The process's handles. Values are never used a second time, so that every use after a close is
// noticed.
class HandleTable {
 public:
  static HandleTable& instance();

  HANDLE add(std::shared_ptr<KernelObject> object, const char* maker);

  // The object behind an open handle of any kind, or null; a handle that was closed before is a
  // violation under the name of `call`, an unknown value is not: programs do probe null.
  std::shared_ptr<KernelObject> find(HANDLE handle, const char* call) const;

  template <class Kind>
  std::shared_ptr<Kind> find(HANDLE handle, const char* call) const {
    return std::dynamic_pointer_cast<Kind>(find(handle, call));
  }

  // Closes an open handle by the call that ends its kind. False for any other value or call; each
  // such close is a violation.
  bool close(HANDLE handle, const char* call);

 private:
  struct Entry {
    std::shared_ptr<KernelObject> object;  // null once closed
    const char* kind;
  };

  const Entry* entry(HANDLE handle) const;

  std::vector<Entry> entries_;
};

}  // namespace host
