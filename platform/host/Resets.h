#pragma once

#include <functional>

namespace host {

// Has `forget` called at each later resetMachine(), before anything of the machine is made anew.
// For what is kept beside the machine, by those who keep it.
void atReset(std::function<void()> forget);

}  // namespace host
