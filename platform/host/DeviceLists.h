#pragma once

namespace host {

// How the platform hands out its list of devices, and what it was asked for. Part of the machine,
// and fresh with each fresh machine.
struct DeviceLists {
  // Whether a list ends within the size that is told for it, as the platform promises: the last id
  // with its terminator, and the list with one more. Otherwise it has neither.
  bool areClosed = true;
  // How often somebody who asked for a property gave room for its type.
  unsigned typesAskedFor = 0;
};

DeviceLists& deviceLists();

}  // namespace host
