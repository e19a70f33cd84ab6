#include "tools/runner/ForkingProgram.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>
#include <variant>

#include "platform/host/LifeServer.h"

namespace runner {
namespace {

std::variant<std::unique_ptr<ForkingProgram>, std::string> startShell(const std::string& script) {
  ForkingOptions options;
  options.program = "/bin/sh";
  options.arguments = {"-c", script};
  return ForkingProgram::start(options);
}

TEST(ForkingProgramTest, AProgramThatIsNotThereIsNamed) {
  ForkingOptions options;
  options.program = "/nowhere/service";
  const auto started = ForkingProgram::start(options);
  ASSERT_TRUE(std::holds_alternative<std::string>(started));
  EXPECT_EQ(std::get<std::string>(started), "/nowhere/service: No such file or directory");
}

TEST(ForkingProgramTest, AProgramThatServesNothingIsToldWithWhatItPrinted) {
  auto started = startShell("echo it cannot be >&2");
  ASSERT_TRUE(std::holds_alternative<std::unique_ptr<ForkingProgram>>(started));
  const auto life = std::get<std::unique_ptr<ForkingProgram>>(started)->live("anything");
  ASSERT_TRUE(std::holds_alternative<std::string>(life));
  EXPECT_EQ(std::get<std::string>(life), "no more lives can be had: it cannot be\n");
}

TEST(ForkingProgramTest, WhatItPrintsIsKeptUpToALimit) {
  auto started = startShell("head -c 5000 /dev/zero | tr '\\0' x");
  ASSERT_TRUE(std::holds_alternative<std::unique_ptr<ForkingProgram>>(started));
  const auto life = std::get<std::unique_ptr<ForkingProgram>>(started)->live("anything");
  ASSERT_TRUE(std::holds_alternative<std::string>(life));
  EXPECT_EQ(std::get<std::string>(life), "no more lives can be had: " + std::string(4096, 'x'));
}

TEST(ForkingProgramTest, ALifeThatCannotBeginIsLostAndTellsWhy) {
  ForkingOptions options;
  options.program = RUNNER_SERVICE;
  options.environment = {std::string(host::kLifeServerVariable) + "=yes", "TPM_HOST_MODE=virtual"};
  auto started = ForkingProgram::start(options);
  ASSERT_TRUE(std::holds_alternative<std::unique_ptr<ForkingProgram>>(started));
  // Nor does one spoil the next.
  for (const char* scenario : {"/nowhere", "/nor/here"}) {
    const std::string order = std::string("TPM_HOST_SCENARIO=") + scenario + '\0';
    const auto life = std::get<std::unique_ptr<ForkingProgram>>(started)->live(order);
    ASSERT_TRUE(std::holds_alternative<RunResult>(life));
    const auto& result = std::get<RunResult>(life);
    EXPECT_EQ(result.end, End::kLost);
    EXPECT_EQ(result.detail, "exit status 71, and it told no end");
    EXPECT_NE(result.strayOutput.find(std::string(scenario) + ": No such file"), std::string::npos)
        << result.strayOutput;
  }
}

}  // namespace
}  // namespace runner
