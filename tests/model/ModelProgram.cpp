#include "tests/model/ModelProgram.h"

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <regex>
#include <stdexcept>

namespace handshake {

std::vector<std::string> linesOf(const std::filesystem::path& program, const std::string& options) {
  const std::string command = "cd '" + program.parent_path().string() + "' && ./'" +
                              program.filename().string() + "' " + options;
  std::FILE* const pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) throw std::runtime_error("not started: " + command);
  std::string text;
  std::array<char, 4096> block{};
  for (std::size_t size = 0; (size = fread(block.data(), 1, block.size(), pipe)) > 0;) {
    text.append(block.data(), size);
  }
  const int status = pclose(pipe);
  // The shell tells of a signal, and of a program that is not there, by a status above 125.
  if (!WIFEXITED(status) || WEXITSTATUS(status) > 125) {
    throw std::runtime_error("broke off: " + command + "\n" + text);
  }
  std::vector<std::string> lines;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    lines.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return lines;
}

Search search(const std::filesystem::path& program, const std::string& options) {
  Search result;
  static const std::regex errors("State-vector .*, errors: ([0-9]+)");
  static const std::regex states("^ *([0-9]+) states, stored");
  bool isTold = false;
  bool isCutShort = false;
  for (const std::string& line : linesOf(program, options)) {
    result.printed += line + "\n";
    std::smatch match;
    if (std::regex_search(line, match, errors)) {
      isTold = true;
      result.errors = static_cast<unsigned>(std::stoul(match[1]));
    }
    if (std::regex_search(line, match, states)) {
      result.states = std::stoull(match[1]);
    }
    isCutShort = isCutShort || line.starts_with("error: max search depth") ||
                 line.find("Search not completed") != std::string::npos;
  }
  // A search stops at its first error, and says then that it was not completed.
  result.complete = isTold && (result.errors > 0 || !isCutShort);
  return result;
}

}  // namespace handshake
