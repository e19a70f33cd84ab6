#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <set>

#include "tests/model/ModelProgram.h"
#include "tests/model/Replay.h"
#include "tests/model/ReplayRun.h"
#include "tests/unit/service/ServiceFixture.h"

// Under the sanitizers a run takes many times as long, and each so many-th is enough to show what
// they look for.
#ifndef REPLAY_EACH
#define REPLAY_EACH 1
#endif

namespace {

using handshake::ModelRun;

constexpr std::size_t kShares = 2;
// The machine keeps the threads of all its runs, and looks through them at each choice.
constexpr std::size_t kRunsInAProcess = 25;
constexpr int kDiffers = 1;

// Each run that the model has, but those that use what has been destroyed.
const std::vector<ModelRun>& allRuns() {
  static const std::vector<ModelRun> runs = [] {
    std::set<std::string> lines;
    for (const std::string& line : handshake::linesOf(HANDSHAKE_RUNS, "-m1000000")) {
      if (line.starts_with("RUN ")) lines.insert(line);
    }
    std::vector<ModelRun> all;
    for (const std::string& line : lines) {
      ModelRun run = handshake::parseRun(line);
      if (!run.usesTheDead) all.push_back(std::move(run));
    }
    return all;
  }();
  return runs;
}

class HandshakeReplayTest : public ServiceTest, public ::testing::WithParamInterface<std::size_t> {
 protected:
  // Goes through some runs; whether the machine went as the model does in each.
  bool replay(const std::vector<const ModelRun*>& runs) {
    bool same = true;
    for (const ModelRun* run : runs) {
      host::resetMachine();
      Peer::forgetProcess();
      log.clear();
      const std::vector<handshake::Step> observed = handshake::ReplayRun(*run).go();
      if (observed == run->steps) continue;
      same = false;
      std::fprintf(stderr, "the machine goes another way\n  the model:   %s\n  the machine: %s\n",
                   textOf(run->steps).c_str(), textOf(observed).c_str());
    }
    return same;
  }

  void replayInAProcess(const std::vector<const ModelRun*>& runs) {
    std::fflush(nullptr);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) _exit(replay(runs) ? 0 : kDiffers);
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0) << "what differs is told above";
  }
};

TEST_P(HandshakeReplayTest, MachineGoesAsTheModelDoes) {
  std::vector<const ModelRun*> runs;
  std::size_t replayed = 0;
  for (std::size_t i = GetParam(); i < allRuns().size(); i += kShares) {
    if (i / kShares % REPLAY_EACH != 0) continue;
    runs.push_back(&allRuns()[i]);
    ++replayed;
    if (runs.size() < kRunsInAProcess) continue;
    replayInAProcess(runs);
    if (HasFailure()) return;
    runs.clear();
  }
  replayInAProcess(runs);
  EXPECT_GT(replayed, 500U / REPLAY_EACH);
}

INSTANTIATE_TEST_SUITE_P(Share, HandshakeReplayTest, ::testing::Range(std::size_t{0}, kShares));

}  // namespace
