#include "tools/runner/LifeProcess.h"

#include <gtest/gtest.h>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>
#include <variant>

#include "tests/machine/FakeLife.h"

namespace runner {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

const std::string kEndsWell = FakeLife::tells('E', "exit 0");

RunResult runFake(const std::string& body) {
  return FakeLife(body).run();
}

// What the body of a fake life prints on its report as a note.
std::string noteOf(const std::string& command, LifeOptions options = {}) {
  const FakeLife life("text=$(" + command + ")\nprintf 'N 1 %d\\n%s\\n' ${#text} \"$text\" >&3\n" +
                      kEndsWell);
  const RunResult result = life.run(std::move(options));
  return result.records.empty() ? "(no record)" : result.records[0].text;
}

TEST(LifeProcessTest, ExitCodeIsTheOneThatWasTold) {
  const RunResult result = runFake(FakeLife::tells('E', "exit 3") + "exit 3");
  EXPECT_EQ(result.end, End::kExit);
  EXPECT_EQ(result.exitCode, 3);
  EXPECT_EQ(result.machineTime, 1'000'000'000);
}

TEST(LifeProcessTest, ExitCodeHasAllItsBits) {
  EXPECT_EQ(runFake(FakeLife::tells('E', "exit -1") + "exit 255").exitCode, -1);
  EXPECT_EQ(runFake(FakeLife::tells('E', "exit 4294967295") + "exit 255").exitCode, -1);
}

TEST(LifeProcessTest, ToldExitCodeThatTheProcessContradictsIsALostRun) {
  const RunResult result = runFake(kEndsWell + "exit 23");
  EXPECT_EQ(result.end, End::kLost);
  EXPECT_EQ(result.detail, "exit status 23, but it told exit code 0");
}

TEST(LifeProcessTest, EndsThatTheModelTellsAreKept) {
  EXPECT_EQ(runFake(FakeLife::tells('E', "running")).end, End::kRunning);
  EXPECT_EQ(runFake(FakeLife::tells('E', "deadlock")).end, End::kDeadlock);
  EXPECT_EQ(runFake(FakeLife::tells('E', "ended")).end, End::kEnded);
  EXPECT_EQ(runFake(FakeLife::tells('E', "endless")).end, End::kEndless);
}

TEST(LifeProcessTest, EndThatNobodyKnowsIsALostRun) {
  const RunResult result = runFake(FakeLife::tells('E', "exit soon"));
  EXPECT_EQ(result.end, End::kLost);
  EXPECT_EQ(result.detail, "it told an end that nobody knows: \"exit soon\"");
}

TEST(LifeProcessTest, LifeLeavesNoCoreFileAndTheCallerKeepsItsOwn) {
  rlimit ours{};
  ASSERT_EQ(getrlimit(RLIMIT_CORE, &ours), 0);
  const rlimit all{ours.rlim_max, ours.rlim_max};
  ASSERT_EQ(setrlimit(RLIMIT_CORE, &all), 0);
  const std::string theirs = noteOf("ulimit -Sc");
  rlimit after{};
  getrlimit(RLIMIT_CORE, &after);
  setrlimit(RLIMIT_CORE, &ours);
  EXPECT_EQ(theirs, "0");
  EXPECT_EQ(after.rlim_cur, all.rlim_cur);
}

TEST(LifeProcessTest, LifeThatTellsNoEndIsALostRun) {
  const RunResult result = runFake(FakeLife::tells('N', "hello") + "exit 7");
  EXPECT_EQ(result.end, End::kLost);
  EXPECT_EQ(result.detail, "exit status 7, and it told no end");
  EXPECT_EQ(result.records.size(), 1U);
}

TEST(LifeProcessTest, GarbageInTheReportIsALostRunAndKillsTheLife) {
  const auto begin = steady_clock::now();
  const RunResult result = runFake(FakeLife::tells('N', "hello") + "echo garbage >&3\nsleep 30");
  EXPECT_EQ(result.end, End::kLost);
  EXPECT_EQ(result.detail, "no record begins with \"garbage\"");
  EXPECT_EQ(result.records.size(), 1U);
  EXPECT_LT(steady_clock::now() - begin, milliseconds(5000));
}

TEST(LifeProcessTest, RecordThatBreaksOffIsALostRun) {
  const RunResult result = runFake("printf 'N 1 100\\nhello' >&3");
  EXPECT_EQ(result.end, End::kLost);
  EXPECT_EQ(result.detail, "a record breaks off: \"N 1 100.hello\"");
}

struct SignalRow {
  const char* name;
  End end;
  const char* detail;
};

void PrintTo(const SignalRow& row, std::ostream* out) {
  *out << row.name;
}

class LifeProcessSignalTest : public ::testing::TestWithParam<SignalRow> {};

TEST_P(LifeProcessSignalTest, SignalDecidesTheEndWhateverWasTold) {
  const std::string body = kEndsWell + "kill -" + GetParam().name + " $$\n";
  const RunResult result = runFake(body);
  EXPECT_EQ(result.end, GetParam().end);
  EXPECT_EQ(result.detail, GetParam().detail);
}

INSTANTIATE_TEST_SUITE_P(Signals, LifeProcessSignalTest,
                         ::testing::Values(SignalRow{"SEGV", End::kFault, "SIGSEGV"},
                                           SignalRow{"BUS", End::kFault, "SIGBUS"},
                                           SignalRow{"ILL", End::kFault, "SIGILL"},
                                           SignalRow{"FPE", End::kFault, "SIGFPE"},
                                           SignalRow{"ABRT", End::kTerminate, "SIGABRT"},
                                           SignalRow{"KILL", End::kLost, "SIGKILL"},
                                           SignalRow{"TERM", End::kLost, "SIGTERM"}));

TEST(LifeProcessTest, HungLifeIsKilledAfterItsBound) {
  LifeOptions options;
  options.bound = milliseconds(1000);
  const auto begin = steady_clock::now();
  const RunResult result = FakeLife(FakeLife::tells('N', "hello") + "sleep 30").run(options);
  EXPECT_EQ(result.end, End::kKilled);
  EXPECT_EQ(result.detail, "it took more than 1 s");
  EXPECT_EQ(result.records.size(), 1U);
  EXPECT_GE(steady_clock::now() - begin, milliseconds(1000));
  EXPECT_LT(steady_clock::now() - begin, milliseconds(10'000));
}

TEST(LifeProcessTest, WhatTheLifeStartedIsKilledWithIt) {
  const FakeLife life("sleep 30 &\nprintf 'N 1 %d\\n%s\\n' ${#!} $! >&3\n" + kEndsWell);
  const RunResult result = life.run();
  EXPECT_EQ(result.end, End::kExit);
  ASSERT_FALSE(result.records.empty());
  const auto started = static_cast<pid_t>(std::stol(result.records[0].text));
  // Its parent is gone, so whoever adopted it reaps it: that may take a moment.
  for (int i = 0; i < 100 && kill(started, 0) == 0; ++i) {
    std::ifstream status("/proc/" + std::to_string(started) + "/stat");
    const std::string text{std::istreambuf_iterator<char>(status), {}};
    if (text.find(") Z ") != std::string::npos) {
      return;
    }
    usleep(50'000);
  }
  EXPECT_NE(kill(started, 0), 0);
}

TEST(LifeProcessTest, ProgramThatKeepsTheReportOpenDoesNotHoldTheRun) {
  const auto begin = steady_clock::now();
  const RunResult result = runFake("sleep 30 &\n" + kEndsWell);
  EXPECT_EQ(result.end, End::kExit);
  EXPECT_LT(steady_clock::now() - begin, milliseconds(10'000));
}

TEST(LifeProcessTest, InterruptEndsTheRun) {
  const Descriptor interrupt(eventfd(0, EFD_CLOEXEC));
  const std::uint64_t one = 1;
  ASSERT_EQ(write(interrupt.get(), &one, sizeof one), static_cast<ssize_t>(sizeof one));
  LifeOptions options;
  options.interrupt = interrupt.get();
  const auto begin = steady_clock::now();
  EXPECT_EQ(FakeLife("sleep 30").run(options).end, End::kInterrupted);
  EXPECT_LT(steady_clock::now() - begin, milliseconds(10'000));
}

TEST(LifeProcessTest, TakerThatWantsNoMoreEndsTheRun) {
  LifeOptions options;
  options.onRecord = [](const Record&) { return false; };
  const RunResult result = FakeLife(FakeLife::tells('N', "hello") + "sleep 30").run(options);
  EXPECT_EQ(result.end, End::kInterrupted);
  EXPECT_EQ(result.records.size(), 1U);
}

TEST(LifeProcessTest, RecordsComeWhileTheLifeGoesOn) {
  LifeOptions options;
  const auto begin = steady_clock::now();
  steady_clock::duration first{};
  options.onRecord = [&](const Record& record) {
    if (record.kind == host::ReportKind::kNote) {
      first = steady_clock::now() - begin;
    }
    return true;
  };
  const RunResult result =
      FakeLife(FakeLife::tells('N', "hello") + "sleep 2\n" + kEndsWell).run(options);
  EXPECT_EQ(result.end, End::kExit);
  EXPECT_LT(first, milliseconds(1500));
}

TEST(LifeProcessTest, LifeGetsItsEnvironmentAndNothingOfTheCallers) {
  ASSERT_EQ(setenv("TPM_HOST_SCENARIO_OF_THE_CALLER", "x", 1), 0);
  LifeOptions options;
  options.environment = {"TPM_HOST_MODE=virtual"};
  const std::string names =
      noteOf("export -p | while read -r word line; do echo \"$line\"; done", options);
  EXPECT_NE(names.find("TPM_HOST_MODE='virtual'"), std::string::npos) << names;
  EXPECT_NE(names.find("TPM_HOST_REPORT='3'"), std::string::npos) << names;
  EXPECT_EQ(names.find("OF_THE_CALLER"), std::string::npos) << names;
  EXPECT_EQ(names.find("HOME"), std::string::npos) << names;
}

TEST(LifeProcessTest, LifeGetsItsArgumentsAsTheyStand) {
  LifeOptions options;
  options.arguments = {"-help", "two words", ""};
  EXPECT_EQ(noteOf("echo \"$#:$1:$2:$3\"", options), "3:-help:two words:");
}

TEST(LifeProcessTest, AddressesAreNotRandomised) {
  const std::string flags = noteOf("read -r flags < /proc/self/personality; echo $flags");
  const RunResult probe = runFake(kEndsWell);
  if (!probe.addressesFixed) {
    GTEST_SKIP() << "this system does not allow it";
  }
  EXPECT_EQ(flags, "00040000");
}

TEST(LifeProcessTest, CallersOwnAddressesAreLeftAlone) {
  std::ifstream before("/proc/self/personality");
  const std::string flagsBefore{std::istreambuf_iterator<char>(before), {}};
  runFake(kEndsWell);
  std::ifstream after("/proc/self/personality");
  const std::string flagsAfter{std::istreambuf_iterator<char>(after), {}};
  EXPECT_EQ(flagsAfter, flagsBefore);
}

TEST(LifeProcessTest, SanitizersReportIsAnEndOfItsOwnWhereOneIsBuiltIn) {
  const bool isSanitized = !std::string(RUNNER_SANITIZER).empty();
  const RunResult result = runFake(kEndsWell + "exit 99");
  EXPECT_EQ(result.end, isSanitized ? End::kSanitizer : End::kLost);
}

// Otherwise a fault that a scenario expects would end the life with a report.
TEST(LifeProcessTest, SanitizersLeaveFaultsAlone) {
  const std::string options = noteOf("echo $ASAN_OPTIONS$TSAN_OPTIONS");
  if (std::string(RUNNER_SANITIZER).empty()) {
    EXPECT_EQ(options, "");
    return;
  }
  EXPECT_NE(options.find("handle_segv=0"), std::string::npos) << options;
  EXPECT_NE(options.find("handle_abort=0"), std::string::npos) << options;
}

TEST(LifeProcessTest, StandardOutputAndErrorAreKeptApart) {
  const RunResult result = runFake("echo out; echo err >&2\n" + kEndsWell);
  EXPECT_EQ(result.strayOutput, "out\nerr\n");
  EXPECT_EQ(result.records.size(), 1U);
}

TEST(LifeProcessTest, MuchOutputDoesNotStopTheLife) {
  const RunResult result =
      runFake("i=0; while [ $i -lt 3000 ]; do i=$((i+1));\n" + FakeLife::tells('D', "line") +
              "echo 'a line of a hundred bytes or so, for the pipe to be filled: "
              "0123456789012345678901234567890123456789'\ndone\n" +
              kEndsWell);
  EXPECT_EQ(result.end, End::kExit);
  EXPECT_EQ(result.records.size(), 3001U);
}

TEST(LifeProcessTest, MissingProgramIsSaid) {
  LifeOptions options;
  options.program = "/nowhere/life";
  const auto ran = LifeProcess::run(options);
  ASSERT_TRUE(std::holds_alternative<std::string>(ran));
  EXPECT_EQ(std::get<std::string>(ran), "/nowhere/life: No such file or directory");
}

}  // namespace
}  // namespace runner
