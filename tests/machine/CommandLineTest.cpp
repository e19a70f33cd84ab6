#include "tools/CommandLine.h"

#include <gtest/gtest.h>

#include <ostream>

namespace {

using Arguments = std::vector<std::string>;

CommandLine read(const Arguments& arguments) {
  const auto result = readCommandLine(arguments);
  if (const auto* fault = std::get_if<std::string>(&result)) {
    ADD_FAILURE() << *fault;
    return {};
  }
  return std::get<CommandLine>(result);
}

TEST(CommandLineTest, NothingIsTheDefaultRunInRealTime) {
  const CommandLine line = read({});
  EXPECT_FALSE(line.name);
  EXPECT_FALSE(line.virtualTime);
  EXPECT_FALSE(line.seed);
  EXPECT_FALSE(line.keep);
  EXPECT_FALSE(line.scenario);
  EXPECT_FALSE(line.list || line.verbose || line.help);
}

TEST(CommandLineTest, OptionsComeInAnyOrder) {
  const CommandLine line =
      read({"--verbose", "--keep", "dir", "late-stop", "--seed", "18446744073709551615"});
  EXPECT_EQ(line.name, "late-stop");
  EXPECT_EQ(line.keep, "dir");
  EXPECT_EQ(line.seed, 18'446'744'073'709'551'615U);
  EXPECT_TRUE(line.verbose);
}

TEST(CommandLineTest, SeedImpliesVirtualTime) {
  EXPECT_TRUE(read({"--seed", "0"}).virtualTime);
  EXPECT_TRUE(read({"--virtual"}).virtualTime);
}

TEST(CommandLineTest, ScenarioFileIsTaken) {
  EXPECT_EQ(read({"--scenario", "x/y.scenario"}).scenario, "x/y.scenario");
}

TEST(CommandLineTest, ListAndHelp) {
  EXPECT_TRUE(read({"--list"}).list);
  EXPECT_TRUE(read({"--help"}).help);
}

TEST(CommandLineTest, WineIsTaken) {
  EXPECT_FALSE(read({"late-stop"}).wine);
  EXPECT_TRUE(read({"late-stop", "--wine", "--verbose"}).wine);
}

struct Row {
  Arguments arguments;
  const char* fault;
};

void PrintTo(const Row& row, std::ostream* out) {
  for (const std::string& argument : row.arguments) {
    *out << '"' << argument << "\" ";
  }
}

class CommandLineFaultTest : public ::testing::TestWithParam<Row> {};

TEST_P(CommandLineFaultTest, IsSaid) {
  const auto result = readCommandLine(GetParam().arguments);
  ASSERT_TRUE(std::holds_alternative<std::string>(result));
  EXPECT_EQ(std::get<std::string>(result), GetParam().fault);
}

constexpr char kNoSeed[] = "--seed needs a number from 0 to 18446744073709551615, not ";

INSTANTIATE_TEST_SUITE_P(
    Rows, CommandLineFaultTest,
    ::testing::Values(
        Row{{"--sed", "1"}, "there is no option --sed"}, Row{{"-v"}, "there is no option -v"},
        Row{{"-"}, "there is no option -"}, Row{{"--seed=1"}, "there is no option --seed=1"},
        Row{{"--seed"}, "--seed needs a value"}, Row{{"--seed", ""}, "--seed needs a value"},
        Row{{"--seed", "--list"}, "--seed needs a value"}, Row{{"--keep"}, "--keep needs a value"},
        Row{{"--keep", "--virtual"}, "--keep needs a value"},
        Row{{"--scenario"}, "--scenario needs a value"},
        Row{{"--seed", "1", "--seed", "1"}, "--seed is given twice"},
        Row{{"--keep", "a", "--keep", "b"}, "--keep is given twice"},
        Row{{"a", "b"}, "only one scenario can be run: a or b"},
        Row{{""}, "the scenario's name is empty"},
        Row{{"a", "--scenario", "b"}, "only one scenario can be run: a or b"},
        Row{{"--list", "a"},
            "--list runs nothing, so it cannot be combined with what belongs to a run"},
        Row{{"--wine", "--virtual"}, "under Wine there is no virtual time"},
        Row{{"--wine", "--seed", "1"}, "under Wine there is no virtual time"},
        Row{{"--list", "--wine"},
            "--list runs nothing, so it cannot be combined with what belongs to a run"},
        Row{{"--list", "--virtual"},
            "--list runs nothing, so it cannot be combined with what belongs to a run"}));

class CommandLineSeedTest : public ::testing::TestWithParam<const char*> {};

TEST_P(CommandLineSeedTest, BadNumberIsRefused) {
  const auto result = readCommandLine({"--seed", GetParam()});
  ASSERT_TRUE(std::holds_alternative<std::string>(result));
  EXPECT_EQ(std::get<std::string>(result), kNoSeed + ("\"" + std::string(GetParam()) + "\""));
}

INSTANTIATE_TEST_SUITE_P(Numbers, CommandLineSeedTest,
                         ::testing::Values("x", "-1", "+1", "1x", " 1", "1 ", "0x10", "1.5", "1e3",
                                           "18446744073709551616"));

}  // namespace
