#pragma once

#include <cstddef>
#include <string_view>

// How many letters have to be put in, taken out or replaced to make one text of the other.
std::size_t editDistance(std::string_view left, std::string_view right);
