#pragma once

#include <gtest/gtest.h>

#include "platform/host/Scenario.h"

// What the tests of the scenarios' text share.
namespace host {

// The least that a scenario can say; the texts of the tests stand behind it, from line 4 on.
inline const std::string kLeast = "[scenario]\nabout = A test.\nend = exit 0\n";

inline Scenario parsed(const std::string& text) {
  auto result = parseScenario("test", text);
  if (const auto* error = std::get_if<ScenarioError>(&result)) {
    ADD_FAILURE() << "line " << error->line << ": " << error->reason;
    return {};
  }
  return std::get<Scenario>(result);
}

inline Scenario with(const std::string& text) {
  return parsed(kLeast + text);
}

// "<line>: <reason>", or that there is none.
inline std::string errorIn(const std::string& text) {
  const auto result = parseScenario("test", text);
  const auto* error = std::get_if<ScenarioError>(&result);
  return error == nullptr ? "no error" : std::to_string(error->line) + ": " + error->reason;
}

inline std::string errorWith(const std::string& text) {
  return errorIn(kLeast + text);
}

struct ErrorRow {
  std::string text;
  std::string error;
};

inline void expectErrors(const std::vector<ErrorRow>& rows) {
  for (const ErrorRow& row : rows) {
    EXPECT_EQ(errorWith(row.text), row.error) << row.text;
  }
}

}  // namespace host
