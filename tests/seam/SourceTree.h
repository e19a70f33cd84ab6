#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace seam {

// One `#include` of a file.
struct Include {
  std::string target;  // as it stands between the quotes or angle brackets
  bool angled = false;
  std::size_t line = 0;  // from 1
};

// A file of the checkout. `name` is its path from the root, with forward slashes.
struct SourceFile {
  std::string name;
  std::vector<std::string> lines;  // as they are written
  std::vector<std::string> code;   // of C++ and C, the same lines without their comments
  std::vector<Include> includes;   // those in code, not those in comments

  // The first component of the name: "service", "VUSL", "platform", ...
  std::string room() const;
  bool isSource() const;  // .h or .cpp
};

// The files below some folders of a checkout, by name.
using SourceTree = std::map<std::string, SourceFile>;

// Reads all files below the given folders of `root`, and those that are named themselves; what is
// missing counts as empty.
SourceTree readTree(const std::filesystem::path& root, const std::vector<std::string>& names);

// Replaces comments by nothing; text literals are kept, and what looks like a comment in them too.
// Lines stay lines.
std::string withoutComments(const std::string& text);

// The paths of all sources that a compile database names, sorted. Throws std::runtime_error if
// the file cannot be read.
std::vector<std::string> compiledFiles(const std::filesystem::path& compileDatabase);

}  // namespace seam
