#pragma once

namespace wine {

// Lets the program's calls of boundary descriptors and private namespaces, which the platform
// lacks, and those about the names of privileges, of which it lacks some, reach stand-ins: their
// entries in the program's import table are replaced. Called once, after the imports were bound and
// before any code of the program runs.
void replaceImports();

}  // namespace wine
