#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <variant>
#include <vector>

// What the run tool was asked to do.
struct CommandLine {
  std::optional<std::string> name;
  std::optional<std::filesystem::path> scenario;
  std::optional<std::filesystem::path> keep;
  std::optional<std::uint64_t> seed;
  bool virtualTime = false;
  bool wine = false;
  bool list = false;
  bool verbose = false;
  bool help = false;
};

// Reads the arguments that follow the program's name. Gives what is wrong with them as a sentence
// without its full stop if they make no sense; nothing is guessed.
std::variant<CommandLine, std::string> readCommandLine(const std::vector<std::string>& arguments);

// How the tool is called, with a line end.
extern const char kUsage[];

// What the arguments mean, with a line end. Follows kUsage.
extern const char kHelp[];
