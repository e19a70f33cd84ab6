// The reader and the writer take any bytes.

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "VUSL/Support/ConfigMgmt.h"
#include "VUSL/Support/Exception.h"
#include "tests/support/MachineTest.h"
#include "tests/unit/runtime/FailingAllocation.h"
#include "tests/unit/runtime/Thrown.h"

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

constexpr char kName[] = "C:\\conf\\x.conf";
constexpr wchar_t kPath[] = L"C:\\conf\\x.conf";

// A generator of our own, so that a seed means the same bytes everywhere.
class Random {
 public:
  explicit Random(std::uint64_t seed) : state(seed) {}

  std::uint64_t below(std::uint64_t limit) {
    state = state * 6364136223846793005U + 1442695040888963407U;
    return (state >> 33U) % limit;
  }

 private:
  std::uint64_t state;
};

class ConfigBytesTest : public host::MachineTest {
 protected:
  static void write(const std::string& content) { host::machine().drive.write(kPath, content); }
  static Pairs settingsOf(ConfigMgmt& store) {
    Pairs settings;
    store.getSettingsByPrefix("", &settings);
    return settings;
  }
  static Pairs load(const std::string& content) {
    write(content);
    ConfigMgmt store(kName, true);
    return settingsOf(store);
  }

  // Loads the bytes; if they load, a save and another load give the same settings.
  void loadAndSave(const std::string& content) {
    write(content);
    ConfigMgmt store;
    try {
      store = ConfigMgmt(kName, true);
    } catch (const Exception& e) {
      ++refused;
      EXPECT_TRUE(std::string(e.what()).starts_with("Check config file. ")) << e.what();
      return;
    }
    ++loaded;
    const Pairs before = settingsOf(store);
    EXPECT_TRUE(store.saveSettings());
    store.reloadSettings();
    EXPECT_EQ(settingsOf(store), before);
  }

  int loaded = 0;
  int refused = 0;
};

TEST_F(ConfigBytesTest, randomFilesOfTheCharactersThatMatterLoadOrAreRefused) {
  const std::string alphabet("a=\"# \n\r\tb\0\xFF\n=c", 15);
  for (std::uint64_t seed = 1; seed <= 400; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    std::string content(random.below(24), '\0');
    for (char& character : content) {
      character = alphabet[random.below(alphabet.size())];
    }
    loadAndSave(content);
  }
  EXPECT_GT(loaded, 50);
  EXPECT_GT(refused, 50);
}

TEST_F(ConfigBytesTest, randomBytesLoadOrAreRefused) {
  for (std::uint64_t seed = 1; seed <= 40; ++seed) {
    SCOPED_TRACE(seed);
    Random random(seed);
    std::string content(random.below(2000), '\0');
    for (char& character : content) {
      character = static_cast<char>(random.below(256));
    }
    loadAndSave(content);
  }
  EXPECT_EQ(loaded + refused, 40);
}

TEST_F(ConfigBytesTest, megabyteWithoutLineEndIsOneLine) {
  const std::string megabyte(1'048'576, 'x');
  write(megabyte);
  EXPECT_EQ(thrownBy<Exception>([] { ConfigMgmt store(kName, true); }),
            "Check config file. Error while parsing line beginning with: xxxxxxxxxxxxxxxxxxxx");
  EXPECT_EQ(load(megabyte + "=" + megabyte), (Pairs{{megabyte, megabyte}}));
}

TEST_F(ConfigBytesTest, megabyteOfEqualsSignsIsALineWithoutAKey) {
  EXPECT_EQ(load(std::string(1'048'576, '=')), Pairs{});
}

TEST_F(ConfigBytesTest, megabyteOfLineEndsAndBlanksIsEmpty) {
  EXPECT_EQ(load(std::string(524'288, '\n') + std::string(524'288, ' ')), Pairs{});
}

std::string repeated(const std::string& text, std::size_t times) {
  std::string all;
  for (std::size_t i = 0; i < times; ++i) {
    all += text;
  }
  return all;
}

std::string shortSettings() {
  std::string all;
  for (int i = 0; i < 100'000; ++i) {
    all += std::to_string(i) + "=\n";
  }
  return all;
}

// How many bytes of memory loading a file asks for, for each byte of the file. All that was asked
// for counts, so that this bounds what is held at a time and what is copied.
struct GrowthRow {
  const char* name;
  std::string (*content)();
  std::size_t most;
  std::size_t mostWhenTraced;
};

class ConfigGrowthTest : public ConfigBytesTest, public ::testing::WithParamInterface<GrowthRow> {
 protected:
  static std::size_t requestedPerByte(bool silent) {
    const std::string content = GetParam().content();
    write(content);
    const CountedAllocation counted;
    try {
      const ConfigMgmt store(kName, silent);
    } catch (const Exception& e) {
      EXPECT_TRUE(std::string(e.what()).starts_with("Check config file. ")) << e.what();
    }
    return counted.bytes() / content.size();
  }
};

TEST_P(ConfigGrowthTest, isBelowAFactor) {
  EXPECT_LT(requestedPerByte(true), GetParam().most);
  EXPECT_LT(requestedPerByte(false), GetParam().mostWhenTraced);
}

INSTANTIATE_TEST_SUITE_P(
    Files, ConfigGrowthTest,
    ::testing::Values(
        GrowthRow{"lineEnds", [] { return std::string(1'000'000, '\n'); }, 10, 10},
        GrowthRow{"zeroBytes", [] { return std::string(1'000'000, '\0'); }, 10, 10},
        GrowthRow{"equalsSigns", [] { return std::string(1'000'000, '='); }, 10, 10},
        GrowthRow{"linesWithoutAKey", [] { return repeated("=\n", 500'000); }, 10, 10},
        GrowthRow{"comments", [] { return repeated("# a=1\n", 150'000); }, 10, 10},
        GrowthRow{"oneKey", [] { return std::string(1'000'000, 'k') + "="; }, 10, 24},
        GrowthRow{"oneValue", [] { return "k=" + std::string(1'000'000, 'v'); }, 10, 24},
        // Seven bytes of such a line stand against a node of the map.
        GrowthRow{"shortSettings", shortSettings, 24, 40},
        GrowthRow{"repeatedKey", [] { return shortSettings() + "1=\n"; }, 24, 40}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(ConfigBytesTest, zeroBytesBelongToKeysAndValues) {
  EXPECT_EQ(load(std::string("\0a = b\0c\0\n", 10)),
            (Pairs{{std::string("\0a", 2), std::string("b\0c\0", 4)}}));
}

}  // namespace
