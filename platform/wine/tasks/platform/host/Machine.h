#pragma once

#include <algorithm>

#include "platform/host/Text.h"
#include "platform/host/windows/windows.h"

// Takes the place of the model's header of that name where its Task Scheduler is built for Windows:
// of a whole machine that scheduler asks two things.
namespace host {

struct Machine {
  struct {
    bool administrator = true;
  } token;
  bool schedulerRefuses = false;
};

Machine& machine();

}  // namespace host
