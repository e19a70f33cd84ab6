#pragma once

#include "platform/win32.h"

// When a measured process came to certain moments of its start, for the process that started it.
namespace stamps {

enum Moment {
  kLoaded,        // all libraries are in memory, and most have not initialised themselves yet
  kEntry,         // all libraries have initialised themselves; the program's own code begins
  kLogSetUp,      // the log is being attached to its trace
  kPrivileges,    // the process asks for its token
  kDispatcher,    // it calls the dispatcher
  kServiceMain,   // the service's function runs
  kStartPending,  // it has been reported
  kNamespace,     // the private namespace is about to be made
  kRunning,       // it has been reported
  kMoments,
};

// What the two processes share. Whoever starts the other makes it and clears it for each start.
struct Shared {
  LONGLONG at[kMoments];  // of the performance counter; 0 for a moment that did not come
  LONG endsAtDispatcher;  // whether the process is to end there
};

// Null if nobody measures.
Shared* openShared();
Shared* makeShared();

LONGLONG now();

// Writes down that a moment has come. Only the first time counts.
void stamp(Shared* shared, Moment moment);

}  // namespace stamps
