// The power goes at each step of a save, up to three times in a row. What the save wrote has not
// been flushed then: it is kept, dropped, halved or zeroed. Renames and removals are kept in their
// order, as a drive with a log of its own changes keeps them.

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "VUSL/Support/BaseException.h"
#include "VUSL/Support/ConfigMgmt.h"
#include "tests/support/MachineTest.h"

namespace {

constexpr char kName[] = "C:\\conf\\x.conf";
constexpr int kCutsInARow = 3;
constexpr std::size_t kMostCallsOfAName = 12;

// Every call that a save makes of the platform's files.
constexpr const char* kCalls[] = {"FindFirstFileW", "FindClose", "CreateFileW", "SetFilePointer",
                                  "ReadFile",       "WriteFile", "CloseHandle", "DeleteFileW",
                                  "_stat64i32",     "remove",    "rename"};

using Content = std::optional<std::string>;

struct Files {
  Content config;
  Content backup;
  Content newFile;

  auto operator<=>(const Files&) const = default;
};

std::string shown(const Content& content) {
  return content ? ::testing::PrintToString(*content) : "(missing)";
}

Content readFile(const wchar_t* path) {
  return host::machine().drive.read(path);
}

Files filesOnTheDrive() {
  return {readFile(L"C:\\conf\\x.conf"), readFile(L"C:\\conf\\x.conf.bak"),
          readFile(L"C:\\conf\\x.conf.new")};
}

void put(const wchar_t* path, const Content& content) {
  host::Drive& drive = host::machine().drive;
  if (drive.exists(path)) {
    drive.remove(path);
  }
  if (content) {
    drive.write(path, *content);
  }
}

void put(const Files& files) {
  put(L"C:\\conf\\x.conf", files.config);
  put(L"C:\\conf\\x.conf.bak", files.backup);
  put(L"C:\\conf\\x.conf.new", files.newFile);
}

// What may be left of content that was written and not flushed.
std::vector<std::string> remainsOf(const std::string& written) {
  return {written, "", written.substr(0, written.size() / 2), std::string(written.size(), '\0')};
}

class ConfigPowerCutTest : public host::MachineTest {
 protected:
  // Saves with the setting "a" changed to `value`; the files as they were ahead of each call, and
  // at the end. Nothing if the files cannot be loaded: then nothing can be saved either.
  std::vector<Files> statesOfASave(const std::string& value) {
    std::vector<Files> states;
    ConfigMgmt store;
    try {
      store = ConfigMgmt(kName, true);
    } catch (const BaseException&) {
      ++refusedLoads;
      return states;
    }
    store.setSetting("a", value);
    journal().clear();
    host::CallHooks::instance().clear();
    for (const char* call : kCalls) {
      for (std::size_t nth = 1; nth <= kMostCallsOfAName; ++nth) {
        host::CallHooks::instance().before(call, nth,
                                           [&states] { states.push_back(filesOnTheDrive()); });
      }
    }
    EXPECT_TRUE(store.saveSettings());
    host::CallHooks::instance().clear();
    for (const char* call : kCalls) {
      EXPECT_LE(journal().count(call), kMostCallsOfAName) << call;
    }
    states.push_back(filesOnTheDrive());
    return states;
  }

  // What the drive may hold after a cut in a state of the save that wrote `written`.
  static std::set<Files> afterCut(const Files& state, const std::string& written) {
    std::set<Files> cuts = {state};
    for (const std::string& remains : remainsOf(written)) {
      Files cut = state;
      if (cut.config == written) {
        cut.config = remains;
      }
      if (cut.newFile == written) {
        cut.newFile = remains;
      }
      cuts.insert(cut);
    }
    return cuts;
  }

  static bool isPermitted(const Files& cut, const std::string& old, const std::string& written) {
    if (cut.config == old || cut.config == written) {
      return true;
    }
    if (cut.backup != old) {
      return false;
    }
    for (const std::string& torn : remainsOf(written)) {
      if (cut.config == torn) {
        return true;
      }
    }
    return !cut.config.has_value();
  }

  void saveWithCuts(const Files& start, int cutsToCome) {
    put(start);
    const std::vector<Files> states = statesOfASave("value" + std::to_string(cutsToCome));
    if (states.empty()) {
      EXPECT_EQ(filesOnTheDrive(), start) << "a load that fails changes nothing";
      return;
    }
    const std::string written = states.back().config.value_or("");
    std::set<Files> cuts;
    for (const Files& state : states) {
      cuts.merge(afterCut(state, written));
    }
    for (const Files& cut : cuts) {
      ++checked;
      EXPECT_TRUE(isPermitted(cut, *start.config, written))
          << "config " << shown(cut.config) << ", backup " << shown(cut.backup) << ", new "
          << shown(cut.newFile) << ", before " << shown(start.config);
      if (cutsToCome > 1 && seen.insert({cutsToCome, cut}).second) {
        saveWithCuts(cut, cutsToCome - 1);
      }
    }
  }

  int checked = 0;
  int refusedLoads = 0;
  std::set<std::pair<int, Files>> seen;
};

TEST_F(ConfigPowerCutTest, oldContentOrTheNewSurvivesUpToThreeCutsInARow) {
  saveWithCuts({"# head\na = \"1\"\nb = \"2\"\n", "older = \"1\"\n", std::nullopt}, kCutsInARow);
  // Some cuts leave no file, or one that does not load, and many leave one that is saved again.
  EXPECT_GT(refusedLoads, 0);
  EXPECT_GT(checked, 100);
}

TEST_F(ConfigPowerCutTest, alsoWithoutABackupAndWithAStaleNewFile) {
  saveWithCuts({"a = 1\n", std::nullopt, "left behind"}, kCutsInARow);
  EXPECT_GT(refusedLoads, 0);
  EXPECT_GT(checked, 100);
}

}  // namespace
