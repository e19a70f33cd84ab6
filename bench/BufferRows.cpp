// A checked write into a buffer beside a bare copy of the same bytes.

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <string>

#include "VUSL/SupportCore/BufferWriter.h"
#include "bench/Ratios.h"

namespace {

constexpr uint32_t kMostBytes = 64 * 1024;

// The same for both: what a copy costs depends on where the two blocks lie. Half a page stands
// between them, because the processor takes places that are whole pages apart for the same.
struct Blocks {
  alignas(64) std::array<char, kMostBytes> source;
  std::array<char, 2048> between;
  std::array<char, kMostBytes> target;
};
Blocks blocks;

// What the compiler is to know for neither of the two.
template <class Value>
Value hidden(Value value) {
  const volatile Value place = value;
  return place;
}

void writeRaw(benchmark::State& state, uint32_t bytes) {
  const uint32_t size = hidden(bytes);
  const char* const from = hidden(blocks.source.data());
  BufferWriter writer(hidden(blocks.target.data()), size);
  for (auto unused : state) {
    writer.setCurrentPos(0);
    writer.writeRaw(from, size);
    benchmark::ClobberMemory();
  }
}

void copy(benchmark::State& state, uint32_t bytes) {
  const uint32_t size = hidden(bytes);
  const char* const from = hidden(blocks.source.data());
  char* const to = hidden(blocks.target.data());
  for (auto unused : state) {
    std::memcpy(to, from, size);
    benchmark::ClobberMemory();
  }
}

bool addSize(uint32_t bytes) {
  const std::string size = std::to_string(bytes / 1024) + "KiB";
  benchmark::RegisterBenchmark(("writeRaw" + size).c_str(),
                               [bytes](benchmark::State& state) { writeRaw(state, bytes); });
  benchmark::RegisterBenchmark(("memcpy" + size).c_str(),
                               [bytes](benchmark::State& state) { copy(state, bytes); });
  return ratios::addRow(
      {"BufferWriter::writeRaw of " + size + " : memcpy", "writeRaw" + size, "memcpy" + size, 1.2});
}

const bool kOne = addSize(1024);
const bool kFour = addSize(4 * 1024);
const bool kSixtyFour = addSize(kMostBytes);

}  // namespace
