#pragma once

namespace host {

// How the platform hands out its list of devices. Part of the machine, and fresh with each fresh
// machine.
struct DeviceLists {
  // Whether a list ends within the size that is told for it, as the platform promises: the last id
  // with its terminator, and the list with one more. Otherwise it has neither.
  bool areClosed = true;
};

DeviceLists& deviceLists();

}  // namespace host
