#include "tools/CommandLine.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <string_view>

const char kUsage[] =
    "Usage: run [NAME] [--list] [--virtual] [--seed N] [--keep DIR] [--verbose]\n"
    "           [--wine] [--scenario FILE] [--help]\n";

const char kHelp[] =
    "\n"
    "Lets a modelled machine live through a scenario and prints what happens there.\n"
    "\n"
    "  NAME             the scenario's name; first-boot if none is given\n"
    "  --list           list the scenarios with a sentence each, and check all of them\n"
    "  --virtual        in virtual time: waits take no time, a year takes milliseconds;\n"
    "                   without it the run takes as long as on a real machine\n"
    "  --seed N         which of the possible orders of threads to take; 0 is the plain one,\n"
    "                   the same number gives the same run; implies --virtual\n"
    "  --wine           the genuine Windows program, under Wine, in real time\n"
    "  --keep DIR       leave the machine's drive in DIR, which must be empty or not be there\n"
    "  --verbose        print the named imbalances, the controls that are accepted, the hash of\n"
    "                   all steps and the memory too\n"
    "  --scenario FILE  run the scenario in FILE\n"
    "  --help           print this text\n"
    "\n"
    "Exit status: 0 if the run ended as its scenario says, 1 if not, 2 if nothing was run.\n";

namespace {

// Walks through the arguments; `fault` is set by the first one that makes no sense.
class Reader {
 public:
  explicit Reader(const std::vector<std::string>& arguments) : arguments_(arguments) {}

  std::variant<CommandLine, std::string> read() {
    while (fault_.empty() && next_ < arguments_.size()) {
      readOne(arguments_[next_++]);
    }
    if (fault_.empty()) {
      checkTogether();
    }
    if (!fault_.empty()) {
      return fault_;
    }
    return line_;
  }

 private:
  void readOne(const std::string& argument) {
    for (const Flag& flag : kFlags) {
      if (argument == flag.name) {
        line_.*flag.field = true;
        return;
      }
    }
    if (argument == "--seed") {
      readSeed(argument);
    } else if (argument == "--keep") {
      readPath(argument, line_.keep);
    } else if (argument == "--scenario") {
      readPath(argument, line_.scenario);
    } else if (argument.starts_with('-')) {
      fault_ = "there is no option " + argument;
    } else if (line_.name) {
      fault_ = "only one scenario can be run: " + *line_.name + " or " + argument;
    } else if (argument.empty()) {
      fault_ = "the scenario's name is empty";
    } else {
      line_.name = argument;
    }
  }

  void readSeed(const std::string& option) {
    const std::string* text = takeValue(option, line_.seed.has_value());
    if (text == nullptr) {
      return;
    }
    std::uint64_t seed = 0;
    const char* end = text->data() + text->size();
    const auto [stopped, error] = std::from_chars(text->data(), end, seed);
    if (error != std::errc{} || stopped != end) {
      fault_ = option + " needs a number from 0 to 18446744073709551615, not \"" + *text + "\"";
      return;
    }
    line_.seed = seed;
    line_.virtualTime = true;
  }

  void readPath(const std::string& option, std::optional<std::filesystem::path>& path) {
    if (const std::string* text = takeValue(option, path.has_value())) {
      path = *text;
    }
  }

  // The value that follows an option, or null and the fault if there is none.
  const std::string* takeValue(const std::string& option, bool given) {
    if (given) {
      fault_ = option + " is given twice";
      return nullptr;
    }
    if (next_ == arguments_.size() || arguments_[next_].empty() ||
        arguments_[next_].starts_with("--")) {
      fault_ = option + " needs a value";
      return nullptr;
    }
    return &arguments_[next_++];
  }

  void checkTogether() {
    if (line_.name && line_.scenario) {
      fault_ = "only one scenario can be run: " + *line_.name + " or " + line_.scenario->string();
    } else if (line_.wine && line_.virtualTime) {
      fault_ = "under Wine there is no virtual time";
    } else if (line_.list &&
               (line_.name || line_.scenario || line_.keep || line_.virtualTime || line_.wine)) {
      fault_ = "--list runs nothing, so it cannot be combined with what belongs to a run";
    }
  }

  struct Flag {
    std::string_view name;
    bool CommandLine::*field;
  };
  static constexpr std::array kFlags = {
      Flag{"--list", &CommandLine::list},       Flag{"--virtual", &CommandLine::virtualTime},
      Flag{"--verbose", &CommandLine::verbose}, Flag{"--wine", &CommandLine::wine},
      Flag{"--help", &CommandLine::help},
  };

  const std::vector<std::string>& arguments_;
  std::size_t next_ = 0;
  CommandLine line_;
  std::string fault_;
};

}  // namespace

std::variant<CommandLine, std::string> readCommandLine(const std::vector<std::string>& arguments) {
  return Reader(arguments).read();
}
