#pragma once

#include <stdio.h>

// Opens a file in the folder of this program for appending.
// `argv0`: the name under which the program was started.
// Returns the open file, null on failure.
FILE* openBesideProgram(const char* argv0, const char* fileName);
