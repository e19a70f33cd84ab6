#include "tests/seam/SourceTree.h"

#include <algorithm>
#include <fstream>
#include <regex>
#include <sstream>
#include <stdexcept>

namespace seam {

namespace {

std::string readFile(const std::filesystem::path& path) {
  std::ifstream stream(path, std::ios::binary);
  if (!stream) {
    throw std::runtime_error("cannot read " + path.string());
  }
  std::ostringstream text;
  text << stream.rdbuf();
  return text.str();
}

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

std::vector<Include> includesOf(const std::vector<std::string>& code) {
  static const std::regex pattern(R"re(^\s*#\s*include\s*(?:<([^>]+)>|"([^"]+)"))re");
  std::vector<Include> includes;
  for (std::size_t index = 0; index < code.size(); ++index) {
    std::smatch match;
    if (std::regex_search(code[index], match, pattern)) {
      const bool angled = match[1].matched;
      includes.push_back({match[angled ? 1 : 2].str(), angled, index + 1});
    }
  }
  return includes;
}

// The end of the text literal that starts at `start`: just behind its closing quote.
std::size_t endOfLiteral(const std::string& text, std::size_t start) {
  const bool raw = text[start] == '"' && start > 0 && text[start - 1] == 'R';
  if (raw) {
    const std::size_t open = text.find('(', start);
    if (open == std::string::npos) {
      return text.size();
    }
    const std::string closing = ")" + text.substr(start + 1, open - start - 1) + "\"";
    const std::size_t close = text.find(closing, open);
    return close == std::string::npos ? text.size() : close + closing.size();
  }
  for (std::size_t at = start + 1; at < text.size(); ++at) {
    if (text[at] == '\\') {
      ++at;
    } else if (text[at] == text[start] || text[at] == '\n') {
      return at + 1;
    }
  }
  return text.size();
}

SourceFile readSource(const std::filesystem::path& root, const std::string& name) {
  SourceFile file;
  file.name = name;
  const std::string text = readFile(root / name);
  file.lines = linesOf(text);
  if (file.isSource() || name.ends_with(".c")) {
    file.code = linesOf(withoutComments(text));
    file.includes = includesOf(file.code);
  }
  return file;
}

// An apostrophe inside a number separates digits and starts nothing.
bool separatesDigits(const std::string& text, std::size_t at) {
  return text[at] == '\'' && at > 0 && std::isxdigit(static_cast<unsigned char>(text[at - 1])) != 0;
}

}  // namespace

std::string SourceFile::room() const {
  return name.substr(0, name.find('/'));
}

bool SourceFile::isSource() const {
  return name.ends_with(".h") || name.ends_with(".cpp");
}

std::string withoutComments(const std::string& text) {
  std::string code;
  std::size_t at = 0;
  while (at < text.size()) {
    if (text.compare(at, 2, "//") == 0) {
      at = std::min(text.find('\n', at), text.size());
    } else if (text.compare(at, 2, "/*") == 0) {
      const std::size_t close = text.find("*/", at + 2);
      const std::size_t end = close == std::string::npos ? text.size() : close + 2;
      code.append(static_cast<std::size_t>(std::count(text.begin() + static_cast<long>(at),
                                                      text.begin() + static_cast<long>(end), '\n')),
                  '\n');
      at = end;
    } else if ((text[at] == '"' || text[at] == '\'') && !separatesDigits(text, at)) {
      const std::size_t end = endOfLiteral(text, at);
      code.append(text, at, end - at);
      at = end;
    } else {
      code += text[at++];
    }
  }
  return code;
}

SourceTree readTree(const std::filesystem::path& root, const std::vector<std::string>& names) {
  SourceTree tree;
  for (const std::string& name : names) {
    if (std::filesystem::is_regular_file(root / name)) {
      tree.emplace(name, readSource(root, name));
    }
    if (!std::filesystem::is_directory(root / name)) {
      continue;
    }
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root / name)) {
      if (entry.is_regular_file()) {
        const std::string inside = entry.path().lexically_relative(root).generic_string();
        tree.emplace(inside, readSource(root, inside));
      }
    }
  }
  return tree;
}

std::vector<std::string> compiledFiles(const std::filesystem::path& compileDatabase) {
  static const std::regex pattern(R"re("file"\s*:\s*"([^"]+)")re");
  const std::string text = readFile(compileDatabase);
  std::vector<std::string> files;
  for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match) {
    files.push_back((*match)[1].str());
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace seam
