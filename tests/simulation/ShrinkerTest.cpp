#include "tools/simulate/Shrinker.h"

#include <gtest/gtest.h>

#include <string>

namespace {

bool has(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

TEST(ShrinkerTest, leavesOutEveryLineThatIsNotNeeded) {
  const std::string text = "a\nb\nc\nd\ne\nf\ng\n";
  EXPECT_EQ(simulate::shrunk(text, [](const std::string& one) { return has(one, "d\n"); }), "d\n");
}

TEST(ShrinkerTest, keepsLinesThatAreNeededTogether) {
  const std::string text = "a\nb\nc\nd\ne\nf\ng\n";
  EXPECT_EQ(simulate::shrunk(
                text, [](const std::string& one) { return has(one, "b\n") && has(one, "f\n"); }),
            "b\nf\n");
}

TEST(ShrinkerTest, keepsTheTextIfNothingShorterFails) {
  const std::string text = "a\nb\n";
  EXPECT_EQ(simulate::shrunk(text, [&](const std::string& one) { return one == text; }), text);
}

TEST(ShrinkerTest, leavesOutALifeWhoseLinesCannotGoOneByOne) {
  const std::string first = "[scenario]\nabout = first\nend = exit 0\n";
  const std::string second = "[scenario]\nabout = second\nend = exit 0\n";
  // A life without one of its lines is refused, and what is refused does not fail.
  const auto fails = [&](const std::string& one) { return one == first + second || one == second; };
  EXPECT_EQ(simulate::shrunk(first + second, fails), second);
}

TEST(ShrinkerTest, leavesOutASectionWhoseLinesCannotGoOneByOne) {
  const std::string needed = "[scenario]\nabout = a\n";
  const std::string section = "[stack]\ndirectory = C:\\x\n";
  const auto fails = [&](const std::string& one) {
    return one == needed + section || one == needed;
  };
  EXPECT_EQ(simulate::shrunk(needed + section, fails), needed);
}

TEST(ShrinkerTest, dropsADelayThatIsNotNeeded) {
  EXPECT_EQ(simulate::shrunk("talsInitHUB = 8 after 7345 ms\n",
                             [](const std::string& one) { return has(one, "talsInitHUB = 8"); }),
            "talsInitHUB = 8\n");
}

TEST(ShrinkerTest, makesATimePlain) {
  const auto fails = [](const std::string& one) {
    return one == "at 61234 ms: stop\n" || one == "at 1 min: stop\n";
  };
  EXPECT_EQ(simulate::shrunk("at 61234 ms: stop\n", fails), "at 1 min: stop\n");
}

TEST(ShrinkerTest, triesNoMoreOftenThanItMay) {
  unsigned tries = 0;
  simulate::shrunk(
      "a\nb\nc\nd\n",
      [&](const std::string&) {
        ++tries;
        return false;
      },
      3);
  EXPECT_EQ(tries, 3U);
}

}  // namespace
