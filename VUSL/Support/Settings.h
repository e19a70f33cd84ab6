#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

// The words by which the system is configured, each standing here and nowhere else: the keys of
// the configuration file with their defaults, the names from which file names are made, and the
// environment variables that can move paths. Text is narrow; `vusl::Widen` gives the wide form.
namespace settings {

// The keys of the configuration file that are read, and what an absent key means.

// How long the service waits between tries, in seconds.
inline constexpr char kTCBRepeaterTime[] = "TCBRepeaterTime";
inline constexpr int32_t kDefaultTCBRepeaterTime = 3600;

// The threshold of the log outlets, one of the level words.
inline constexpr char kLogLevel[] = "LogLevel";

// The largest size of a log file, in bytes.
inline constexpr char kMaxFileSize[] = "MaxFileSize";
inline constexpr int32_t kDefaultMaxFileSize = 4194304;

// How many archives of a log file there may be.
inline constexpr char kMaxArchiveNumber[] = "MaxArchiveNumber";
inline constexpr int32_t kDefaultMaxArchiveNumber = 10;

// The level words.

inline constexpr char kLevelDebug[] = "DEBUG";
inline constexpr char kLevelInfo[] = "INFO";
inline constexpr char kLevelError[] = "ERROR";
inline constexpr char kLevelFatal[] = "FATAL";
inline constexpr char kLevelNone[] = "NONE";
inline constexpr const char* kDefaultLogLevel = kLevelInfo;

// The names from which file names are made.

inline constexpr char kClientName[] = "talsClient";
inline constexpr char kProxyName[] = "talsProxy";
inline constexpr char kRecertificationName[] = "OrvixVTMEKRecertification";
// This service; also its name towards the service control manager.
inline constexpr char kServiceName[] = "TPMEnrollmentService";

inline constexpr char kConfSuffix[] = ".conf";
inline constexpr char kLogSuffix[] = ".log";
inline constexpr char kLibrarySuffix[] = ".dll";

inline constexpr char kConfDirectory[] = "conf";
inline constexpr char kLogDirectory[] = "log";
inline constexpr char kPathSeparator[] = "\\";

namespace detail {

// `left` with `right` behind it, made by the compiler.
template <std::size_t LeftSize, std::size_t RightSize>
consteval auto joined(const char (&left)[LeftSize], const char (&right)[RightSize]) {
  std::array<char, LeftSize + RightSize - 1> text{};
  for (std::size_t i = 0; i + 1 < LeftSize; ++i) {
    text[i] = left[i];
  }
  for (std::size_t i = 0; i < RightSize; ++i) {
    text[LeftSize - 1 + i] = right[i];
  }
  return text;
}

inline constexpr auto kServiceConfText = joined(kServiceName, kConfSuffix);
inline constexpr auto kServiceLogText = joined(kServiceName, kLogSuffix);
inline constexpr auto kRecertificationLogText = joined(kRecertificationName, kLogSuffix);

}  // namespace detail

inline constexpr const char* kServiceConfFile = detail::kServiceConfText.data();
inline constexpr const char* kServiceLogFile = detail::kServiceLogText.data();
inline constexpr const char* kRecertificationLogFile = detail::kRecertificationLogText.data();

// The paths of the installation that an environment variable can move, each with its variable.
// The service looks up those that have a name here. The programs beside it share the table and look
// up the others.

inline constexpr int32_t kPathTypeLogDirectory = 0;
inline constexpr int32_t kPathTypeConfDirectory = 1;
inline constexpr int32_t kPathTypeServiceConfFile = 9;

// Names the whole path of the service's own configuration file.
inline constexpr char kServiceConfVariable[] = "TALS_TPM_ENROLLMENT_SERVICE_CONF_PATH";

// A path of the installation, and the environment variable that moves it.
struct PathVariable {
  int32_t pathType;
  const char* name;
};

inline constexpr PathVariable kPathVariables[] = {
    {kPathTypeLogDirectory, "TALS_LOGDIR_PATH"},
    {kPathTypeConfDirectory, "TALS_CONFDIR_PATH"},
    {2, "TALS_X509_CERT_PATH"},
    {3, "TALS_EPID_LEGACY_CERT_PATH"},
    {4, "TALS_CACERT_PATH"},
    {5, "TALS_EPID1_PARAMCERT_PATH"},
    {6, "TALS_EPID2_PARAMCERT_PATH"},
    {7, "TALS_PROXY_CONF_PATH"},
    {8, "TALS_VTM_CONF_PATH"},
    {kPathTypeServiceConfFile, kServiceConfVariable},
    {10, "TALS_VTM_RECERT_LOG_PATH"},
    {11, "TALS_CLIENT_LOG_PATH"},
    {12, "TALS_PROXY_LOG_PATH"},
    {13, "TALS_TPM_ENROLLMENT_SERVICE_CONF_LOG"},
};

}  // namespace settings
