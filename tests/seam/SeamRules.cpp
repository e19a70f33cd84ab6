#include "tests/seam/SeamRules.h"

#include <algorithm>
#include <map>
#include <regex>
#include <set>

namespace seam {

namespace {

constexpr std::size_t kMaxLines = 500;
constexpr std::size_t kMaxColumns = 100;

constexpr const char* kPlatformDoor = "platform/win32.h";

std::string roomOf(const std::string& name) {
  return name.substr(0, name.find('/'));
}

bool isProductRoom(const std::string& room) {
  return std::find(kProductRooms.begin(), kProductRooms.end(), room) != kProductRooms.end();
}

std::string finding(const SourceFile& file, std::size_t line, const std::string& text) {
  return file.name + ":" + std::to_string(line) + ": " + text;
}

// The one arrow out of VUSL: the log set-up asks the client's install location for its directory.
bool isLogSetup(const std::string& name) {
  return name == "VUSL/Support/LogSetup.h" || name == "VUSL/Support/LogSetup.cpp";
}

bool mayInclude(const SourceFile& file, const std::string& targetRoom) {
  static const std::map<std::string, std::set<std::string>> arrows = {
      {"service", {"service", "task", "client", "VUSL"}},
      {"task", {"task", "VUSL"}},
      {"client", {"client", "VUSL"}},
      {"VUSL", {"VUSL"}},
  };
  return arrows.at(file.room()).contains(targetRoom) ||
         (targetRoom == "client" && isLogSetup(file.name));
}

// Where what stands beside the product may look: whose rooms it may include, the product's or not.
struct Outlook {
  std::set<std::string> rooms;
  bool product = false;
};

const std::map<std::string, Outlook> kOutlooks = {
    {"platform", {{"platform"}, false}},
    {"standins", {{"standins"}, false}},
    {"tools", {{"tools", "platform", "standins"}, true}},
    {"bench", {{"bench", "tools", "platform"}, true}},
};

bool hasCode(const std::string& name) {
  static const std::set<std::string> kinds = {".h",  ".cpp", ".c",  ".s",     ".py",
                                              ".sh", ".pml", ".rc", ".cmake", ".cmd"};
  const std::filesystem::path path(name);
  return kinds.contains(path.extension().string()) || path.filename() == "CMakeLists.txt" ||
         name == "dev";
}

std::size_t columnsOf(const std::string& line) {
  // Bytes that continue a UTF-8 character take no column.
  return static_cast<std::size_t>(std::count_if(line.begin(), line.end(), [](char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U;
  }));
}

bool usesTestFramework(const Include& include) {
  return include.target.starts_with("gtest/") || include.target.starts_with("gmock/") ||
         include.target.starts_with("tests/");
}

// Follows includes in depth; whatever is met again on the way back to the start closes a circle.
class CircleSearch {
 public:
  explicit CircleSearch(const SourceTree& product) : product_(product) {}

  Findings run() {
    for (const auto& [name, file] : product_) {
      visit(name);
    }
    return findings_;
  }

 private:
  void visit(const std::string& name) {
    const auto onWay = std::find(way_.begin(), way_.end(), name);
    if (onWay != way_.end()) {
      std::string circle;
      for (auto step = onWay; step != way_.end(); ++step) {
        circle += *step + " -> ";
      }
      findings_.push_back(name + ":1: included in a circle: " + circle + name);
      return;
    }
    const auto found = product_.find(name);
    if (found == product_.end() || !done_.insert(name).second) {
      return;
    }
    way_.push_back(name);
    for (const Include& include : found->second.includes) {
      visit(include.target);
    }
    way_.pop_back();
  }

  const SourceTree& product_;
  std::vector<std::string> way_;
  std::set<std::string> done_;
  Findings findings_;
};

bool isCompiled(const SourceFile& file, const std::filesystem::path& root,
                const std::vector<std::string>& compiled) {
  return std::binary_search(compiled.begin(), compiled.end(), (root / file.name).generic_string());
}

bool containsTest(const SourceFile& file) {
  static const std::regex pattern(R"(^(TYPED_)?TEST(_F|_P)?\s*\()");
  return std::any_of(file.code.begin(), file.code.end(),
                     [](const std::string& line) { return std::regex_search(line, pattern); });
}

// Whether a build list in the folder of the file names it, outside of comments.
bool isListed(const SourceFile& file, const SourceTree& tree) {
  const std::filesystem::path path(file.name);
  const std::regex pattern("(^|[\\s/(])" + path.stem().string() + "\\.cpp($|[\\s)])");
  const auto names = [&](const std::string& line) {
    return std::regex_search(line.substr(0, line.find('#')), pattern);
  };
  for (const char* listName : {"sources.cmake", "CMakeLists.txt"}) {
    const auto list = tree.find((path.parent_path() / listName).generic_string());
    if (list != tree.end() &&
        std::any_of(list->second.lines.begin(), list->second.lines.end(), names)) {
      return true;
    }
  }
  return false;
}

}  // namespace

Findings forbiddenArrows(const SourceTree& product) {
  Findings findings;
  for (const auto& [name, file] : product) {
    for (const Include& include : file.includes) {
      const std::string targetRoom = roomOf(include.target);
      if (include.angled || targetRoom == "platform") {
        continue;
      }
      if (!isProductRoom(targetRoom)) {
        findings.push_back(finding(file, include.line,
                                   "\"" + include.target +
                                       "\" is not a product file by its path "
                                       "from the root"));
      } else if (!mayInclude(file, targetRoom)) {
        findings.push_back(finding(file, include.line,
                                   file.room() + " may not include \"" + include.target + "\""));
      }
    }
  }
  return findings;
}

Findings otherDoorsToThePlatform(const SourceTree& product) {
  Findings findings;
  for (const auto& [name, file] : product) {
    for (const Include& include : file.includes) {
      const bool systemHeader =
          include.angled && include.target.find_first_of("./") != std::string::npos;
      const bool besideTheDoor =
          roomOf(include.target) == "platform" && include.target != kPlatformDoor;
      if (systemHeader || besideTheDoor) {
        findings.push_back(finding(file, include.line,
                                   "reaches \"" + include.target + "\" past " + kPlatformDoor));
      }
    }
  }
  return findings;
}

Findings forbiddenArrowsBeside(const SourceTree& files) {
  Findings findings;
  for (const auto& [name, file] : files) {
    const Outlook& outlook = kOutlooks.at(file.room());
    for (const Include& include : file.includes) {
      const std::string target = roomOf(include.target);
      const bool isRoom = kOutlooks.contains(target) || isProductRoom(target) || target == "tests";
      const bool isSeen =
          outlook.rooms.contains(target) || (outlook.product && isProductRoom(target));
      if (isRoom && !isSeen) {
        findings.push_back(finding(file, include.line,
                                   file.room() + " may not include \"" + include.target + "\""));
      }
    }
  }
  return findings;
}

Findings windowsHeaderElsewhere(const SourceTree& files) {
  Findings findings;
  for (const auto& [name, file] : files) {
    for (const Include& include : file.includes) {
      std::string target = include.target;
      std::transform(target.begin(), target.end(), target.begin(),
                     [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
      if (file.isSource() && target == "windows.h" && name != kPlatformDoor) {
        findings.push_back(
            finding(file, include.line,
                    std::string("windows.h is included in ") + kPlatformDoor + " only"));
      }
    }
  }
  return findings;
}

Findings circles(const SourceTree& product) {
  return CircleSearch(product).run();
}

Findings foreignFiles(const SourceTree& product) {
  Findings findings;
  for (const auto& [name, file] : product) {
    const std::string filename = std::filesystem::path(name).filename().string();
    const bool buildList = filename == "CMakeLists.txt" || filename.ends_with(".cmake");
    if (!file.isSource() && !buildList) {
      findings.push_back(finding(file, 1, "is neither source nor build list"));
    }
    if (filename.ends_with("Test.cpp") || filename.ends_with("Test.h")) {
      findings.push_back(finding(file, 1, "is a test in a product room"));
    }
    for (const Include& include : file.includes) {
      if (usesTestFramework(include)) {
        findings.push_back(
            finding(file, include.line, "uses the tests' \"" + include.target + "\""));
      }
    }
  }
  return findings;
}

Findings productNotCompiled(const SourceTree& product, const std::filesystem::path& root,
                            const std::vector<std::string>& compiled) {
  Findings findings;
  for (const auto& [name, file] : product) {
    if (name.ends_with(".cpp") && !isCompiled(file, root, compiled)) {
      findings.push_back(finding(file, 1, "is compiled nowhere: it misses in its room's list"));
    }
  }
  return findings;
}

Findings idleTestFiles(const SourceTree& tests, const std::filesystem::path& root,
                       const std::vector<std::string>& compiled) {
  Findings findings;
  for (const auto& [name, file] : tests) {
    if (!name.ends_with("Test.cpp")) {
      continue;
    }
    if (!isListed(file, tests)) {
      findings.push_back(finding(file, 1, "stands in no build list of its folder"));
    } else if (!isCompiled(file, root, compiled)) {
      findings.push_back(
          finding(file, 1, "is compiled nowhere: nothing takes in its folder's list"));
    }
    if (!containsTest(file)) {
      findings.push_back(finding(file, 1, "contains no test"));
    }
  }
  return findings;
}

Findings skippedTests(const SourceTree& tests, const std::set<std::string>& known) {
  static const std::regex pattern(R"(^\s*((if|else)\b.*)?\bGTEST_SKIP\b)");
  Findings findings;
  std::set<std::string> needless = known;
  for (const auto& [name, file] : tests) {
    for (std::size_t index = 0; index < file.code.size(); ++index) {
      if (!std::regex_search(file.code[index], pattern)) {
        continue;
      }
      needless.erase(name);
      if (!known.contains(name)) {
        findings.push_back(finding(file, index + 1, "a test leaves itself out"));
      }
    }
  }
  for (const std::string& name : needless) {
    findings.push_back(name + ": no test leaves itself out");
  }
  return findings;
}

Findings tooLong(const SourceTree& files, const std::set<std::string>& known) {
  Findings findings;
  for (const auto& [name, file] : files) {
    const bool isLong = hasCode(name) && file.lines.size() > kMaxLines;
    if (isLong && !known.contains(name)) {
      findings.push_back(finding(file, kMaxLines + 1,
                                 "the file has " + std::to_string(file.lines.size()) + " lines, " +
                                     std::to_string(kMaxLines) + " are allowed"));
    }
    if (!isLong && known.contains(name)) {
      findings.push_back(finding(file, file.lines.size(), "the file is not too long"));
    }
    for (std::size_t index = 0; index < file.code.size(); ++index) {
      const std::size_t columns = columnsOf(file.lines[index]);
      if (columns > kMaxColumns) {
        findings.push_back(finding(file, index + 1,
                                   "the line has " + std::to_string(columns) + " columns, " +
                                       std::to_string(kMaxColumns) + " are allowed"));
      }
    }
  }
  return findings;
}

}  // namespace seam
