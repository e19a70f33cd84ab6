#include "tools/simulate/Case.h"

#include <gtest/gtest.h>

#include <string>
#include <variant>
#include <vector>

#include "platform/host/Scenario.h"
#include "tools/simulate/CaseRun.h"

namespace {

constexpr std::uint64_t kLongSpanMs = 24 * 3'600'000;

simulate::CaseResult resultOf(const simulate::Case& one) {
  auto made = simulate::CaseRunner::make();
  if (auto* refusal = std::get_if<std::string>(&made)) {
    ADD_FAILURE() << *refusal;
    return {};
  }
  return std::get<std::unique_ptr<simulate::CaseRunner>>(made)->run(one);
}

TEST(CaseTest, textOfACaseIsThatCase) {
  simulate::Case one;
  one.seed = 17;
  one.order = "priority";
  one.lives = {"[scenario]\nabout = a\n", "[scenario]\nabout = b\n"};
  const simulate::Case read = simulate::caseFrom(simulate::textOf(one));
  EXPECT_EQ(read.seed, 17U);
  EXPECT_EQ(read.order, "priority");
  EXPECT_EQ(read.lives, one.lives);
}

TEST(CaseTest, textIsReadableByAPerson) {
  simulate::Case one;
  one.seed = 5;
  one.order = "starve";
  one.lives = {"[scenario]\n", "[scenario]\n"};
  EXPECT_EQ(simulate::textOf(one),
            "# order of threads: 5 starve\n[scenario]\n"
            "# --- the machine is started again ---\n[scenario]\n");
}

TEST(CaseTest, textWithoutAnOrderIsOneLifeInPlainOrder) {
  const simulate::Case one = simulate::caseFrom("[scenario]\nabout = a\n");
  EXPECT_EQ(one.seed, 0U);
  EXPECT_EQ(one.order, "uniform");
  ASSERT_EQ(one.lives.size(), 1U);
}

TEST(CaseTest, lifeOfWhichEveryLineIsGoneIsNone) {
  const simulate::Case one =
      simulate::caseFrom("[scenario]\n# --- the machine is started again ---\n\n");
  EXPECT_EQ(one.lives, std::vector<std::string>{"[scenario]\n"});
}

TEST(CaseTest, seedStandsForTheSameTextEachTimeAndAnotherForAnother) {
  const auto text = [](std::uint64_t seed) {
    return simulate::textOf(simulate::caseOfSeed(seed, kLongSpanMs));
  };
  EXPECT_EQ(text(7), text(7));
  EXPECT_NE(text(7), text(8));
}

TEST(CaseTest, whateverASeedStandsForIsAScenario) {
  // The longest are those of a thousand years shared by two thousand seeds.
  constexpr std::uint64_t kLongestMs = 8 * std::uint64_t{365} * 24 * 3600 * 1000;
  for (std::uint64_t seed = 1; seed <= 2'000; ++seed) {
    for (const std::string& life :
         simulate::caseOfSeed(seed, seed % 2 == 0 ? kLongSpanMs : kLongestMs).lives) {
      const auto parsed = host::parseScenario("life", life);
      if (const auto* error = std::get_if<host::ScenarioError>(&parsed)) {
        FAIL() << "seed " << seed << ", line " << error->line << ": " << error->reason;
      }
    }
  }
}

TEST(CaseTest, recertificationProgramCrashesNowAndThen) {
  unsigned crashes = 0;
  for (std::uint64_t seed = 1; seed <= 200; ++seed) {
    const std::string text = simulate::textOf(simulate::caseOfSeed(seed, kLongSpanMs));
    crashes += text.find("recertification program = crashes") == std::string::npos ? 0U : 1U;
  }
  EXPECT_GT(crashes, 5U);
  EXPECT_LT(crashes, 100U);
}

// The service that was ended has met its goals the second time.
TEST(CaseTest, lifeAfterOneThatWasEndedIsCounted) {
  const std::string machine =
      "[scenario]\nabout = a\nlimit = 1 min\nend = exit 0\n[machine]\n"
      "event = Global\\TpmEnrollmentEvent\n"
      "[stack]\ndirectory = C:\\Program Files\\Orvix\\tALS Client\n"
      "[file C:\\Program Files\\Orvix\\conf\\TPMEnrollmentService.conf]\nLogLevel = \"DEBUG\"\n"
      "[script]\n";
  const std::string signalled = machine + "at 5 s: signal Global\\TpmEnrollmentEvent\n";
  simulate::Case one;
  one.lives = {machine + "at 2 s: end process\n", signalled};
  const auto place = static_cast<std::size_t>(simulate::Probe::kGoalsAfterAnEnd);
  const simulate::CaseResult ended = resultOf(one);
  EXPECT_EQ(ended.refusal, "");
  EXPECT_TRUE(ended.broken.empty());
  EXPECT_EQ(ended.probes[place], 1U);
  one.lives[0] = signalled;
  EXPECT_EQ(resultOf(one).probes[place], 0U);
}

// What the service started crashes, and the service does not care.
TEST(CaseTest, crashOfTheRecertificationProgramChangesNothing) {
  simulate::Case one;
  one.lives = {
      "[scenario]\nabout = a\nlimit = 1 min\nend = exit 0\n[machine]\n"
      "event = Global\\TpmEnrollmentEvent\n"
      "[stack]\ndirectory = C:\\Program Files\\Orvix\\tALS Client\n"
      "recertification program = crashes\n"
      "[file C:\\Program Files\\Orvix\\conf\\TPMEnrollmentService.conf]\nLogLevel = \"DEBUG\"\n"
      "[script]\nat 5 s: signal Global\\TpmEnrollmentEvent\n"};
  const simulate::CaseResult result = resultOf(one);
  EXPECT_EQ(result.refusal, "");
  EXPECT_TRUE(result.broken.empty());
  EXPECT_EQ(result.probes[static_cast<std::size_t>(simulate::Probe::kProgramCrashed)], 1U);
}

TEST(CaseTest, sameCaseRunsTheSameWayAgain) {
  const simulate::Case one = simulate::caseOfSeed(4, kLongSpanMs);
  const simulate::CaseResult first = resultOf(one);
  const simulate::CaseResult second = resultOf(simulate::caseFrom(simulate::textOf(one)));
  EXPECT_EQ(first.refusal, "");
  EXPECT_EQ(first.machineTime, second.machineTime);
  EXPECT_EQ(first.probes, second.probes);
  EXPECT_EQ(first.broken, second.broken);
}

TEST(CaseTest, textThatIsNoScenarioIsRefusedAndNotJudged) {
  const simulate::CaseResult result = resultOf(simulate::caseFrom("[scenario]\nabout\n"));
  EXPECT_EQ(result.refusal, "line 2: \"about\" is not of the form \"key = value\"");
  EXPECT_EQ(result.lives, 0U);
}

}  // namespace
