#pragma once

#include <cstdint>
#include <string>

// The directories of the client stack that the rest of the program uses.
namespace talsUtils::FileUtils {

// Finds a directory of the installation.
//
// An environment variable overrides it if it is set and not empty. Otherwise the log directory is
// "Orvix\tALS Client\log" below the user's local application data (below its low-integrity twin in
// a process of low integrity), and the configuration directory is the sibling "conf" of the
// install directory.
//
// `type`: 0 the log directory, 1 the configuration directory.
// `reserved`: has no effect.
// Returns the directory in narrow form, ending in a backslash.
// Throws Exception for any other type, for a known folder that cannot be found or has no narrow
// form, and for a stack that is not installed or whose install directory cannot be read.
std::string getTalsDirectory(std::uint32_t type, std::uint32_t reserved);

}  // namespace talsUtils::FileUtils
