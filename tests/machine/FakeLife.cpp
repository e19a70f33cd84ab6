#include "tests/machine/FakeLife.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <variant>

FakeLife::FakeLife(const std::string& body) {
  const std::filesystem::path script = folder_.path() / "life";
  std::ofstream(script) << "#!/bin/sh\n" << body << '\n';
  std::filesystem::permissions(script, std::filesystem::perms::owner_all);
}

runner::RunResult FakeLife::run(runner::LifeOptions options) const {
  options.program = folder_.path() / "life";
  auto ran = runner::LifeProcess::run(options);
  if (const auto* refusal = std::get_if<std::string>(&ran)) {
    ADD_FAILURE() << *refusal;
    return {};
  }
  return std::get<runner::RunResult>(std::move(ran));
}

std::string FakeLife::tells(char kind, const std::string& text) {
  return "printf '%s\\n%s\\n' '" + std::string(1, kind) + " 1000000000 " +
         std::to_string(text.size()) + "' '" + text + "' >&3\n";
}
