#pragma once

#include <string>
#include <vector>

// The roads through the scheduled task's operations: every call and every line of each in its
// order, and beside each call what its failure leads to. Written by hand, so that a reader can hold
// the product's code against it.
namespace roads {

using Texts = std::vector<std::string>;

// What a call's failure leads to.
enum class Failure {
  kImpossible,  // the call has no result, or the step is a line
  kGoesOn,      // nobody looks at the result: the road goes on as if nothing had been
  kStops,       // the operation ends
  kThrows,      // a ComError that tells that there is no memory leaves the operation
  kDies,        // a null pointer is used
};

struct Step {
  std::string text;  // as in a TaskTrace
  Failure failure = Failure::kImpossible;
  Texts after;       // the trace behind the failed call; unless the road goes on
  Texts left;        // the calls that gave the references which are never given back
  Texts violations;  // what the ledger says

  // Where the road goes on: the path that is set by it does not come about.
  bool losesThePath = false;
  // Where the road goes on: the scheduler refuses to store what comes of it, with this result.
  std::string refusal = {};
  // When all calls behind fail as well and another trace follows than if they do not.
  Texts afterIfAllFail = {};

  // The call's own name, as faults know it.
  std::string call() const { return text.substr(0, text.find(' ')); }
};

struct Road {
  const char* name;
  const wchar_t* existing;  // the directory of the task that is there; null for no task
  void (*run)();
  std::wstring before;  // the stored path, "no task" if there is no task
  std::wstring after;   // the same at the end of the road
  std::vector<Step> steps;
};

// There is no task; one is made for C:\new.
const Road& creation();
// The task is in C:\new already.
const Road& inOrder();
// The task is in C:\old and is pointed to C:\new.
const Road& repointing();
// The task is removed.
const Road& deletion();

}  // namespace roads
