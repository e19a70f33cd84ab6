#pragma once

#include <functional>
#include <iosfwd>
#include <stdexcept>
#include <string>
#include <vector>

// The checker of the configuration file, for the person who writes it.
namespace config_check {

inline constexpr int kStatusFine = 0;
inline constexpr int kStatusWarnings = 1;
inline constexpr int kStatusCorrupted = 2;
inline constexpr int kStatusWrongArguments = 64;
inline constexpr int kStatusInternalError = 70;
inline constexpr int kStatusNothingWritten = 74;

// What a person names is nothing that could be read like a file, such as a pipe.
struct NoConfigurationFile : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Gives the path, in UTF-8, under which the product finds a file that a person names. Throws
// `NoConfigurationFile`.
using PathFinder = std::function<std::string(const std::string& name)>;

// Does what the arguments ask for, which follow the program's name. Returns the exit status.
int run(const std::vector<std::string>& arguments, const PathFinder& findPath, std::ostream& out,
        std::ostream& err);

}  // namespace config_check
