#include "tools/runner/FigureTable.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace runner {
namespace {

void putFigure(std::string& page, const Figure& figure, const std::string& command) {
  const std::string head = "\n| " + figure.what + " | ";
  const std::size_t row = page.find(head);
  if (row == std::string::npos) {
    throw std::invalid_argument("there is no row for \"" + figure.what + "\"");
  }
  const std::size_t begin = row + head.size();
  const std::size_t end = std::min(page.find('\n', begin), page.size());
  page.replace(begin, end - begin, figure.value + " | `" + command + "` |");
}

}  // namespace

std::string withFigures(const std::string& page, const std::vector<Figure>& figures,
                        const std::string& command) {
  std::string changed = page;
  for (const Figure& figure : figures) {
    putFigure(changed, figure, command);
  }
  return changed;
}

std::string writeFigures(const std::filesystem::path& file, const std::vector<Figure>& figures,
                         const std::string& command) {
  std::ifstream page(file, std::ios::binary);
  std::ostringstream text;
  text << page.rdbuf();
  if (!page) {
    return file.string() + " cannot be read";
  }
  std::string changed;
  try {
    changed = withFigures(text.str(), figures, command);
  } catch (const std::invalid_argument& error) {
    return file.string() + ": " + error.what();
  }
  std::ofstream out(file, std::ios::binary);
  out << changed << std::flush;
  return out ? "" : file.string() + " cannot be written";
}

std::string inThrees(std::uint64_t number) {
  std::string digits = std::to_string(number);
  for (std::size_t at = digits.size(); at > 3;) {
    at -= 3;
    digits.insert(at, 1, ' ');
  }
  return digits;
}

}  // namespace runner
