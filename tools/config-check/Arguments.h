#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace config_check {

// What the checker was asked to do.
struct Arguments {
  std::string file;                  // empty if only help is wanted
  std::optional<std::string> moved;  // the file that the variable names
  bool help = false;
};

// Reads the arguments that follow the program's name. Gives what is wrong with them as a sentence
// without its full stop if they make no sense.
std::variant<Arguments, std::string> readArguments(const std::vector<std::string>& arguments);

// How the checker is called, with a line end.
std::string usageText();

// What the arguments mean, with a line end. Follows the usage.
std::string helpText();

}  // namespace config_check
