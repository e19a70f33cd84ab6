// The peer of the program's start: a program that does nothing but tell that it runs.

#include "bench/windows/Stamps.h"

int wmain() {
  stamps::Shared* const shared = stamps::openShared();
  stamps::stamp(shared, stamps::kDispatcher);
  return shared == nullptr ? 1 : 0;
}
