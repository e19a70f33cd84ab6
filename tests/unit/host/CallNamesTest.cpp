#include "platform/host/CallNames.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>

namespace host {
namespace {

using Names = std::set<std::string>;

// What the sources of the model say between the parentheses of the expression.
Names namesInSources(const std::string& expression) {
  const std::regex pattern(expression);
  Names names;
  for (const auto& entry : std::filesystem::directory_iterator(SOURCE_ROOT "/platform/host")) {
    const std::string name = entry.path().filename();
    if (name == "CallNames.cpp" || name == "FaultTable.cpp" ||
        (!name.ends_with(".cpp") && !name.ends_with(".h"))) {
      continue;
    }
    std::ifstream file(entry.path());
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    for (std::sregex_iterator found(text.begin(), text.end(), pattern), end; found != end;
         ++found) {
      names.insert((*found)[1]);
    }
  }
  return names;
}

// Functions at the head of their bodies, and methods by their interface's name wherever it stands.
Names journaledNames() {
  Names written = namesInSources("Call call\\(\\s*\"([A-Za-z_0-9]+)\"");
  written.merge(namesInSources("\"(I[A-Z][A-Za-z]*::[A-Za-z_]+)\""));
  return written;
}

TEST(CallNamesTest, EveryCallOfTheModelHasItsName) {
  const Names written = journaledNames();
  EXPECT_TRUE(written.contains("CreateEventW"));
  EXPECT_EQ(Names(platformCalls().begin(), platformCalls().end()), written);
}

TEST(CallNamesTest, TheRuntimesCallsCanBeToldToFailToo) {
  Names written = journaledNames();
  written.merge(namesInSources("toldError\\(\"([A-Za-z_0-9]+)\"\\)"));
  EXPECT_TRUE(written.contains("memcpy_s"));
  EXPECT_EQ(Names(callsThatCanFail().begin(), callsThatCanFail().end()), written);
}

}  // namespace
}  // namespace host
