#pragma once

#include <filesystem>
#include <set>
#include <span>
#include <string_view>

namespace sweep {

// Which of these platform calls the product's sources below `root` make, by the names in them.
// A method is found by its own name, whatever its interface.
//
// Throws std::filesystem::filesystem_error if a room of the product cannot be read.
std::set<std::string_view> productCalls(const std::filesystem::path& root,
                                        std::span<const std::string_view> calls);

}  // namespace sweep
