#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tests/seam/SourceTree.h"

// The rules of who may know whom, each as a function that lists what breaks it: one line for each
// finding, "service/Foo.cpp:12: <what is wrong>", in the order of the file names. Empty: all well.
namespace seam {

using Findings = std::vector<std::string>;

// The folders that hold the product.
inline const std::vector<std::string> kProductRooms = {"VUSL", "client", "service", "task"};

// service may include service, task, client and VUSL; task and client may include themselves and
// VUSL; VUSL may include itself, and its log set-up also client. Product files are included by
// their path from the root.
Findings forbiddenArrows(const SourceTree& product);

// The product reaches the platform through platform/win32.h alone: no other header below
// platform/, and no header of a system (anything in angle brackets that is not one of the C++
// standard library's, which have names without dot and slash).
Findings otherDoorsToThePlatform(const SourceTree& product);

// <windows.h> is included in platform/win32.h and nowhere else among the given files.
Findings windowsHeaderElsewhere(const SourceTree& files);

// No two product files include each other in a circle. Each circle is told once.
Findings circles(const SourceTree& product);

// Product rooms hold headers, sources and build lists; no test stands there or is used there.
Findings foreignFiles(const SourceTree& product);

// Every source of the product is compiled. `compiled` are paths from a compile database.
Findings productNotCompiled(const SourceTree& product, const std::filesystem::path& root,
                            const std::vector<std::string>& compiled);

// Every file below tests/ that is named ...Test.cpp stands in the sources.cmake or CMakeLists.txt
// of its folder, is compiled, and contains at least one test.
Findings idleTestFiles(const SourceTree& tests, const std::filesystem::path& root,
                       const std::vector<std::string>& compiled);

// Product files have at most 500 lines of at most 100 columns.
Findings tooLong(const SourceTree& product);

}  // namespace seam
