#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace handshake {

// What a program of the model prints on its standard output, line by line. It runs in its own
// folder, where it leaves the way to an error that it found. A program that cannot be run or ends
// by a signal throws std::runtime_error. Blocks the caller.
std::vector<std::string> linesOf(const std::filesystem::path& program, const std::string& options);

// What a search came to, as the program says it. Its exit status says nothing.
struct Search {
  bool complete = false;  // the state space was searched to its end, or to the first error
  unsigned errors = 0;
  std::uint64_t states = 0;  // different ones that were come to
  std::string printed;       // for a failed test
};
Search search(const std::filesystem::path& program, const std::string& options);

}  // namespace handshake
