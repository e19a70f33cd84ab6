#include "platform/host/LifeServer.h"

#include <array>
#include <cstdlib>
#include <cstring>

#include "platform/host/ForkedLives.h"

namespace host {
namespace {

// The environment of a life refers to it for as long as the life lasts.
std::array<char, 65'536> theOrder;

}  // namespace

void serveLives() {
  const std::size_t size = raiseLife(theOrder);
  for (std::size_t at = 0; at < size; at += std::strlen(&theOrder[at]) + 1) {
    putenv(&theOrder[at]);
  }
}

}  // namespace host
