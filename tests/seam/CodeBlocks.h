#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tests/seam/SourceTree.h"

namespace seam {

// What stands between two of the characters ; { } at a place where functions can be declared: in no
// block at all, in namespaces and in classes.
struct Declaration {
  enum class Kind { kFunction, kClass, kOther };
  Kind kind = Kind::kOther;
  std::string text;           // white space made one space, literals emptied
  std::size_t firstLine = 0;  // from 1
  std::size_t lastLine = 0;   // of the declaration; of the body that follows, if one does
  bool hasBody = false;
  bool isPublic = true;  // in no class, or in the public part of one
};

// The declarations of a file, in its order. Made for the formatted sources of this checkout and not
// for anything that the language allows.
std::vector<Declaration> declarationsOf(const SourceFile& file);

}  // namespace seam
