// The checker over the model of Windows: the person's files are linked onto the drive of a machine
// that lasts as long as the program.

#include <filesystem>
#include <iostream>
#include <string>
#include <system_error>
#include <vector>

#include "platform/host/Machine.h"
#include "tools/config-check/ConfigCheck.h"

namespace {

// Folders of the person's system that are closed to him count as missing, as on Windows.
std::string linkOntoDrive(const std::string& name) {
  namespace fs = std::filesystem;
  static int count = 0;
  std::error_code ignored;
  const fs::file_status status = fs::status(name, ignored);
  if (fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status)) {
    throw config_check::NoConfigurationFile(name + " is no regular file");
  }
  const std::string path = "C:\\checked\\" + std::to_string(++count) + ".conf";
  host::machine().drive.createFolder(L"C:\\checked");
  if (fs::exists(status)) {
    host::machine().drive.linkIn(name, host::toWide(path));
  }
  return path;
}

}  // namespace

int main(int argc, char** argv) {
  return config_check::run(std::vector<std::string>(argv + 1, argv + argc), linkOntoDrive,
                           std::cout, std::cerr);
}
