// Loading a configuration file beside a general parser of such files that fills an ordered map:
// the time, how it grows with the file, and the memory that it takes.

#include <benchmark/benchmark.h>
#include <ini.h>
#include <malloc.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "VUSL/Support/ConfigMgmt.h"
#include "bench/ConfigFiles.h"
#include "bench/Ratios.h"

namespace {

constexpr uint32_t kFew = 10;
constexpr uint32_t kMany = 10'000;
constexpr uint32_t kMost = 1'000'000;
// A load of a million lines takes so long that the rounds of the others would take minutes.
constexpr int kRoundsOfLong = 15;

using SettingMap = std::map<std::string, std::string>;

const std::string& fileOf(uint32_t lines) {
  static std::map<uint32_t, std::string> paths;
  std::string& path = paths[lines];
  if (path.empty()) path = configFiles().make("load" + std::to_string(lines) + ".conf", lines);
  return path;
}

// A load that lost lines would be a fast one.
bool isWhole(IConfig& config, uint32_t lines) {
  for (const uint32_t index : {0U, lines / 2, lines - 1}) {
    std::string value;
    if (!config.getString(ConfigFiles::key(index), &value, nullptr, nullptr) ||
        value != ConfigFiles::value(index)) {
      return false;
    }
  }
  return true;
}

void load(benchmark::State& state, uint32_t lines) {
  const std::string& path = fileOf(lines);
  for (auto unused : state) {
    ConfigMgmt config(path, true);
    if (!isWhole(config, lines)) state.SkipWithError("not all of the file was loaded");
  }
}

// The check for a key that is there twice is the peer's too.
int take(void* user, const char*, const char* name, const char* value) {
  return static_cast<SettingMap*>(user)->emplace(name, value).second ? 1 : 0;
}

void inih(benchmark::State& state, uint32_t lines) {
  const std::string& path = fileOf(lines);
  for (auto unused : state) {
    SettingMap settings;
    if (ini_parse(path.c_str(), take, &settings) != 0 || settings.size() != lines) {
      state.SkipWithError("not all of the file was loaded");
    }
  }
}

bool addSize(uint32_t lines, double limit) {
  const std::string count = std::to_string(lines);
  const int rounds = lines == kMost ? kRoundsOfLong : 0;
  const auto add = [&](const std::string& name, void (*run)(benchmark::State&, uint32_t)) {
    auto* const added = benchmark::RegisterBenchmark(
        (name + count).c_str(), [lines, run](benchmark::State& state) { run(state, lines); });
    if (rounds > 0) added->Repetitions(rounds);
  };
  add("load", load);
  add("inih", inih);
  return ratios::addRow({"load of " + count + " lines : inih into a std::map", "load" + count,
                         "inih" + count, limit});
}

// A figure of this process in KiB, as the system keeps it.
long ownKiB(const std::string& figure) {
  std::ifstream status("/proc/self/status");
  std::string word;
  long amount = 0;
  while (status >> word) {
    if (word == figure + ":" && status >> amount) return amount;
  }
  return 0;
}

// Loads in a child, so that nothing that was done before is counted.
double peakKiBOfLoad(const std::string& path) {
  malloc_trim(0);
  int ends[2];
  if (pipe(ends) != 0) return 0;
  const pid_t child = fork();
  if (child == 0) {
    const long before = ownKiB("VmRSS");
    ConfigMgmt config(path, true);
    const long grown = isWhole(config, kMost) ? ownKiB("VmHWM") - before : 0;
    // Nothing of the parent's is to end here, its folder of files least of all.
    _exit(write(ends[1], &grown, sizeof(grown)) == sizeof(grown) ? 0 : 1);
  }
  close(ends[1]);
  long grown = 0;
  const bool told = child > 0 && read(ends[0], &grown, sizeof(grown)) == sizeof(grown);
  close(ends[0]);
  if (child > 0) waitpid(child, nullptr, 0);
  return told ? static_cast<double>(grown) : 0;
}

ratios::Figures memory() {
  constexpr double kBytesPerKiB = 1024;
  const std::string& path = fileOf(kMost);
  return {peakKiBOfLoad(path),
          static_cast<double>(std::filesystem::file_size(path)) / kBytesPerKiB};
}

const bool kLoadOfFew = addSize(kFew, 3.0);
const bool kLoadOfMany = addSize(kMany, 1.0);
const bool kLoadOfMost = addSize(kMost, 1.0);
const bool kGrowth =
    ratios::addRow({"load of 1000000 lines : 100 times 10000 lines", "load" + std::to_string(kMost),
                    "load" + std::to_string(kMany), 4.0, kMost / kMany});
const bool kMemory =
    ratios::addMeasure({"KiB at the peak of loading 1000000 lines : its file", memory, 8.0});

}  // namespace
