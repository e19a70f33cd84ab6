#pragma once

#include <string>

#include "platform/win32.h"

// What the steps that build the task's definition have in common. For the files of this room only.

// Whether `result` is a failure. If it is, writes the DEBUG line `text` with the result, releases
// `s_rootFolder` and then `s_taskDefinition`, whose pointers stay as they are, and closes COM.
bool StepFailed(const char* text, HRESULT result);

// The path of the program in `directory` as an action stores it: in double quotes.
std::wstring QuotedProgramPath(const std::wstring& directory);
