#pragma once

#include <filesystem>
#include <set>
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

// What stands beside the product: platform and standins know neither the product nor what is built
// upon it, tools know neither tests nor benchmarks, and benchmarks no tests.
Findings forbiddenArrowsBeside(const SourceTree& files);

// <windows.h> is included in platform/win32.h and nowhere else among the given files of C++.
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

// Whether a test leaves itself out is for it alone to say, so only the files named in `known` may
// do that; one that is named and has no such test is told too.
Findings skippedTests(const SourceTree& tests, const std::set<std::string>& known);

// Files with code in them have at most 500 lines, but for those named in `known`, and those of C++
// and C at most 100 columns. One that is named and needs not to be is told too.
Findings tooLong(const SourceTree& files, const std::set<std::string>& known);

}  // namespace seam
