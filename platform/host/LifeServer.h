#pragma once

namespace host {

// Lives of any scenarios at the cost of one start: the program is started once, stops ahead of
// everything that belongs to a life, and forks one for each order that it is given. An order is a
// message of "NAME=value" texts, each ended by a zero byte: the environment that a program of its
// own would be started with.

// Set to anything for a program that is to serve.
inline constexpr char kLifeServerVariable[] = "TPM_HOST_SERVE_LIVES";
// A socket that keeps messages apart: orders come in, and a ServedEnd goes out for each.
inline constexpr int kLifeServerControl = 4;
// The report's descriptor, here a file that is emptied ahead of each life.
inline constexpr int kLifeServerReport = 3;

// What the system says of a life that has ended.
struct ServedEnd {
  int waitStatus = 0;
  bool tookTooLong = false;
};

// Serves until nobody gives orders any more. Comes back in each life that it forks, with the
// order's environment in force, and never in the process that forks them.
void serveLives();

}  // namespace host
