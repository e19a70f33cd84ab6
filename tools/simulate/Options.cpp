#include "tools/simulate/Options.h"

#include <algorithm>
#include <thread>

#include "tools/runner/OptionNumber.h"

namespace simulate {

const char kUsage[] =
    "Usage: simulate [--seeds N] [--first N] [--years Y] [--jobs N] [--verbose]\n"
    "       simulate --print N | --replay FILE\n"
    "       simulate --orders [SCENARIO...] [--pairs N] [--budget N]\n";

const char kHelp[] =
    "\n"
    "Lets random machines live under random orders of threads, in virtual time, and holds each\n"
    "life against what every life promises.\n"
    "\n"
    "  --seeds N      so many seeds; 2000 if not given\n"
    "  --first N      the first of them; 1 if not given\n"
    "  --years Y      so many years of the machine's time in all; 1 if not given\n"
    "  --jobs N       so many lives side by side; as many as there are processors if not given\n"
    "  --verbose      also tell how often each rare situation came\n"
    "  --print N      print what seed N stands for, and run nothing\n"
    "  --replay FILE  run the case that the file describes, and nothing else\n"
    "  --orders       for each scenario: every order of threads that deviates from the plain one\n"
    "                 once or twice, orders by seed, and a stop, a signal of the event and the "
    "end\n"
    "                 of the process at each platform call\n"
    "  --pairs N      at most so many orders with two deviations for each scenario, spread evenly\n"
    "                 over all\n"
    "  --budget N     at most so many lives of each kind for each scenario, spread evenly; if not\n"
    "                 given, 200 by seed, 1000 of each kind in a life that is required to spin, "
    "and\n"
    "                 all others\n"
    "  --figures FILE write the figures into the rows that this page has for them\n"
    "  --help         print this text\n"
    "\n"
    "SIGTERM ends the simulation ahead of its last seed; what was run counts.\n"
    "Exit status: 0 if every promise was kept, 1 if not, 2 if nothing was run.\n";

namespace {

// Takes the value of an option that has one; what is wrong with it, or nothing.
std::string takeValue(const std::string& name, const std::string& value, Options& options) {
  bool isRight = false;
  if (name == "--seeds") {
    isRight = runner::readAboveZero(value, options.seeds);
  } else if (name == "--first") {
    isRight = runner::readAboveZero(value, options.firstSeed);
  } else if (name == "--years") {
    isRight = runner::readAboveZero(value, options.years) && options.years <= 1e6;
  } else if (name == "--jobs") {
    isRight = runner::readAboveZero(value, options.jobs) && options.jobs <= 1024;
  } else if (name == "--budget") {
    std::uint64_t most = 0;
    isRight = runner::readAboveZero(value, most);
    options.bounds = {most, most, most};
  } else if (name == "--pairs") {
    isRight = runner::readAboveZero(value, options.bounds.pairs);
  } else if (name == "--print") {
    isRight = runner::readAboveZero(value, options.firstSeed);
    options.print = true;
  } else if (name == "--figures") {
    options.figures = value;
    isRight = !value.empty();
  } else if (name == "--replay") {
    options.replay = value;
    isRight = !value.empty();
  } else {
    return "no such option: " + name;
  }
  return isRight ? "" : name + " does not take \"" + value + "\"";
}

}  // namespace

std::variant<Options, std::string> readOptions(const std::vector<std::string>& arguments) {
  Options options;
  options.jobs = std::max(1U, std::thread::hardware_concurrency());
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (argument == "--help") {
      options.help = true;
    } else if (argument == "--verbose") {
      options.verbose = true;
    } else if (argument == "--orders") {
      options.orders = true;
    } else if (argument.starts_with("-")) {
      std::string wrong =
          takeValue(argument, i + 1 < arguments.size() ? arguments[i + 1] : "", options);
      if (!wrong.empty()) {
        return wrong;
      }
      ++i;
    } else {
      options.scenarios.push_back(argument);
    }
  }
  if (!options.scenarios.empty() && !options.orders) {
    return "a scenario is named, and --orders is not: " + options.scenarios.front();
  }
  if (!options.scenarios.empty() && !options.figures.empty()) {
    return "the figures are those of all scenarios, and one is named: " + options.scenarios.front();
  }
  return options;
}

}  // namespace simulate
