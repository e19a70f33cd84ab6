#include "tests/seam/SeamRules.h"

#include <gtest/gtest.h>

#include "tests/seam/StyleRules.h"

// The rules of the seam, held against the checkout itself.

namespace {

const std::filesystem::path kRoot = SOURCE_ROOT;

// A name that is no longer there would leave its rule with nothing to look at.
seam::SourceTree checkout(const std::vector<std::string>& names) {
  for (const std::string& name : names) {
    EXPECT_TRUE(std::filesystem::exists(kRoot / name)) << name << " is not there";
  }
  return seam::readTree(kRoot, names);
}

seam::SourceTree product() {
  return checkout(seam::kProductRooms);
}

// Both programs that are shipped.
seam::SourceTree shipped() {
  std::vector<std::string> rooms = seam::kProductRooms;
  rooms.emplace_back("tools/config-check");
  return checkout(rooms);
}

// Each finding on a line of its own, so that all of them can be read.
void expectNone(const seam::Findings& findings) {
  for (const std::string& finding : findings) {
    ADD_FAILURE() << finding;
  }
}

std::vector<std::string> compiled() {
  return seam::compiledFiles(COMPILE_DATABASE);
}

// A text of the code, and what it is called as a step.
struct Step {
  const char* text;
  const char* name;
};

// The steps of the log's set-up in the order of its lines.
std::string stepsOfLogSetup(const std::vector<Step>& known) {
  std::string steps;
  const seam::SourceTree tree = product();
  for (const std::string& line : tree.at("VUSL/Support/LogSetup.cpp").code) {
    for (const Step& step : known) {
      steps += line.find(step.text) != std::string::npos ? step.name : "";
    }
  }
  return steps;
}

TEST(SeamTest, ReadsAProductToCheck) {
  const seam::SourceTree tree = product();
  for (const char* file : {"VUSL/Support/LogSetup.cpp", "client/FileUtils.h", "service/wmain.cpp",
                           "task/TaskLifecycle.h"}) {
    EXPECT_TRUE(tree.contains(file)) << file;
  }
}

// Opening the debug outlet does nothing that could be seen, so its calls are looked for in the
// text.
TEST(SeamTest, LogSetupOpensTheDebugOutletOnBothSidesOfItsThreshold) {
  EXPECT_EQ(stepsOfLogSetup({{"debugOutlet.reopen()", "open "},
                             {"OutletBase<DebugLogOutlet>::level =", "level "},
                             {"sink.attach(&debugOutlet", "attach "}}),
            "open level open attach ");
}

// The limits are read and not used, which shows nowhere, so the reads are looked for in the text.
TEST(SeamTest, LogSetupReadsItsThreeSettingsBeforeItEmptiesTheSink) {
  EXPECT_EQ(stepsOfLogSetup({{"getString(settings::kLogLevel,", "level "},
                             {"getInt(settings::kMaxFileSize,", "size "},
                             {"getInt(settings::kMaxArchiveNumber,", "number "},
                             {"sink.detachAll()", "empty "}}),
            "level size number empty ");
}

// Opening the trace outlet shows nowhere either, so that is looked for in the text too.
TEST(SeamTest, LogSetupOpensTheTraceOutletBetweenItsThresholdAndItsAttachment) {
  EXPECT_EQ(stepsOfLogSetup({{"sink.detachAll()", "empty "},
                             {"= parseLogLevel(word)", "parse "},
                             {"OutletBase<EtwLogOutlet>::level =", "level "},
                             {"etwOutlet.reopen()", "open "},
                             {"sink.attach(&etwOutlet", "attach "}}),
            "empty parse level open attach ");
}

TEST(SeamTest, RoomsIncludeOnlyTheRoomsBelowThem) {
  expectNone(seam::forbiddenArrows(product()));
}

TEST(SeamTest, RoomsBesideTheProductIncludeOnlyWhatTheyMayKnow) {
  expectNone(seam::forbiddenArrowsBeside(checkout({"platform", "standins", "tools", "bench"})));
}

TEST(SeamTest, ProductReachesThePlatformThroughOneDoor) {
  expectNone(seam::otherDoorsToThePlatform(product()));
}

// The stand-ins are left out: they take the place of programs that are not ours.
TEST(SeamTest, WindowsHeaderIsIncludedInOnePlace) {
  const seam::SourceTree all =
      checkout({"VUSL", "client", "service", "task", "platform", "tools", "tests", "bench"});
  expectNone(seam::windowsHeaderElsewhere(all));
}

TEST(SeamTest, NoTwoProductFilesIncludeEachOtherInACircle) {
  expectNone(seam::circles(product()));
}

TEST(SeamTest, ProductRoomsHoldProductCodeOnly) {
  expectNone(seam::foreignFiles(product()));
}

TEST(SeamTest, EveryProductSourceIsCompiled) {
  expectNone(seam::productNotCompiled(product(), kRoot, compiled()));
}

TEST(SeamTest, EveryTestFileIsRegisteredAndHoldsATest) {
  expectNone(seam::idleTestFiles(checkout({"tests"}), kRoot, compiled()));
}

TEST(SeamTest, TestsThatLeaveThemselvesOutAreKnown) {
  const std::set<std::string> known = {
      // A system may refuse to switch off that addresses are drawn, and those that ask for it
      // cannot
      // say anything then.
      "tests/machine/DeterminismTest.cpp",
      "tests/machine/LifeProcessTest.cpp",
      // Where a wide character has two bytes every one of them is a unit, so none is to be
      // replaced.
      "tests/unit/diagnostics/TextTest.cpp",
  };
  expectNone(seam::skippedTests(checkout({"tests"}), known));
}

TEST(SeamTest, FilesAndFunctionsKeepToLinesAndColumns) {
  const std::set<std::string> known = {
      // One script for every chore: it is to be read and copied alone, and has a section a verb.
      "dev",
      // A function for each promise of that script, which share the stubs of all tools.
      "tests/seam/dev_test.sh",
  };
  const seam::SourceTree tree =
      checkout({"VUSL", "client", "service", "task", "bench", "cmake", "dev", "packaging",
                "platform", "resources", "standins", "tests", "tools"});
  expectNone(seam::tooLong(tree, known));
  expectNone(seam::longFunctions(tree));
}

// What else goes into a program for Windows too: the compiler would take a narrow name there.
TEST(SeamTest, ThePlatformIsCalledByItsWideNames) {
  const seam::SourceTree callers = checkout(
      {"VUSL", "client", "service", "task", "tools/config-check", "bench/windows", "platform/mingw",
       "platform/win32.h", "platform/wine", "standins", "tests/contract", "tests/windows"});
  expectNone(seam::narrowPlatformCalls(callers, checkout({"platform/host/windows"})));
}

TEST(SeamTest, HeadersOfWhatIsShippedSayWhatTheyOffer) {
  expectNone(seam::undocumented(shipped()));
}

TEST(SeamTest, WhatTheCheckersPassOverHasItsReasonBesideIt) {
  expectNone(
      seam::exceptionsWithoutReason(checkout({".clang-tidy", "VUSL", "client", "service", "task",
                                              "bench", "platform", "standins", "tests", "tools"})));
}

TEST(SeamTest, TextsOfTheSystemStandOnce) {
  expectNone(seam::textsTwice(shipped()));
}

}  // namespace
