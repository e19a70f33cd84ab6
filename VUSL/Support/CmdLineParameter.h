#pragma once

#include <cstdint>
#include <iosfwd>
#include <list>

#include "VUSL/Support/Text.h"

// Where a parameter's value comes from.
enum class CmdLineParameterKind : int32_t {
  ValueRequired = 0,    // The next argument, which must be there.
  ValueOptional = 1,    // The next argument, if it does not begin with a prefix character.
  NoValue = 2,          // A switch.
  PromptConfirmed = 3,  // Asked for on the console, twice, with echo off.
  PromptPlain = 4,      // Asked for on the console, once, with echo on.
};

// One parameter that a command line may hold, and after parsing what the command line said of it.
struct CmdLineParameter {
  // A switch of that name, not required, talking to the standard streams.
  explicit CmdLineParameter(vusl::string_t parameterName);

  int32_t index = -1;    // The position of the name in the arguments; -1 until it is seen.
  vusl::string_t name;   // Compared without regard to case.
  vusl::string_t alias;  // A second name of the same parameter; empty for none.
  vusl::string_t value;  // What stands here before parsing is the default that the usage shows.
  bool required = false;
  CmdLineParameterKind kind = CmdLineParameterKind::NoValue;
  uint32_t promptId = 0;  // The string resource of the prompt, for the prompting kinds.
  std::istream* in;       // Where prompted values are read from.
  std::ostream* out;      // Where prompts go.
  // The names of the only parameters that may come after this one; empty for no restriction.
  std::list<vusl::string_t> companions;
};
