#pragma once

#include "tests/seam/SeamRules.h"

// The style that a formatter cannot see, each rule as a function that lists what breaks it.
namespace seam {

// Functions, those of tests among them, have at most 70 lines from their first line to the brace
// that ends them.
Findings longFunctions(const SourceTree& files);

// Where the platform has a function for wide text, that one is called: by no name that ends in the
// A of those for narrow text, and not by the bare name, which stands for either. `declared` are the
// files that declare the platform's functions.
Findings narrowPlatformCalls(const SourceTree& callers, const SourceTree& declared);

// In a header each class, each enumeration and each operation that others can call stands in a
// paragraph that begins with a comment. Not asked of destructors, of what overrides or is defaulted
// or deleted, and of operations that give what their name says in one line.
Findings undocumented(const SourceTree& product);

// No text literal of 8 characters or more stands twice in the product.
Findings textsTwice(const SourceTree& product);

// What a checker is told to pass over, in a source or in the list of its checks (.clang-tidy), has
// its reason beside it: behind it on its line, or in a comment on the line above.
Findings exceptionsWithoutReason(const SourceTree& files);

}  // namespace seam
