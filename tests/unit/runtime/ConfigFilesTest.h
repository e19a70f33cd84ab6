#pragma once

#include <string>
#include <utility>
#include <vector>

#include "VUSL/Support/ConfigMgmt.h"
#include "tests/support/MachineTest.h"

// The base of tests of one configuration file and its side files.
class ConfigFilesTest : public host::MachineTest {
 public:
  using Pairs = std::vector<std::pair<std::string, std::string>>;
  using Texts = std::vector<std::string>;

  static constexpr char kName[] = "C:\\conf\\x.conf";
  static constexpr wchar_t kPath[] = L"C:\\conf\\x.conf";
  static constexpr wchar_t kNewPath[] = L"C:\\conf\\x.conf.new";
  static constexpr wchar_t kBackupPath[] = L"C:\\conf\\x.conf.bak";
  static constexpr char kMissing[] = "(missing)";
  // What `storeWithA` finds in the file and makes of it, and what an older save may have left.
  static constexpr char kOld[] = "a = old\n";
  static constexpr char kNew[] = "a = \"new\"\n";
  static constexpr char kOlder[] = "older";

 protected:
  static Pairs settingsOf(ConfigMgmt& store) {
    Pairs settings;
    store.getSettingsByPrefix("", &settings);
    return settings;
  }
  static void write(const std::string& content, const wchar_t* path = kPath) {
    host::machine().drive.write(path, content);
  }
  static std::string read(const wchar_t* path = kPath) {
    return host::machine().drive.read(path).value_or(kMissing);
  }
  // A store of the file in which "a" is "new".
  static ConfigMgmt storeWithA(bool silent = true) {
    write(kOld);
    ConfigMgmt store(kName, silent);
    store.setSetting("a", "new");
    return store;
  }
};
