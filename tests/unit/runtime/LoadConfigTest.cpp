#include "VUSL/Support/LoadConfig.h"

#include <stdexcept>
#include <string>
#include <vector>

#include "VUSL/Support/AssertException.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/MachineTest.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

using Texts = std::vector<std::string>;

constexpr char kName[] = "C:\\conf\\x.conf";
constexpr wchar_t kPath[] = L"C:\\conf\\x.conf";

class LoadConfigTest : public host::MachineTest {
 protected:
  LoadConfigTest() { config.setSetting("kept", "1"); }

  bool has(const std::string& key) {
    std::string value;
    return config.getString(key, &value, nullptr, nullptr);
  }

  ConfigMgmt config;
  LogRecorder log;
};

TEST_F(LoadConfigTest, fileTakesThePlaceOfWhatWasThere) {
  host::machine().drive.write(kPath, "a = 1\n");
  loadConfig(kName, true, config);
  EXPECT_TRUE(has("a"));
  EXPECT_FALSE(has("kept"));
  EXPECT_EQ(log.texts(), Texts{"[INF] [TPM] Reading config from file: C:\\conf\\x.conf"});
}

TEST_F(LoadConfigTest, pathIsLoggedAheadOfTheTracedReading) {
  host::machine().drive.write(kPath, "a = 1\n");
  loadConfig(kName, false, config);
  EXPECT_EQ(log.withoutAddresses(),
            (Texts{"[INF] [TPM] Reading config from file: C:\\conf\\x.conf",
                   "[DBG] [TPM] ConfigMgmt constructor entry",
                   "[DBG] [TPM] [0x] Starting reading config file: C:\\conf\\x.conf",
                   "[INF] [TPM] reloadSettings ConfigMgmt::reloadSettings:\n  a=1\n"}));
}

TEST_F(LoadConfigTest, missingFileIsToldAtDebugAndLeavesTheStoreAsItIs) {
  loadConfig(kName, true, config);
  EXPECT_TRUE(has("kept"));
  EXPECT_EQ(log.withoutAddresses(),
            (Texts{"[INF] [TPM] Reading config from file: C:\\conf\\x.conf",
                   "[DBG] [TPM] [0x] Could not open config file: C:\\conf\\x.conf",
                   "[DBG] [TPM] Default values will be used."}));
}

TEST_F(LoadConfigTest, brokenFileIsToldAtErrorAndLeavesTheStoreAsItIs) {
  host::machine().drive.write(kPath, "a = 1\nbroken\n");
  loadConfig(kName, true, config);
  EXPECT_TRUE(has("kept"));
  EXPECT_FALSE(has("a"));
  EXPECT_EQ(log.texts(), (Texts{"[INF] [TPM] Reading config from file: C:\\conf\\x.conf",
                                "[ERR] [TPM] Corrupted config. Default values will be used."}));
}

TEST_F(LoadConfigTest, fileThatCannotBeReadCountsAsBroken) {
  host::machine().drive.write(kPath, "a = 1\n");
  faults().failOnce("CreateFileW", 32);
  loadConfig(kName, true, config);
  EXPECT_EQ(log.texts().back(), "[ERR] [TPM] Corrupted config. Default values will be used.");
}

// Deliberate: only the two kinds of failure that a file can bring are taken.
TEST_F(LoadConfigTest, assertionOfTheReadingIsLetOut) {
  host::machine().drive.write(kPath, "a = 1\n");
  // The file vanishes between the test for it and its reading.
  host::CallHooks::instance().before("FindFirstFileW", 2,
                                     [] { host::machine().drive.remove(kPath); });
  EXPECT_EQ(thrownBy<AssertException>([&] { loadConfig(kName, true, config); }),
            "File does not exist");
  EXPECT_EQ(log.texts(), Texts{"[INF] [TPM] Reading config from file: C:\\conf\\x.conf"});
}

// The same: nobody expects a file that shrinks.
TEST_F(LoadConfigTest, fileThatShrinksWhileItIsReadIsLetOut) {
  host::machine().drive.write(kPath, "a = 1\n");
  host::CallHooks::instance().before("FindFirstFileW", 4,
                                     [] { host::machine().drive.write(kPath, "a"); });
  EXPECT_EQ(thrownBy<std::runtime_error>([&] { loadConfig(kName, true, config); }),
            "Unrecognized type of exception occured");
  EXPECT_EQ(log.texts(), Texts{"[INF] [TPM] Reading config from file: C:\\conf\\x.conf"});
}

}  // namespace
