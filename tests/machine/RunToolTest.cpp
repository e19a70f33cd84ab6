#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>

#include "tests/machine/MachineRun.h"
#include "tests/machine/TemporaryFolder.h"
#include "tests/machine/ToolProcess.h"

namespace {

namespace fs = std::filesystem;

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

std::string lastLineOf(const std::string& text) {
  const auto lines = linesOf(text);
  return lines.empty() ? "" : lines.back();
}

class RunToolTest : public ::testing::Test {
 protected:
  // Writes a scenario's file. Gives its path.
  std::string write(const std::string& name, const std::string& text) const {
    const fs::path file = folder_.path() / (name + ".scenario");
    std::ofstream(file) << text;
    return file.string();
  }

  // A machine on which the service soon looks for the event, which takes 50 seconds.
  std::string writeIdle(const std::string& limit, const std::string& end,
                        const std::string& more = "") const {
    return write("idle",
                 "[scenario]\nabout = Nothing happens.\nlimit = " + limit + "\nend = " + end +
                     "\n[stack]\ndirectory = C:\\Program Files\\Orvix\\tALS Client\n" + more);
  }

  TemporaryFolder folder_;
};

TEST_F(RunToolTest, HelpNamesEveryOption) {
  const ToolRun run = runTool({"--help"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.err, "");
  EXPECT_TRUE(run.out.starts_with("Usage: run [NAME]")) << run.out;
  for (const char* option : {"--list", "--virtual", "--seed N", "--keep DIR", "--verbose",
                             "--scenario FILE", "--help"}) {
    EXPECT_NE(run.out.find("\n  " + std::string(option)), std::string::npos) << option;
  }
  EXPECT_NE(run.out.find("implies --virtual"), std::string::npos);
}

TEST_F(RunToolTest, BadCommandLineIsSaidWithTheUsageAndNothingRuns) {
  for (const std::vector<std::string>& arguments :
       std::vector<std::vector<std::string>>{{"--nonsense"},
                                             {"--seed"},
                                             {"--seed", "x"},
                                             {"--keep"},
                                             {"first-boot", "second"},
                                             {"--seed", "-1", "first-boot"}}) {
    const ToolRun run = runTool(arguments);
    EXPECT_EQ(run.status, 2) << arguments[0];
    EXPECT_EQ(run.out, "") << arguments[0];
    EXPECT_TRUE(run.err.starts_with("run: ")) << run.err;
    EXPECT_NE(run.err.find("\nUsage: run [NAME]"), std::string::npos) << run.err;
  }
}

TEST_F(RunToolTest, UnknownNameNamesNearOnes) {
  const ToolRun run = runTool({"fist-boot"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.out, "");
  EXPECT_TRUE(run.err.starts_with("run: there is no scenario fist-boot; did you mean first-boot"))
      << run.err;
}

TEST_F(RunToolTest, UnknownNameWithNoNearOneNamesTheList) {
  const ToolRun run = runTool({"something-else-entirely"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(linesOf(run.err)[0],
            "run: there is no scenario something-else-entirely (--list lists them)");
}

TEST_F(RunToolTest, MalformedScenarioIsSaidWithFileAndLine) {
  const std::string file = write("bad", "[scenario]\nabout = x\nlimmit = 5 s\nend = exit 0\n");
  const ToolRun run = runTool({"--virtual", "--scenario", file});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.out, "");
  EXPECT_TRUE(run.err.starts_with(file + ":3: ")) << run.err;
}

TEST_F(RunToolTest, MissingScenarioFileIsSaid) {
  const ToolRun run = runTool({"--scenario", "/nowhere/x.scenario"});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.err, "/nowhere/x.scenario: No such file or directory\n");
}

TEST_F(RunToolTest, ListHasANameAndASentenceALineFirstBootFirst) {
  const ToolRun run = runTool({"--list"});
  EXPECT_EQ(run.status, 0) << run.err;
  const auto lines = linesOf(run.out);
  ASSERT_EQ(lines.size(), scenarioNames().size());
  EXPECT_TRUE(lines[0].starts_with("first-boot "));
  for (std::size_t i = 0; i < lines.size(); ++i) {
    EXPECT_THAT(lines[i], ::testing::MatchesRegex("[a-z0-9-]+  +[A-Z].*[.]"));
    EXPECT_TRUE(i < 2 || lines[i - 1] < lines[i]) << lines[i];
  }
}

TEST_F(RunToolTest, FirstBootIsTheDefault) {
  const ToolRun byDefault = runTool({"--virtual"});
  EXPECT_EQ(byDefault.status, 0) << byDefault.out << byDefault.err;
  EXPECT_EQ(byDefault.out, runTool({"first-boot", "--virtual"}).out);
  EXPECT_THAT(lastLineOf(byDefault.out),
              ::testing::MatchesRegex("-- first-boot: STOPPED, exit code 0, [0-9]+\\.[0-9]{3} s "
                                      "\\(as expected\\)"));
  EXPECT_EQ(byDefault.err, "");
}

TEST_F(RunToolTest, SeedImpliesVirtualTimeAndRepeatsItself) {
  const ToolRun first = runTool({"--seed", "7"});
  const ToolRun second = runTool({"first-boot", "--virtual", "--seed", "7"});
  EXPECT_EQ(first.status, 0) << first.out << first.err;
  EXPECT_EQ(first.out, second.out);
}

TEST_F(RunToolTest, VerboseRunPrintsTheHashOfAllSteps) {
  const ToolRun run = runTool({"--virtual", "--verbose"});
  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.out.find("\n-- hash of all steps: 0x"), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("\n-- peak memory in KiB: "), std::string::npos) << run.out;
  EXPECT_NE(run.out.find("\n-- ledger: named: "), std::string::npos) << run.out;
}

TEST_F(RunToolTest, RunThatEndsOtherwiseHasExitStatusOne) {
  const ToolRun run = runTool({"--virtual", "--scenario", writeIdle("2 s", "fault")});
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(lastLineOf(run.out).find("(not as expected: fault was expected)"), std::string::npos)
      << run.out;
}

TEST_F(RunToolTest, RunWhoseLinesDifferHasExitStatusOne) {
  const std::string file =
      writeIdle("2 s", "ended", "[script]\nat 1 s: end process\n[expected]\n[INF] no such line\n");
  const ToolRun run = runTool({"--virtual", "--scenario", file});
  EXPECT_EQ(run.status, 1);
  EXPECT_NE(run.out.find("--   expected: [INF] no such line\n"), std::string::npos) << run.out;
  EXPECT_NE(lastLineOf(run.out).find("(not as expected: line 1 of [expected] differs)"),
            std::string::npos)
      << run.out;
}

TEST_F(RunToolTest, LinesAreNotComparedWithAnotherSeed) {
  const std::string file =
      writeIdle("2 s", "ended", "[script]\nat 1 s: end process\n[expected]\n[INF] no such line\n");
  EXPECT_EQ(runTool({"--seed", "1", "--scenario", file}).status, 0);
}

TEST_F(RunToolTest, LongRunInRealTimeBeginsWithHowLongItMayTake) {
  const std::string script = "[script]\nat 100 ms: end process\n";
  const ToolRun run = runTool({"--scenario", writeIdle("2 min", "ended", script)});
  EXPECT_EQ(run.status, 0) << run.out << run.err;
  EXPECT_EQ(linesOf(run.out)[0],
            "-- this may take up to 2 min; with --virtual it takes milliseconds");
}

TEST_F(RunToolTest, ShortRunAndVirtualRunDoNot) {
  const std::string script = "[script]\nat 100 ms: end process\n";
  const ToolRun minute = runTool({"--scenario", writeIdle("60 s", "ended", script)});
  EXPECT_EQ(minute.out.find("this may take"), std::string::npos) << minute.out;
  const ToolRun inVirtual =
      runTool({"--virtual", "--scenario", writeIdle("365 days", "ended", script)});
  EXPECT_EQ(inVirtual.out.find("this may take"), std::string::npos) << inVirtual.out;
}

TEST_F(RunToolTest, KeptDriveHoldsTheMachinesFiles) {
  const fs::path kept = folder_.path() / "kept";
  const ToolRun run = runTool({"--virtual", "--keep", kept.string()});
  EXPECT_EQ(run.status, 0) << run.out << run.err;
  EXPECT_TRUE(fs::is_directory(kept / "C"));
  EXPECT_NE(run.out.find("\n-- the machine's drive is kept in " + kept.string() + "\n"),
            std::string::npos);
}

TEST_F(RunToolTest, KeptDriveDoesNotChangeTheRun) {
  const ToolRun plain = runTool({"--virtual"});
  const ToolRun keeping = runTool({"--virtual", "--keep", (folder_.path() / "a").string()});
  std::string said = "-- the machine's drive is kept in " + (folder_.path() / "a").string() + "\n";
  std::string out = keeping.out;
  ASSERT_NE(out.find(said), std::string::npos);
  EXPECT_EQ(out.erase(out.find(said), said.size()), plain.out);
}

TEST_F(RunToolTest, FolderThatHoldsSomethingIsNotTakenForTheDrive) {
  const fs::path mine = folder_.path() / "mine";
  fs::create_directory(mine);
  std::ofstream(mine / "thesis") << "years of work";
  const ToolRun run = runTool({"--virtual", "--keep", mine.string()});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "run: " + mine.string() + " is not empty\n");
  std::ifstream thesis(mine / "thesis");
  EXPECT_EQ((std::string{std::istreambuf_iterator<char>(thesis), {}}), "years of work");
  EXPECT_EQ(std::distance(fs::directory_iterator(mine), fs::directory_iterator()), 1);
}

TEST_F(RunToolTest, RunThatNobodyCanReadIsGivenUp) {
  const auto begin = std::chrono::steady_clock::now();
  ToolProcess tool({"--scenario", writeIdle("60 s", "running")}, "/dev/full");
  EXPECT_EQ(tool.wait(), 1);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
  EXPECT_TRUE(fs::is_empty(tool.temporaryFolder()));
  EXPECT_EQ(tool.standardError(),
            "run: nothing can be written to the standard output, so the run was given up\n");
}

TEST_F(RunToolTest, ListAndHelpThatNobodyCanReadAreSaid) {
  for (const char* option : {"--list", "--help"}) {
    ToolProcess tool({option}, "/dev/full");
    EXPECT_EQ(tool.wait(), 2) << option;
    EXPECT_EQ(tool.standardError(), "run: nothing can be written to the standard output\n");
  }
}

TEST_F(RunToolTest, ClosedOutputIsNotTakenForAnotherFile) {
  ToolProcess tool({"--virtual"}, ToolProcess::kClosedOutput);
  EXPECT_EQ(tool.wait(), 1);
  EXPECT_EQ(tool.standardError(),
            "run: nothing can be written to the standard output, so the run was given up\n");
  EXPECT_TRUE(fs::is_empty(tool.temporaryFolder()));
}

TEST_F(RunToolTest, FileThatCannotBePutOnTheDriveIsSaidAndNothingRuns) {
  const std::string file =
      writeIdle("60 s", "exit 0", "[file C:\\a]\ntext\n[file C:\\a\\b]\ntext\n");
  const ToolRun run = runTool({"--virtual", "--scenario", file});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(run.err, "run: C:\\a\\b: no such place\n");
}

TEST_F(RunToolTest, MalformedAnswerOfTheClientLibraryIsSaidAndNothingRuns) {
  const std::string file = writeIdle("60 s", "exit 0", "[client]\ntalsInitHUB = soon\n");
  const ToolRun run = runTool({"--virtual", "--scenario", file});
  EXPECT_EQ(run.status, 2);
  EXPECT_EQ(run.out, "");
  EXPECT_EQ(
      run.err,
      file + ":8: the answer is neither a 32-bit status nor throw, throw int, crash or never\n");
}

// Waits until the tool has printed something, then interrupts it. Gives the exit status.
int interrupt(ToolProcess& tool, int signal) {
  for (int i = 0; i < 500 && tool.standardOutput().empty(); ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  tool.signal(signal);
  return tool.wait();
}

TEST_F(RunToolTest, InterruptKillsTheLifeAndRemovesItsDrive) {
  ToolProcess tool({"--scenario", writeIdle("60 s", "running")});
  const auto begin = std::chrono::steady_clock::now();
  EXPECT_EQ(interrupt(tool, SIGINT), 1);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(10));
  EXPECT_NE(lastLineOf(tool.standardOutput()).find(", interrupted, "), std::string::npos)
      << tool.standardOutput();
  EXPECT_TRUE(fs::is_empty(tool.temporaryFolder()));
}

TEST_F(RunToolTest, InterruptLeavesAKeptDrive) {
  const fs::path kept = folder_.path() / "kept";
  ToolProcess tool({"--keep", kept.string(), "--scenario",
                    writeIdle("60 s", "running", "[file C:\\x\\y]\ntext\n")});
  EXPECT_EQ(interrupt(tool, SIGTERM), 1);
  EXPECT_TRUE(fs::exists(kept / "C" / "x" / "y"));
  EXPECT_TRUE(fs::is_empty(tool.temporaryFolder()));
}

}  // namespace
