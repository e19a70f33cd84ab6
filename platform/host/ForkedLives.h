#pragma once

#include <cstddef>
#include <span>

namespace host {

// Many lives at the cost of one start: the program is started once, stops ahead of what belongs to
// a single life, and forks a life for each order that it is given. What an order says is up to
// those at both ends.

// A socket that keeps messages apart: orders come in, and a LifeEnding goes out for each.
inline constexpr int kLifeOrders = 4;
// The report's descriptor, as for a life alone, but here a file that is emptied ahead of each.
inline constexpr int kLifeReport = 3;

// What the system says of a life that has ended, apart from what it told itself.
struct LifeEnding {
  int waitStatus = 0;
  bool tookTooLong = false;
};

// Serves orders until nobody gives any more. Comes back in each life that it forks, with the order
// at the beginning of `order`, and never in the process that forks them. Gives the order's size in
// bytes; one that is larger than `order` is cut off.
std::size_t raiseLife(std::span<char> order);

}  // namespace host
