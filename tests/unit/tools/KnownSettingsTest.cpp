#include "tools/config-check/KnownSettings.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "VUSL/Support/ConfigMemory.h"

namespace {

using config_check::findKnownSetting;
using config_check::nearestKnownKey;
using config_check::Verdict;

using Texts = std::vector<std::string>;

Verdict judge(const std::string& key, const std::string& value) {
  ConfigMemory settings;
  settings.setSetting(key, value);
  return findKnownSetting(key)->judge(settings);
}

Verdict judgeAbsent(const std::string& key) {
  ConfigMemory settings;
  return findKnownSetting(key)->judge(settings);
}

struct Row {
  const char* key;
  const char* value;
  const char* inForce;
  bool isDefault;
  Texts warnings;
};

class KnownSettingsTest : public ::testing::TestWithParam<Row> {};

TEST_P(KnownSettingsTest, ValueIsJudgedAsTheServiceReadsIt) {
  const Verdict verdict = judge(GetParam().key, GetParam().value);
  EXPECT_EQ(verdict.value, GetParam().inForce);
  EXPECT_EQ(verdict.isDefault, GetParam().isDefault);
  EXPECT_EQ(verdict.warnings, GetParam().warnings);
}

INSTANTIATE_TEST_SUITE_P(
    Waits, KnownSettingsTest,
    ::testing::Values(Row{"TCBRepeaterTime", "60", "60 s", false, {}},
                      Row{"TCBRepeaterTime", " +60 ", "60 s", false, {}},
                      Row{"TCBRepeaterTime", "3600", "3600 s", false, {}},
                      Row{"TCBRepeaterTime",
                          "60 # a minute",
                          "60 s",
                          false,
                          {"only the number at the beginning is read, not \"# a minute\""}},
                      Row{"TCBRepeaterTime",
                          "0x10",
                          "0 s",
                          false,
                          {"0 is taken: the service tries again at once, without a wait",
                           "only the number at the beginning is read, not \"x10\""}},
                      Row{"TCBRepeaterTime",
                          "0",
                          "0 s",
                          false,
                          {"0 is taken: the service tries again at once, without a wait"}},
                      Row{"TCBRepeaterTime",
                          "-5",
                          "3600 s",
                          true,
                          {"a negative wait is refused, so the service waits 3600 s"}},
                      Row{"TCBRepeaterTime",
                          "abc",
                          "3600 s",
                          true,
                          {"the value is no number that the service can take (decimal, from "
                           "-2147483648 to 2147483647), "
                           "so the service waits 3600 s"}},
                      Row{"TCBRepeaterTime",
                          "",
                          "3600 s",
                          true,
                          {"the value is no number that the service can take (decimal, from "
                           "-2147483648 to 2147483647), "
                           "so the service waits 3600 s"}},
                      Row{"TCBRepeaterTime",
                          "2147483648",
                          "3600 s",
                          true,
                          {"the value is no number that the service can take (decimal, from "
                           "-2147483648 to 2147483647), "
                           "so the service waits 3600 s"}},
                      Row{"TCBRepeaterTime", "4294967", "4294967 s", false, {}},
                      Row{"TCBRepeaterTime",
                          "4294968",
                          "704 ms",
                          false,
                          {"more than 4294967 s do not fit, so the service waits 704 ms"}}));

INSTANTIATE_TEST_SUITE_P(Levels, KnownSettingsTest,
                         ::testing::Values(Row{"LogLevel", "DEBUG", "DEBUG", false, {}},
                                           Row{"LogLevel", "INFO", "INFO", false, {}},
                                           Row{"LogLevel", "ERROR", "ERROR", false, {}},
                                           Row{"LogLevel", "FATAL", "FATAL", false, {}},
                                           Row{"LogLevel", "NONE", "NONE", false, {}},
                                           Row{"LogLevel",
                                               "VERBOSE",
                                               "(silent)",
                                               false,
                                               {"the value is no level and makes THE LOG SILENT; "
                                                "the levels are DEBUG, ERROR, FATAL, INFO, "
                                                "NONE"}},
                                           Row{"LogLevel",
                                               "",
                                               "(silent)",
                                               false,
                                               {"the value is no level and makes THE LOG SILENT; "
                                                "the levels are DEBUG, ERROR, FATAL, INFO, "
                                                "NONE"}},
                                           Row{"LogLevel",
                                               "info",
                                               "(silent)",
                                               false,
                                               {"the value is no level and makes THE LOG SILENT; "
                                                "the levels are DEBUG, ERROR, FATAL, INFO, "
                                                "NONE; did you mean INFO? Letter case counts"}}));

INSTANTIATE_TEST_SUITE_P(
    Limits, KnownSettingsTest,
    ::testing::Values(Row{"MaxFileSize", "100", "100", false, {}},
                      Row{"MaxFileSize", "-1", "-1", false, {}},
                      Row{"MaxFileSize",
                          "4 MiB",
                          "4",
                          false,
                          {"only the number at the beginning is read, not \"MiB\""}},
                      Row{"MaxFileSize",
                          "many",
                          "4194304",
                          true,
                          {"the value is no number that the service can take (decimal, from "
                           "-2147483648 to 2147483647); "
                           "that has no effect, as the service does not use it"}},
                      Row{"MaxArchiveNumber", "3", "3", false, {}},
                      Row{"MaxArchiveNumber",
                          "few",
                          "10",
                          true,
                          {"the value is no number that the service can take (decimal, from "
                           "-2147483648 to 2147483647); "
                           "that has no effect, as the service does not use it"}}));

TEST(KnownSettingsDefaultsTest, AbsentSettingsHaveTheirDefaultsWithoutAWarning) {
  const std::pair<const char*, const char*> rows[] = {{"TCBRepeaterTime", "3600 s"},
                                                      {"LogLevel", "INFO"},
                                                      {"MaxFileSize", "4194304"},
                                                      {"MaxArchiveNumber", "10"}};
  for (const auto& [key, value] : rows) {
    const Verdict verdict = judgeAbsent(key);
    EXPECT_EQ(verdict.value, value) << key;
    EXPECT_TRUE(verdict.isDefault) << key;
    EXPECT_EQ(verdict.warnings, Texts{}) << key;
  }
}

TEST(KnownSettingsKeysTest, FourKeysAreKnownCaseAndAll) {
  EXPECT_EQ(config_check::knownSettings().size(), 4U);
  EXPECT_NE(findKnownSetting("LogLevel"), nullptr);
  EXPECT_EQ(findKnownSetting("loglevel"), nullptr);
  EXPECT_EQ(findKnownSetting("ConfigFilePath"), nullptr);
  EXPECT_EQ(findKnownSetting(""), nullptr);
}

TEST(KnownSettingsKeysTest, NearestKeyIsNamedIfItIsNear) {
  EXPECT_EQ(nearestKnownKey("TCBRepeterTime"), "TCBRepeaterTime?");
  EXPECT_EQ(nearestKnownKey("MaxFilSize"), "MaxFileSize?");
  EXPECT_EQ(nearestKnownKey("LogLvl"), "LogLevel?");
  EXPECT_EQ(nearestKnownKey("LOGLEVEL"), "LogLevel? Letter case counts");
  EXPECT_EQ(nearestKnownKey("ProxyServer"), "");
  EXPECT_EQ(nearestKnownKey(""), "");
  EXPECT_EQ(nearestKnownKey(std::string(1 << 20, 'x')), "");
}

}  // namespace
