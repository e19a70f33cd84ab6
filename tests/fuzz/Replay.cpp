// Gives kept inputs to the parsers once more, and changed copies of them: what any compiler builds
// and any machine runs. Usage: fuzz_replay TARGET FOLDER [CHANGES]

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "tests/fuzz/Fuzz.h"

namespace {

namespace fs = std::filesystem;

constexpr std::size_t kLongest = 4096;

std::vector<std::string> inputsIn(const fs::path& folder) {
  std::vector<fs::path> files;
  for (const auto& entry : fs::directory_iterator(folder)) {
    files.push_back(entry.path());
  }
  std::sort(files.begin(), files.end());
  std::vector<std::string> inputs;
  for (const fs::path& file : files) {
    std::ifstream stream(file, std::ios::binary);
    inputs.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
  }
  return inputs;
}

// A copy with up to four changes, each at a place of its own: a byte, a piece that goes, a piece
// that comes twice, or one of another input. The generator's numbers are the same everywhere; the
// standard distributions are not, and are not used.
std::string changed(const std::vector<std::string>& inputs, std::mt19937& numbers) {
  const auto below = [&](std::size_t limit) { return limit == 0 ? 0 : numbers() % limit; };
  std::string input = inputs[below(inputs.size())];
  for (std::size_t changes = 1 + below(4); changes > 0; --changes) {
    const std::size_t place = below(input.size() + 1);
    const std::size_t size = below(1 + below(std::min<std::size_t>(input.size() - place, 64)));
    switch (below(4)) {
      case 0:
        input.replace(place, std::min<std::size_t>(1, input.size() - place), 1,
                      static_cast<char>(below(256)));
        break;
      case 1:
        input.erase(place, size);
        break;
      case 2:
        input.insert(place, std::string(input, place, size));
        break;
      default: {
        const std::string& other = inputs[below(inputs.size())];
        input.insert(place, std::string(other, below(other.size() + 1), below(64)));
      }
    }
  }
  return input.substr(0, kLongest);
}

}  // namespace

int main(int argc, char** argv) {
  const fuzz::Target* const target = argc < 3 ? nullptr : fuzz::findTarget(argv[1]);
  if (target == nullptr) {
    std::fprintf(stderr, "usage: fuzz_replay TARGET FOLDER [CHANGES]; targets:");
    for (const fuzz::Target& row : fuzz::targets()) {
      std::fprintf(stderr, " %s", std::string(row.name).c_str());
    }
    std::fprintf(stderr, "\n");
    return 2;
  }
  const std::vector<std::string> inputs = inputsIn(argv[2]);
  if (inputs.empty()) {
    std::fprintf(stderr, "fuzz_replay: there is no input in %s\n", argv[2]);
    return 2;
  }
  fuzz::keepDriveInMemory();
  for (const std::string& input : inputs) {
    target->run(input);
  }
  const unsigned long changes = argc > 3 ? std::strtoul(argv[3], nullptr, 10) : 0;
  std::mt19937 numbers(1);
  for (unsigned long i = 0; i < changes; ++i) {
    target->run(changed(inputs, numbers));
  }
  std::printf("%s: %zu inputs and %lu changed ones keep every promise\n",
              std::string(target->name).c_str(), inputs.size(), changes);
  return 0;
}
