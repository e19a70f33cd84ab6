#include "tools/threads/ThreadLives.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "tests/machine/TemporaryFolder.h"

namespace threads {
namespace {

using ::testing::ElementsAre;
using ::testing::Pair;
using ::testing::SizeIs;
using ::testing::UnorderedElementsAre;

constexpr char kEndsWell[] = "printf 'E 1000000000 6\\nexit 0\\n' >&3\n";
constexpr char kReports[] =
    "printf 'SUMMARY: ThreadSanitizer: data race Host.cpp:3 in Report(int)\\n' >&2\n";

// Lives of a shell script in place of the service.
class ThreadLivesTest : public ::testing::Test {
 protected:
  ThreadLivesTest() { options_.scenarios = {"stop-while-waiting"}; }

  // `body`: the script's lines. It notes the turns of each of its lives ahead of them.
  std::variant<ThreadLivesResult, std::string> live(const std::string& body) {
    options_.programs.service = folder_.path() / "service";
    std::ofstream(options_.programs.service)
        << "#!/bin/sh\necho \"$TPM_HOST_MODE $TPM_HOST_SEED $TPM_HOST_ORDER\" >>"
        << (folder_.path() / "lives").string() << '\n'
        << body;
    std::filesystem::permissions(options_.programs.service, std::filesystem::perms::owner_all);
    return liveUnderThreadSanitizer(options_);
  }

  std::vector<std::string> lives() const {
    std::ifstream file(folder_.path() / "lives");
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
      lines.push_back(line);
    }
    return lines;
  }

  ThreadLivesOptions options_;

 private:
  TemporaryFolder folder_;
};

TEST_F(ThreadLivesTest, AScenarioIsLivedThroughInSeveralOrdersOfTurnsAndSideBySide) {
  const auto lived = live(kEndsWell);
  ASSERT_TRUE(std::holds_alternative<ThreadLivesResult>(lived)) << std::get<std::string>(lived);
  const auto& result = std::get<ThreadLivesResult>(lived);
  EXPECT_EQ(result.scenarios, 1U);
  EXPECT_EQ(result.inTurns, 5U);
  EXPECT_EQ(result.sideBySide, 1U);
  EXPECT_THAT(result.found, SizeIs(0));
  EXPECT_THAT(lives(),
              UnorderedElementsAre("virtual 1 uniform", "virtual 2 sticky", "virtual 3 priority",
                                   "virtual 4 starve", "virtual 5 stall", "real 0 "));
}

TEST_F(ThreadLivesTest, OnlyTurnsAreTakenIfNothingElseIsWanted) {
  options_.seeds = 1;
  options_.sideBySide = false;
  std::vector<std::pair<std::size_t, std::size_t>> told;
  options_.onLife = [&](std::size_t done, std::size_t all) { told.emplace_back(done, all); };
  ASSERT_TRUE(std::holds_alternative<ThreadLivesResult>(live(kEndsWell)));
  EXPECT_THAT(lives(), ElementsAre("virtual 1 uniform"));
  EXPECT_THAT(told, ElementsAre(Pair(1U, 1U)));
}

TEST_F(ThreadLivesTest, AReportIsKeptOnceWithAllLivesThatHaveIt) {
  const auto lived = live("case $TPM_HOST_SEED in 2|3)\n" + std::string(kReports) + kReports +
                          "esac\n" + kEndsWell);
  ASSERT_TRUE(std::holds_alternative<ThreadLivesResult>(lived)) << std::get<std::string>(lived);
  const auto& found = std::get<ThreadLivesResult>(lived).found;
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found.begin()->first, "data race Host.cpp:3 in Report(int)");
  EXPECT_THAT(found.begin()->second.lives,
              ElementsAre("stop-while-waiting, seed 2", "stop-while-waiting, seed 3"));
}

TEST_F(ThreadLivesTest, AReportOfALifeThatEndsInAFaultIsKept) {
  options_.seeds = 1;
  options_.sideBySide = false;
  const auto lived = live(kReports + std::string("kill -SEGV $$\n"));
  ASSERT_TRUE(std::holds_alternative<ThreadLivesResult>(lived)) << std::get<std::string>(lived);
  EXPECT_EQ(std::get<ThreadLivesResult>(lived).found.size(), 1U);
}

TEST_F(ThreadLivesTest, ALifeWithoutAnEndOfItsOwnIsAFinding) {
  options_.seeds = 1;
  options_.sideBySide = false;
  const auto lived = live("echo broken >&2\nexit 3\n");
  ASSERT_TRUE(std::holds_alternative<ThreadLivesResult>(lived)) << std::get<std::string>(lived);
  const auto& found = std::get<ThreadLivesResult>(lived).found;
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found.begin()->first, "no end of its own: lost (exit status 3, and it told no end)");
  EXPECT_EQ(found.begin()->second.text, "broken\n");
}

TEST_F(ThreadLivesTest, AnUnknownScenarioIsRefusedAheadOfAllLives) {
  options_.scenarios = {"stop-while-waiting", "fist-boot"};
  const auto lived = live(kEndsWell);
  ASSERT_TRUE(std::holds_alternative<std::string>(lived));
  EXPECT_EQ(std::get<std::string>(lived),
            "there is no scenario fist-boot; did you mean first-boot?");
  EXPECT_THAT(lives(), SizeIs(0));
}

}  // namespace
}  // namespace threads
