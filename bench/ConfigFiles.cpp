#include "bench/ConfigFiles.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <numeric>
#include <random>
#include <stdexcept>
#include <vector>

namespace {

constexpr uint32_t kFirstValue = 1'000'000;

std::string folderOfProcess() {
  return (std::filesystem::temp_directory_path() / ("config_bench-" + std::to_string(getpid())))
      .string();
}

}  // namespace

ConfigFiles::ConfigFiles() : folder(folderOfProcess()) {
  std::filesystem::remove_all(folder);
  std::filesystem::create_directories(folder);
}

ConfigFiles::~ConfigFiles() {
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
}

std::string ConfigFiles::make(const std::string& name, uint32_t count,
                              const std::string& heading) const {
  std::vector<uint32_t> order(count);
  std::iota(order.begin(), order.end(), 0);
  std::shuffle(order.begin(), order.end(), std::mt19937(count));
  const std::string path = folder + "/" + name;
  std::ofstream file(path);
  file << heading;
  for (const uint32_t index : order) file << key(index) << " = \"" << value(index) << "\"\n";
  file.close();
  if (!file) throw std::runtime_error("cannot write " + path);
  return path;
}

std::string ConfigFiles::key(uint32_t index) {
  char text[sizeof("Setting0000000000")];
  std::snprintf(text, sizeof(text), "Setting%07u", static_cast<unsigned>(index));
  return text;
}

std::string ConfigFiles::value(uint32_t index) {
  return std::to_string(kFirstValue + index);
}

const ConfigFiles& configFiles() {
  static const ConfigFiles files;
  return files;
}
