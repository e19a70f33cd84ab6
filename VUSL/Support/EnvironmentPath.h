#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

// Reads the environment variable that moves one path of the installation. This is the one way in
// which the environment reaches the system.
// `pathType`: which path, one of `settings::kPathType...`; an unknown one has no variable.
// `value`: receives the variable's text; empty if it is not set or set to nothing.
// Returns the text's length in bytes, 0 for none.
std::size_t getEnvironmentPath(int32_t pathType, std::string* value);
