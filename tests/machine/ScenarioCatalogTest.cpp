#include "tools/runner/ScenarioCatalog.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "tests/machine/TemporaryFolder.h"

namespace runner {
namespace {

using Names = std::vector<std::string>;

// A folder with empty scenarios of these names.
class ScenarioCatalogTest : public ::testing::Test {
 protected:
  void make(const Names& names) const {
    for (const std::string& name : names) {
      std::ofstream(folder_.path() / (name + ".scenario")) << '\n';
    }
  }

  TemporaryFolder folder_;
};

TEST_F(ScenarioCatalogTest, FirstBootComesFirstAndTheOthersByName) {
  make({"zebra", "first-boot", "a-late-stop", "first"});
  EXPECT_EQ(ScenarioCatalog(folder_.path()).names(),
            (Names{"first-boot", "a-late-stop", "first", "zebra"}));
}

TEST_F(ScenarioCatalogTest, OtherFilesAreNoScenarios) {
  make({"one"});
  std::ofstream(folder_.path() / "README.md") << "x\n";
  std::ofstream(folder_.path() / "one.scenario.bak") << "x\n";
  EXPECT_EQ(ScenarioCatalog(folder_.path()).names(), Names{"one"});
}

TEST_F(ScenarioCatalogTest, FolderThatCannotBeReadIsEmpty) {
  EXPECT_EQ(ScenarioCatalog(folder_.path() / "nowhere").names(), Names{});
}

TEST_F(ScenarioCatalogTest, ScenarioIsFoundByItsExactName) {
  make({"first-boot"});
  const ScenarioCatalog catalog(folder_.path());
  EXPECT_EQ(catalog.find("first-boot"), folder_.path() / "first-boot.scenario");
  EXPECT_EQ(catalog.find("first-boo"), std::nullopt);
  EXPECT_EQ(catalog.find("../first-boot"), std::nullopt);
  EXPECT_EQ(catalog.find(""), std::nullopt);
}

TEST_F(ScenarioCatalogTest, NearNamesAreThoseWithFewOtherLetters) {
  make({"first-boot", "stop-late", "stop-early", "no-network"});
  const ScenarioCatalog catalog(folder_.path());
  EXPECT_EQ(catalog.near("fist-boot"), Names{"first-boot"});
  EXPECT_EQ(catalog.near("firstboot"), Names{"first-boot"});
  EXPECT_EQ(catalog.near("stop-lat"), Names{"stop-late"});
  EXPECT_EQ(catalog.near("something-else-entirely"), Names{});
}

TEST_F(ScenarioCatalogTest, NamesThatContainTheWordAreNear) {
  make({"first-boot", "stop-late", "stop-early"});
  EXPECT_EQ(ScenarioCatalog(folder_.path()).near("stop"), (Names{"stop-late", "stop-early"}));
}

TEST_F(ScenarioCatalogTest, AtMostFiveNamesAreNear) {
  make({"aa1", "aa2", "aa3", "aa4", "aa5", "aa6", "aa7"});
  EXPECT_EQ(ScenarioCatalog(folder_.path()).near("aa").size(), 5U);
}

// What each of the scenarios is about.
Names told(const std::variant<std::vector<LoadedScenario>, std::string>& loaded) {
  if (const auto* refusal = std::get_if<std::string>(&loaded)) {
    return {*refusal};
  }
  Names names;
  for (const LoadedScenario& one : std::get<std::vector<LoadedScenario>>(loaded)) {
    names.push_back(one.file.filename().string() + ": " + one.scenario.about);
  }
  return names;
}

TEST_F(ScenarioCatalogTest, ScenariosAreLoadedByTheirNamesOrAllOfThem) {
  for (const std::string name : {"one", "two", "three"}) {
    std::ofstream(folder_.path() / (name + ".scenario"))
        << "[scenario]\nabout = the " << name << "\nend = exit 0\n";
  }
  const ScenarioCatalog catalog(folder_.path());
  EXPECT_EQ(told(catalog.load({"two", "one"})),
            (Names{"two.scenario: the two", "one.scenario: the one"}));
  EXPECT_EQ(told(catalog.load({})),
            (Names{"one.scenario: the one", "three.scenario: the three", "two.scenario: the two"}));
}

TEST_F(ScenarioCatalogTest, FirstScenarioThatCannotBeLoadedIsSaid) {
  std::ofstream(folder_.path() / "one.scenario") << "[scenario]\nabout = x\nend = exit 0\n";
  std::ofstream(folder_.path() / "two.scenario") << "[scenario]\nabout = x\nno such line\n";
  const ScenarioCatalog catalog(folder_.path());
  EXPECT_EQ(told(catalog.load({"one", "onne", "two"})),
            Names{"there is no scenario onne; did you mean one?"});
  const std::string lead = (folder_.path() / "two.scenario").string() + ":3: ";
  EXPECT_EQ(told(catalog.load({})).front().substr(0, lead.size()), lead);
  EXPECT_EQ(told(catalog.load({"two", "onne"})).front().substr(0, lead.size()), lead);
}

TEST_F(ScenarioCatalogTest, FileThatIsMissingIsSaid) {
  const auto loaded = loadScenario(folder_.path() / "none.scenario");
  ASSERT_TRUE(std::holds_alternative<std::string>(loaded));
  EXPECT_EQ(std::get<std::string>(loaded),
            (folder_.path() / "none.scenario").string() + ": No such file or directory");
}

TEST_F(ScenarioCatalogTest, FolderIsNoScenario) {
  const auto loaded = loadScenario(folder_.path());
  ASSERT_TRUE(std::holds_alternative<std::string>(loaded));
  EXPECT_EQ(std::get<std::string>(loaded), folder_.path().string() + ": Is a directory");
}

TEST_F(ScenarioCatalogTest, MalformedFileIsSaidWithItsLine) {
  const auto file = folder_.path() / "bad.scenario";
  std::ofstream(file) << "[scenario]\nabout = x\nno such line\n";
  const auto loaded = loadScenario(file);
  ASSERT_TRUE(std::holds_alternative<std::string>(loaded));
  const std::string lead = file.string() + ":3: ";
  EXPECT_EQ(std::get<std::string>(loaded).substr(0, lead.size()), lead);
  EXPECT_GT(std::get<std::string>(loaded).size(), lead.size());
}

TEST_F(ScenarioCatalogTest, AnswerThatTheClientLibraryWouldRefuseIsSaidWithItsLine) {
  const auto file = folder_.path() / "bad.scenario";
  const std::string head =
      "[scenario]\nabout = x\nend = exit 0\n[client]\ntalsInitHUB = 8  # a status\n\n# none\n";
  const std::pair<const char*, const char*> rows[] = {
      {"talsInitHUB = soon\n",
       "the answer is neither a 32-bit status nor throw, throw int, crash or never"},
      {"talsInitHub = 0\n", "the client library has no such entry"},
      {"talsInitHUB\n", "there is no ="},
      {"talsInitHUB = 0 after a while\n", "the time is no number of milliseconds"},
      {"talsInitHUB = 0 progress 1\n", "only talsUsePermit is handed somebody to report to"},
  };
  for (const auto& [line, reason] : rows) {
    std::ofstream(file) << head << line;
    const auto loaded = loadScenario(file);
    ASSERT_TRUE(std::holds_alternative<std::string>(loaded)) << line;
    EXPECT_EQ(std::get<std::string>(loaded), file.string() + ":8: " + reason);
  }
}

// It is read once by the tool and once by the life.
TEST_F(ScenarioCatalogTest, FileThatIsReadOnlyOnceIsRefused) {
  const auto pipe = folder_.path() / "pipe.scenario";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  for (const std::filesystem::path& file : {pipe, std::filesystem::path("/dev/zero")}) {
    const auto loaded = loadScenario(file);
    ASSERT_TRUE(std::holds_alternative<std::string>(loaded));
    EXPECT_EQ(std::get<std::string>(loaded), file.string() + ": it is no regular file");
  }
}

TEST_F(ScenarioCatalogTest, AScenarioOfFiveMinutesIsShortUnlessItSpins) {
  host::Scenario scenario;
  scenario.limit = 300'000'000'000;
  EXPECT_TRUE(isShort(scenario));
  scenario.limit = 300'000'000'001;
  EXPECT_FALSE(isShort(scenario));
  scenario.limit = 1;
  scenario.endlessLoopExpected = true;
  EXPECT_FALSE(isShort(scenario));
}

TEST_F(ScenarioCatalogTest, WhoListensFromTheStartAndIsNeverDetachedHearsAll) {
  using Kind = host::Action::Kind;
  host::Scenario scenario;
  scenario.debugListener = true;
  scenario.script.resize(2);
  scenario.script[0].action.kind = Kind::kAttachListener;
  scenario.script[1].action.kind = Kind::kSignalEvent;
  EXPECT_TRUE(isListenedToThroughout(scenario));
  scenario.script[1].action.kind = Kind::kDetachListener;
  EXPECT_FALSE(isListenedToThroughout(scenario));
  scenario.script.pop_back();
  scenario.debugListener = false;
  EXPECT_FALSE(isListenedToThroughout(scenario));
}

TEST_F(ScenarioCatalogTest, HugeFileIsRefused) {
  const auto file = folder_.path() / "huge.scenario";
  std::ofstream(file) << "[scenario]\n";
  std::filesystem::resize_file(file, std::uintmax_t{16} * 1024 * 1024 + 1);
  const auto loaded = loadScenario(file);
  ASSERT_TRUE(std::holds_alternative<std::string>(loaded));
  EXPECT_EQ(std::get<std::string>(loaded),
            file.string() + ": it has more than 16 MiB, which no scenario has");
}

TEST_F(ScenarioCatalogTest, RightFileGivesTheScenarioWithTheFilesName) {
  const auto file = folder_.path() / "good.scenario";
  std::ofstream(file) << "[scenario]\nabout = A sentence.\nlimit = 5 s\nend = exit 0\n";
  const auto loaded = loadScenario(file);
  ASSERT_TRUE(std::holds_alternative<LoadedScenario>(loaded)) << std::get<std::string>(loaded);
  EXPECT_EQ(std::get<LoadedScenario>(loaded).scenario.name, "good");
  EXPECT_EQ(std::get<LoadedScenario>(loaded).scenario.about, "A sentence.");
}

}  // namespace
}  // namespace runner
