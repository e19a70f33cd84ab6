#pragma once

#include <cstdint>
#include <list>
#include <string>
#include <vector>

#include "VUSL/Support/CmdLineParameter.h"

namespace fuzz {

// What a command line may hold.
struct CommandLineRules {
  std::wstring prefix;
  std::vector<CmdLineParameter> parameters;
  // Places of its members among the parameters.
  std::vector<std::vector<std::size_t>> groups;
  // What is typed when a value is asked for.
  std::string typed;
};

// What came of parsing one.
struct CommandLineOutcome {
  enum class Kind { kGood, kInvalid, kUsage };
  Kind kind = Kind::kGood;
  std::int32_t resource = 0;
  std::string parameters;  // of the exception, each followed by a semicolon
  struct Record {
    std::int32_t index;
    std::wstring value;
    bool operator==(const Record&) const = default;
  };
  std::vector<Record> records;
  std::string asked;  // what was written to ask for values

  bool operator==(const CommandLineOutcome&) const = default;
};

// The text with which a value is asked for.
std::string promptOf(std::uint32_t id);

// Reads a command line step by step as the rules of parsing are told, with copies of what was seen
// and no thought of speed.
CommandLineOutcome readCommandLine(const CommandLineRules& rules,
                                   const std::vector<std::wstring>& arguments);

}  // namespace fuzz
