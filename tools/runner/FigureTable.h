#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace runner {

// A row of the table of figures that a page has: what was counted, and how many there were.
struct Figure {
  std::string what;
  std::string value;
};

// The page with these figures in place of those that it had. A figure stands in a row
// "| what | value | command |"; other rows stay as they are. Throws std::invalid_argument for a
// figure that has no row: the page would go on telling of another run.
std::string withFigures(const std::string& page, const std::vector<Figure>& figures,
                        const std::string& command);

// The same on a file. Gives what is wrong with it, or nothing.
std::string writeFigures(const std::filesystem::path& file, const std::vector<Figure>& figures,
                         const std::string& command);

// "1 234 567": digits in threes, as on the page.
std::string inThrees(std::uint64_t number);

}  // namespace runner
