// Reading settings out of a store beside bare look-ups, and saving one that has changed beside a
// general library for such files.

#include <benchmark/benchmark.h>
#include <glib.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "VUSL/Support/ConfigMgmt.h"
#include "bench/ConfigFiles.h"
#include "bench/Ratios.h"

namespace {

constexpr uint32_t kLines = 10'000;
constexpr uint32_t kReads = 4;
constexpr char kGroup[] = "settings";
constexpr int kDecimal = 10;

// Keys in an order that is drawn, so that both sides find the same ones near or far.
const std::vector<std::string>& drawnKeys() {
  static const std::vector<std::string> all = [] {
    constexpr uint32_t kCount = 1024;
    std::mt19937 random(kCount);
    std::vector<std::string> keys;
    for (uint32_t i = 0; i < kCount; ++i)
      keys.push_back(ConfigFiles::key(static_cast<uint32_t>(random() % kLines)));
    return keys;
  }();
  return all;
}

void fourReads(benchmark::State& state) {
  ConfigMgmt config(configFiles().make("reads.conf", kLines), true);
  const std::vector<std::string>& keys = drawnKeys();
  std::size_t next = 0;
  for (auto unused : state) {
    std::string text;
    int32_t number = 0;
    long longNumber = 0;
    int32_t bounded = 0;
    const bool read = config.getString(keys[next], &text, nullptr, nullptr) &&
                      config.getInt(keys[next + 1], &number, nullptr, nullptr) &&
                      config.getLong(keys[next + 2], &longNumber, nullptr, nullptr) &&
                      config.getIntInRange(keys[next + 3], &bounded, 0, INT32_MAX, nullptr);
    if (!read) state.SkipWithError("a setting is missing");
    benchmark::DoNotOptimize(text.data());
    benchmark::DoNotOptimize(number + longNumber + bounded);
    next = (next + kReads) % keys.size();
  }
}

void fourLookUps(benchmark::State& state) {
  std::map<std::string, std::string> settings;
  for (uint32_t i = 0; i < kLines; ++i) settings[ConfigFiles::key(i)] = ConfigFiles::value(i);
  const std::vector<std::string>& keys = drawnKeys();
  std::size_t next = 0;
  for (auto unused : state) {
    std::string text = settings.find(keys[next])->second;
    long sum = 0;
    for (uint32_t i = 1; i < kReads; ++i) {
      sum += std::strtol(settings.find(keys[next + i])->second.c_str(), nullptr, kDecimal);
    }
    benchmark::DoNotOptimize(text.data());
    benchmark::DoNotOptimize(sum);
    next = (next + kReads) % keys.size();
  }
}

// The value that changes, another one each time.
std::string changedValue(benchmark::IterationCount round) {
  return round % 2 == 0 ? "1" : "2";
}

void save(benchmark::State& state) {
  ConfigMgmt config(configFiles().make("ours.conf", kLines), true);
  const std::string key = ConfigFiles::key(kLines / 2);
  benchmark::IterationCount round = 0;
  for (auto unused : state) {
    config.setSetting(key, changedValue(round++));
    if (!config.saveSettings()) state.SkipWithError("the save failed");
  }
}

using KeyFile = std::unique_ptr<GKeyFile, decltype(&g_key_file_unref)>;

KeyFile loadKeyFile(const std::string& path) {
  KeyFile file(g_key_file_new(), g_key_file_unref);
  if (!g_key_file_load_from_file(file.get(), path.c_str(), G_KEY_FILE_KEEP_COMMENTS, nullptr)) {
    file.reset();
  }
  return file;
}

// Writes as our save does: beside the file, which then becomes the backup, and nothing is flushed.
// The library's own way of writing waits for the drive.
bool saveKeyFile(GKeyFile* file, const std::string& path) {
  gsize size = 0;
  const std::unique_ptr<gchar, decltype(&g_free)> text(g_key_file_to_data(file, &size, nullptr),
                                                       g_free);
  const std::string newName = path + ".new";
  const std::string backupName = path + ".bak";
  std::FILE* const target = std::fopen(newName.c_str(), "w");
  if (target == nullptr) return false;
  const bool written = std::fwrite(text.get(), 1, size, target) == size;
  if (std::fclose(target) != 0 || !written) return false;
  std::remove(backupName.c_str());
  return std::rename(path.c_str(), backupName.c_str()) == 0 &&
         std::rename(newName.c_str(), path.c_str()) == 0;
}

// A save of ours takes what stands in the file now, so the whole of the peer's is a load as well.
void saveKeyFiles(benchmark::State& state, bool loadsEachTime) {
  const std::string heading = "[" + std::string(kGroup) + "]\n";
  const std::string path = configFiles().make("peer.conf", kLines, heading);
  const std::string key = ConfigFiles::key(kLines / 2);
  KeyFile file = loadKeyFile(path);
  benchmark::IterationCount round = 0;
  for (auto unused : state) {
    if (loadsEachTime) file = loadKeyFile(path);
    if (file == nullptr) {
      state.SkipWithError("the file was not loaded");
      return;
    }
    g_key_file_set_string(file.get(), kGroup, key.c_str(), changedValue(round++).c_str());
    if (!saveKeyFile(file.get(), path)) state.SkipWithError("the save failed");
  }
}

void loadAndSaveKeyFile(benchmark::State& state) {
  saveKeyFiles(state, true);
}

void saveLoadedKeyFile(benchmark::State& state) {
  saveKeyFiles(state, false);
}

BENCHMARK(fourReads);
BENCHMARK(fourLookUps);
BENCHMARK(save);
BENCHMARK(loadAndSaveKeyFile);
BENCHMARK(saveLoadedKeyFile);

const bool kRead = ratios::addRow(
    {"four typed reads of 10000 : std::map and strtol", "fourReads", "fourLookUps", 2.0});
const bool kSave = ratios::addRow(
    {"save of 10000 lines : GKeyFile load and save", "save", "loadAndSaveKeyFile", 1.0});
const bool kSaveOnly =
    ratios::addRow({"save of 10000 lines : GKeyFile save alone", "save", "saveLoadedKeyFile", 0});

}  // namespace
