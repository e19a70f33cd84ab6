// One log item with both its deliveries, each of which makes a whole line, beside two lines of a
// general logging library with the same fields.

#include <benchmark/benchmark.h>
#include <spdlog/logger.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/base_sink.h>
#include <sys/resource.h>

#include <cstdint>
#include <memory>
#include <mutex>

#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/LogSink.h"
#include "VUSL/Support/LogTag.h"
#include "VUSL/Support/OutletBase.h"
#include "bench/Ratios.h"

namespace {

// 60 characters, behind an address and before an integer.
constexpr const char* kText = "The transaction of this method has come to its end, status: ";
constexpr int kNumber = 7;

class NullOutlet : public OutletBase<NullOutlet> {
 public:
  void Dump(const vusl::string_t& message) override { benchmark::DoNotOptimize(message.data()); }
};

// The process's sink, with one outlet that both deliveries reach.
void attachOnce() {
  static NullOutlet outlet;
  static const bool attached = [] {
    LogSink::process().attach(&outlet, LogSink::kOutletChannel);
    LogSink::process().attach(&outlet, LogSink::kConsoleChannel);
    return true;
  }();
  benchmark::DoNotOptimize(attached);
}

// Drops each line when it is formatted.
class NullSink : public spdlog::sinks::base_sink<std::mutex> {
 protected:
  void sink_it_(const spdlog::details::log_msg& message) override {
    spdlog::memory_buf_t line;
    formatter_->format(message, line);
    benchmark::DoNotOptimize(line.data());
  }
  void flush_() override {}
};

spdlog::logger& peer() {
  static spdlog::logger logger = [] {
    spdlog::logger made("bench", std::make_shared<NullSink>());
    made.set_pattern("%Y-%m-%d %H:%M:%S:%e %t TPMEnrollmentService: [%l] [TPM] %v");
    return made;
  }();
  return logger;
}

// How often the calling thread has waited for something.
int64_t waits() {
  rusage usage{};
  getrusage(RUSAGE_THREAD, &usage);
  return usage.ru_nvcsw;
}

void logItem(benchmark::State& state) {
  attachOnce();
  const int64_t before = waits();
  for (auto unused : state) {
    LogItem().info() << LogAddress(&state) << kText << kNumber;
  }
  // A few are the benchmark's own, which starts and stops its threads together.
  if (waits() - before > 20 + state.iterations() / 100) {
    state.SkipWithError("the threads wait for each other");
  }
}

void twoSpdlogLines(benchmark::State& state) {
  spdlog::logger& logger = peer();
  for (auto unused : state) {
    for (int line = 0; line < 2; ++line) {
      logger.info("[{}] {}{}", static_cast<const void*>(&state), kText, kNumber);
    }
  }
}

BENCHMARK(logItem);
BENCHMARK(twoSpdlogLines);
BENCHMARK(logItem)->Threads(2);

const bool kOneThread = ratios::addRow(
    {"log item with two lines : two lines of spdlog", "logItem", "twoSpdlogLines", 1.0});
const bool kTwoThreads =
    ratios::addRow({"log item on two threads, each : on one", "logItem/2", "logItem", 1.3});

}  // namespace
