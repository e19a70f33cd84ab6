#include "VUSL/Support/Settings.h"

#include <gtest/gtest.h>

namespace {

TEST(SettingsTest, keysOfTheConfigurationFile) {
  EXPECT_STREQ(settings::kTCBRepeaterTime, "TCBRepeaterTime");
  EXPECT_STREQ(settings::kLogLevel, "LogLevel");
  EXPECT_STREQ(settings::kMaxFileSize, "MaxFileSize");
  EXPECT_STREQ(settings::kMaxArchiveNumber, "MaxArchiveNumber");
}

TEST(SettingsTest, defaultsOfTheKeys) {
  EXPECT_EQ(settings::kDefaultTCBRepeaterTime, 3600);
  EXPECT_STREQ(settings::kDefaultLogLevel, "INFO");
  EXPECT_EQ(settings::kDefaultMaxFileSize, 4194304);
  EXPECT_EQ(settings::kDefaultMaxArchiveNumber, 10);
}

TEST(SettingsTest, levelWords) {
  EXPECT_STREQ(settings::kLevelDebug, "DEBUG");
  EXPECT_STREQ(settings::kLevelInfo, "INFO");
  EXPECT_STREQ(settings::kLevelError, "ERROR");
  EXPECT_STREQ(settings::kLevelFatal, "FATAL");
  EXPECT_STREQ(settings::kLevelNone, "NONE");
}

TEST(SettingsTest, baseNamesAndSuffixes) {
  EXPECT_STREQ(settings::kClientName, "talsClient");
  EXPECT_STREQ(settings::kProxyName, "talsProxy");
  EXPECT_STREQ(settings::kRecertificationName, "OrvixVTMEKRecertification");
  EXPECT_STREQ(settings::kServiceName, "TPMEnrollmentService");
  EXPECT_STREQ(settings::kConfSuffix, ".conf");
  EXPECT_STREQ(settings::kLogSuffix, ".log");
  EXPECT_STREQ(settings::kLibrarySuffix, ".dll");
}

TEST(SettingsTest, joinedNames) {
  EXPECT_STREQ(settings::kServiceConfFile, "TPMEnrollmentService.conf");
  EXPECT_STREQ(settings::kServiceLogFile, "TPMEnrollmentService.log");
  EXPECT_STREQ(settings::kRecertificationLogFile, "OrvixVTMEKRecertification.log");
}

TEST(SettingsTest, directoriesAndSeparator) {
  EXPECT_STREQ(settings::kConfDirectory, "conf");
  EXPECT_STREQ(settings::kLogDirectory, "log");
  EXPECT_STREQ(settings::kPathSeparator, "\\");
}

TEST(SettingsTest, pathTypesThatTheServiceLooksUp) {
  EXPECT_EQ(settings::kPathTypeLogDirectory, 0);
  EXPECT_EQ(settings::kPathTypeConfDirectory, 1);
  EXPECT_EQ(settings::kPathTypeServiceConfFile, 9);
}

TEST(SettingsTest, variableOfTheServicesOwnFile) {
  EXPECT_STREQ(settings::kServiceConfVariable, "TALS_TPM_ENROLLMENT_SERVICE_CONF_PATH");
}

// Each type stands once, so that the map of them has them all.
TEST(SettingsTest, pathTypesAreCountedThrough) {
  int32_t next = 0;
  for (const settings::PathVariable& row : settings::kPathVariables) {
    EXPECT_EQ(row.pathType, next++) << row.name;
  }
  EXPECT_EQ(next, 14);
}

}  // namespace
