#include "tools/config-check/Arguments.h"

#include <cstddef>

#include "VUSL/Support/Settings.h"

namespace config_check {

std::variant<Arguments, std::string> readArguments(const std::vector<std::string>& arguments) {
  Arguments read;
  bool hasFile = false;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string& argument = arguments[i];
    if (argument == "--help") {
      read.help = true;
    } else if (argument == "--moved") {
      if (read.moved) {
        return "--moved is given twice";
      }
      ++i;
      if (i == arguments.size() || arguments[i].empty()) {
        return "--moved needs a file";
      }
      read.moved = arguments[i];
    } else if (argument.starts_with('-')) {
      return "there is no option " + argument;
    } else if (argument.empty()) {
      return "the file's name is empty";
    } else if (hasFile) {
      return "only one file can be checked: " + read.file + " or " + argument;
    } else {
      read.file = argument;
      hasFile = true;
    }
  }
  if (!hasFile && !read.help) {
    return "no file is given";
  }
  return read;
}

std::string usageText() {
  return "Usage: config-check FILE [--moved FILE]\n"
         "       config-check --help\n";
}

std::string helpText() {
  return std::string(
             "\n"
             "Says what the service sees in its configuration file, line by line, and which\n"
             "settings are then in force. Changes nothing.\n"
             "\n"
             "  FILE          the file of the configuration's directory\n"
             "  --moved FILE  the file that ") +
         settings::kServiceConfVariable +
         "\n"
         "                names: the service then reads its wait from this one, and the settings\n"
         "                of its log from the other\n"
         "  --help        print this text\n"
         "\n"
         "Exit status: 0 nothing to complain about, 1 warnings, 2 the service would call a file\n"
         "corrupted, 64 wrong arguments, 70 the checker itself failed, 74 nothing can be "
         "written.\n";
}

}  // namespace config_check
