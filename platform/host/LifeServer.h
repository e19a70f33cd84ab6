#pragma once

namespace host {

// Lives of any scenarios, forked by a program that has stopped ahead of everything that belongs to
// a life (see ForkedLives.h). An order is a message of "NAME=value" texts, each ended by a zero
// byte: the environment that a program of its own would be started with.

// Set to anything for a program that is to serve.
inline constexpr char kLifeServerVariable[] = "TPM_HOST_SERVE_LIVES";

// Serves until nobody gives orders any more. Comes back in each life that it forks, with the
// order's environment in force, and never in the process that forks them.
void serveLives();

}  // namespace host
