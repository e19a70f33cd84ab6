#pragma once

#include <filesystem>
#include <string>

// The checker of the configuration file, as a person calls it from a shell.
struct CheckerRun {
  int status = -1;  // of the script
  std::string out;
  std::string err;
};

// Runs a shell's script in a folder; the checker is found there by its name. What the checker
// leaves in the folder for temporary files fails the test.
CheckerRun runCheckerScript(const std::filesystem::path& folder, const std::string& script);
