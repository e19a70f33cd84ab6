#pragma once

// How the stand-in ends when it has done what it was started for, and whether that failed.
// Returns the program's exit code, if it returns.
int endWith(int failed);
