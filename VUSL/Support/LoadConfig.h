#pragma once

#include <string>

#include "VUSL/Support/ConfigMgmt.h"

// Loads the configuration file into `config` and tells the log so. A file that is missing or broken
// leaves `config` as it is, so that every setting falls back to its default; neither stops the
// service.
//
// `path`: the file's full path, in narrow form; the caller forms it.
// `silent`: whether the reading itself is left out of the log.
// Throws `AssertException` if the file vanishes while it is being read, and `std::runtime_error` if
// it shrinks meanwhile or does not fit in memory.
void loadConfig(const std::string& path, bool silent, ConfigMgmt& config);
