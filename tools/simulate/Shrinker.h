#pragma once

#include <functional>
#include <string>

namespace simulate {

// Makes a text that fails shorter for as long as it still fails: lines are left out, many at a time
// at first, then times and numbers in those that are left are made plain ones. `fails` is asked
// about whole texts, at most `mostTries` times; a text that means nothing does not fail. Gives the
// shortest text that was found, the one given if none was.
std::string shrunk(const std::string& text, const std::function<bool(const std::string&)>& fails,
                   unsigned mostTries = 2'000);

}  // namespace simulate
