#include "tools/config-check/Arguments.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace {

using config_check::Arguments;
using config_check::readArguments;

using Texts = std::vector<std::string>;

TEST(ArgumentsTest, OneFileIsBothReaders) {
  const auto read = readArguments({"a.conf"});
  ASSERT_TRUE(std::holds_alternative<Arguments>(read));
  EXPECT_EQ(std::get<Arguments>(read).file, "a.conf");
  EXPECT_EQ(std::get<Arguments>(read).moved, std::nullopt);
  EXPECT_FALSE(std::get<Arguments>(read).help);
}

TEST(ArgumentsTest, MovedFileStandsAheadOfTheOtherOrBehindIt) {
  for (const Texts& arguments :
       {Texts{"a.conf", "--moved", "b.conf"}, Texts{"--moved", "b.conf", "a.conf"}}) {
    const auto read = readArguments(arguments);
    ASSERT_TRUE(std::holds_alternative<Arguments>(read));
    EXPECT_EQ(std::get<Arguments>(read).file, "a.conf");
    EXPECT_EQ(std::get<Arguments>(read).moved, "b.conf");
  }
}

TEST(ArgumentsTest, HelpNeedsNoFile) {
  const auto read = readArguments({"--help"});
  ASSERT_TRUE(std::holds_alternative<Arguments>(read));
  EXPECT_TRUE(std::get<Arguments>(read).help);
}

TEST(ArgumentsTest, WhatMakesNoSenseIsSaid) {
  const std::pair<Texts, const char*> rows[] = {
      {{}, "no file is given"},
      {{""}, "the file's name is empty"},
      {{"a", "b"}, "only one file can be checked: a or b"},
      {{"--moved", "b"}, "no file is given"},
      {{"a", "--moved"}, "--moved needs a file"},
      {{"a", "--moved", ""}, "--moved needs a file"},
      {{"a", "--moved", "b", "--moved", "c"}, "--moved is given twice"},
      {{"a", "--verbose"}, "there is no option --verbose"},
      {{"-"}, "there is no option -"},
  };
  for (const auto& [arguments, fault] : rows) {
    const auto read = readArguments(arguments);
    ASSERT_TRUE(std::holds_alternative<std::string>(read)) << fault;
    EXPECT_EQ(std::get<std::string>(read), fault);
  }
}

}  // namespace
