// The text of an exception of three pieces beside one stream that takes all three.

#include <benchmark/benchmark.h>

#include <sstream>
#include <string>

#include "VUSL/Support/Exception.h"
#include "bench/Ratios.h"

namespace {

constexpr const char* kBefore = "Failed to read size of file: ";
constexpr unsigned int kError = 1314;

const std::string& path() {
  static const std::string text = "C:\\Windows\\TPMEnrollmentService.log, error: ";
  return text;
}

void exceptionText(benchmark::State& state) {
  for (auto unused : state) {
    Exception exception;
    exception << kBefore << path() << kError;
    benchmark::DoNotOptimize(exception.what());
  }
}

void oneStream(benchmark::State& state) {
  for (auto unused : state) {
    std::ostringstream stream;
    stream << kBefore << path() << kError;
    const std::string text = stream.str();
    benchmark::DoNotOptimize(text.c_str());
  }
}

BENCHMARK(exceptionText);
BENCHMARK(oneStream);

const bool kText = ratios::addRow(
    {"exception text of three pieces : one ostringstream", "exceptionText", "oneStream", 1.0});

}  // namespace
