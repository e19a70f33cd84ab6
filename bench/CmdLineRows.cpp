// The command line of this service, which knows one option, beside the system's own reader of
// options and a general library for them.

#include <benchmark/benchmark.h>
#include <getopt.h>

#include <CLI/CLI.hpp>
#include <iostream>

#include "VUSL/Support/CmdLineProc.h"
#include "bench/Ratios.h"

namespace {

// What the service does with its command line: build, parse, look for conflicts.
void parseOption(benchmark::State& state) {
  const wchar_t* const words[] = {L"TPMEnrollmentService.exe", L"-help"};
  for (auto unused : state) {
    vusl::CmdLineProc commandLine(L"-", std::cout, std::cin);
    CmdLineGroup& commands = commandLine.addGroup(L"commands");
    const CmdLineParameter& help = commandLine.addParameter(commands, L"help");
    commandLine.parseCommandLine(2, words);
    if (help.index != 1 || commandLine.isGroupConflicting(commands)) {
      state.SkipWithError("the option was not seen");
    }
  }
}

// The same without the building, as the system's reader has nothing to build.
void parseAgain(benchmark::State& state) {
  const wchar_t* const words[] = {L"TPMEnrollmentService.exe", L"-help"};
  vusl::CmdLineProc commandLine(L"-", std::cout, std::cin);
  CmdLineGroup& commands = commandLine.addGroup(L"commands");
  CmdLineParameter& help = commandLine.addParameter(commands, L"help");
  for (auto unused : state) {
    help.index = -1;
    commandLine.parseCommandLine(2, words);
    if (help.index != 1) state.SkipWithError("the option was not seen");
  }
}

void getoptLongOnly(benchmark::State& state) {
  char name[] = "TPMEnrollmentService.exe";
  char word[] = "-help";
  const option options[] = {{"help", no_argument, nullptr, 'h'}, {nullptr, 0, nullptr, 0}};
  for (auto unused : state) {
    char* words[] = {name, word, nullptr};
    optind = 0;  // starts it anew
    const int seen = getopt_long_only(2, words, "", options, nullptr);
    const int end = getopt_long_only(2, words, "", options, nullptr);
    if (seen != 'h' || end != -1) state.SkipWithError("the option was not seen");
  }
}

void cli11(benchmark::State& state) {
  const char* const words[] = {"TPMEnrollmentService.exe", "--help"};
  for (auto unused : state) {
    CLI::App app;
    app.set_help_flag();
    bool help = false;
    app.add_flag("--help", help);
    app.parse(2, words);
    if (!help) state.SkipWithError("the option was not seen");
  }
}

BENCHMARK(parseOption);
BENCHMARK(parseAgain);
BENCHMARK(getoptLongOnly);
BENCHMARK(cli11);

const bool kGetopt = ratios::addRow(
    {"parse of the one option : getopt_long_only", "parseAgain", "getoptLongOnly", 10.0});
const bool kGetoptBuilt = ratios::addRow(
    {"parser built and run : getopt_long_only", "parseOption", "getoptLongOnly", 10.0});
const bool kCli11 =
    ratios::addRow({"parse of the one option : CLI11 built and run", "parseAgain", "cli11", 0.05});
const bool kCli11Built =
    ratios::addRow({"parser built and run : CLI11 built and run", "parseOption", "cli11", 0});

}  // namespace
