#pragma once

#include "platform/win32.h"

namespace wine {

// Lets the program's calls of one imported function reach a stand-in of the same shape. Gives where
// they went before, or 0 if the program imports none of that name. For the thread that loads the
// program's libraries alone.
ULONG_PTR replaceImport(const char* name, ULONG_PTR standIn);

// Lets the program's calls of boundary descriptors and private namespaces, which the platform
// lacks, and those about the names of privileges, of which it lacks some, reach stand-ins: their
// entries in the program's import table are replaced. Called once, after the imports were bound and
// before any code of the program runs.
void replaceImports();

}  // namespace wine
