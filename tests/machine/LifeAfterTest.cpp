// Lives that begin with the drive of another, and what a life leaves on its drive.

#include <gtest/gtest.h>

#include <fstream>

#include "tests/machine/TemporaryFolder.h"
#include "tests/machine/ToolProcess.h"

namespace {

constexpr char kTask[] = "C:\\Windows\\System32\\Tasks\\Orvix VTM EK Recertification";

class LifeAfterTest : public ::testing::Test {
 protected:
  // A scenario beside the others, whose platform publishes no event; `more` are further keys of its
  // first section, and sections.
  void make(const std::string& name, const std::string& more) const {
    std::ofstream(fileOf(name)) << "[scenario]\nabout = A test.\nlimit = 5 min\nend = exit 0\n"
                                << more
                                << "[stack]\ndirectory = C:\\Program Files\\Orvix\\tALS Client\n"
                                << "[imbalances]\nnull handle closed = 1\nboundary kept = 1\n";
  }

  std::filesystem::path fileOf(const std::string& name) const {
    return folder_.path() / (name + ".scenario");
  }

  ToolRun run(const std::string& name) const {
    return runTool({"--virtual", "--scenario", fileOf(name).string()});
  }

  // The last line that the tool printed for the scenario.
  std::string summaryOf(const std::string& name) const {
    const std::string out = run(name).out;
    const std::size_t end = out.find_last_not_of('\n');
    return out.substr(out.rfind('\n', end) + 1, end - out.rfind('\n', end));
  }

  TemporaryFolder folder_;
};

TEST_F(LifeAfterTest, TheLaterLifeFindsWhatTheEarlierLeft) {
  make("first", "");
  make("second", std::string("after = first\nunchanged = ") + kTask + "\n");
  const ToolRun second = run("second");
  EXPECT_EQ(second.status, 0) << second.out << second.err;
}

TEST_F(LifeAfterTest, WithoutTheEarlierLifeItIsNotThere) {
  make("second", std::string("unchanged = ") + kTask + "\n");
  EXPECT_EQ(run("second").status, 1);
  EXPECT_NE(summaryOf("second").find("was not there, so it could not stay"), std::string::npos);
}

TEST_F(LifeAfterTest, OnlyTheLaterLifeIsPrinted) {
  make("first", "[machine]\nlistener = no\n");
  make("second", "after = first\n[machine]\nlistener = no\n");
  const std::string out = run("second").out;
  const std::string started = "RUNNING, check-point 0";
  EXPECT_NE(out.find(started), std::string::npos);
  EXPECT_EQ(out.find(started, out.find(started) + 1), std::string::npos);
}

TEST_F(LifeAfterTest, EarlierLifeThatIsNotThereIsSaid) {
  make("second", "after = first\n");
  const ToolRun second = run("second");
  EXPECT_EQ(second.status, 2);
  EXPECT_EQ(second.err, "run: " + fileOf("first").string() + ": No such file or directory\n");
}

TEST_F(LifeAfterTest, EarlierLifeThatIsNotAsExpectedIsSaid) {
  make("first", std::string("not there = ") + kTask + "\n");
  make("second", "after = first\n");
  const ToolRun second = run("second");
  EXPECT_EQ(second.status, 2);
  EXPECT_EQ(second.err, std::string("run: the life before, first, was not as expected: ") + kTask +
                            " was expected not to be there\n");
}

TEST_F(LifeAfterTest, EarlierLifeThatComesAfterAnotherIsRefused) {
  make("second", "after = second\n");
  const ToolRun second = run("second");
  EXPECT_EQ(second.status, 2);
  EXPECT_EQ(second.err, "run: " + fileOf("second").string() +
                            ": it comes after second, which comes after another\n");
}

TEST_F(LifeAfterTest, FileThatALifeWritesIsNoUnchangedOne) {
  make("first", "");
  make("second", std::string("after = first\nunchanged = ") + kTask +
                     "\n[machine]\nservice program = C:\\New\\Service.exe\n");
  EXPECT_EQ(run("second").status, 1);
  EXPECT_NE(summaryOf("second").find("was expected to stay as it was"), std::string::npos);
}

}  // namespace
