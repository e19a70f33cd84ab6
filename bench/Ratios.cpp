#include "bench/Ratios.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <vector>

namespace ratios {
namespace {

// Rounds and the least seconds of each. Many short rounds find the machine undisturbed more often
// than few long ones.
constexpr const char* kRounds = "--benchmark_repetitions=25";
constexpr const char* kSeconds = "--benchmark_min_time=0.02";
constexpr const char* kInterleaved = "--benchmark_enable_random_interleaving=true";

std::vector<Row>& rows() {
  static std::vector<Row> all;
  return all;
}

std::vector<Measure>& measures() {
  static std::vector<Measure> all;
  return all;
}

// Keeps the least time of each benchmark.
class Minima : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context&) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.error_occurred) {
        std::fprintf(stderr, "%s: %s\n", run.benchmark_name().c_str(), run.error_message.c_str());
        failed = true;
        continue;
      }
      if (run.run_type != Run::RT_Iteration) continue;
      // What the processor spent: on a machine with other work the time of the clock tells more of
      // that work. All threads' rounds are counted together, so this is the cost for each.
      const double cost = run.GetAdjustedCPUTime();
      const std::string name =
          run.run_name.function_name + (run.threads == 1 ? "" : "/" + std::to_string(run.threads));
      const auto [place, isNew] = least.emplace(name, cost);
      if (!isNew) place->second = std::min(place->second, cost);
    }
  }

  std::map<std::string, double> least;
  bool failed = false;
};

bool print(const std::string& what, const Figures& figures, double limit) {
  if (figures.ours <= 0 || figures.peer <= 0) {
    std::printf("%-52s did not run\n", what.c_str());
    return false;
  }
  const double ratio = figures.ours / figures.peer;
  std::printf("%-52s %12.1f %12.1f %7.2f", what.c_str(), figures.ours, figures.peer, ratio);
  if (limit > 0) {
    std::printf(" %6.2f  %s", limit, ratio <= limit ? "met" : "MISSED");
  }
  std::printf("\n");
  return true;
}

bool print(const Row& row, const std::map<std::string, double>& least) {
  const auto cost = [&](const std::string& name) {
    const auto found = least.find(name);
    return found == least.end() ? 0 : found->second;
  };
  return print(row.what, {cost(row.ours), cost(row.peer) * row.peerTimes}, row.limit);
}

}  // namespace

bool addRow(Row row) {
  rows().push_back(std::move(row));
  return true;
}

bool addMeasure(Measure measure) {
  measures().push_back(std::move(measure));
  return true;
}

int run(int argc, char** argv) {
  // What the caller says comes last and so holds.
  std::vector<std::string> words = {argv[0], kRounds, kSeconds, kInterleaved};
  words.insert(words.end(), argv + 1, argv + argc);
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  int count = static_cast<int>(words.size());
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 1;

  std::vector<Figures> figures;
  for (const Measure& measure : measures()) figures.push_back(measure.figures());

  Minima minima;
  benchmark::RunSpecifiedBenchmarks(&minima);
  std::printf("%-52s %12s %12s %7s %6s\n", "", "ours (ns)", "peer (ns)", "ratio", "goal");
  bool complete = !minima.failed;
  for (const Row& row : rows()) complete = print(row, minima.least) && complete;
  for (std::size_t i = 0; i < figures.size(); ++i) {
    complete = print(measures()[i].what, figures[i], measures()[i].limit) && complete;
  }
  return complete ? 0 : 1;
}

}  // namespace ratios
