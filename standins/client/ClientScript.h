#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace client_standin {

// What a transaction reports on the way, on a thread of the library's own.
struct Progress {
  std::vector<std::uint32_t> states;
  std::uint32_t everyMs = 0;  // the time ahead of each
};

// What one call of an entry does: it reports, waits, and then answers.
struct Answer {
  enum class Kind { kStatus, kThrow, kThrowInt, kCrash, kNever };

  Kind kind = Kind::kStatus;
  std::int32_t status = 0;
  std::uint32_t delayMs = 0;
  Progress progress;
};

// One line of a script.
struct ScriptLine {
  std::string entry;
  Answer answer;
};

using Script = std::vector<ScriptLine>;

// Why a line of a script is malformed; null if it is well-formed. Blank lines and comments are.
// `knownEntries`: the names that a line may begin with.
const char* scriptFault(std::string text, const std::vector<const char*>& knownEntries);

// Reads the script beside the library. A script that is missing is empty; one that cannot be read
// or has a malformed line is reported on standard error and ends the process.
// `knownEntries`: the names that a line may begin with.
Script loadScript(const std::vector<const char*>& knownEntries);

// The answer to the call number `call`, counted from 0, of an entry: its line of that number, its
// last line when there are fewer, and a plain status 0 when there are none.
Answer answerOf(const Script& script, const char* entry, std::size_t call);

}  // namespace client_standin
