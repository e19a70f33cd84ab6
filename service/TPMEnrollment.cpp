#include "service/TPMEnrollment.h"

#include <string>

#include "VUSL/Support/EnvironmentPath.h"
#include "VUSL/Support/LoadConfig.h"
#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/ScopedLock.h"
#include "VUSL/Support/Settings.h"
#include "VUSL/Support/Singleton.h"
#include "client/FileUtils.h"

namespace TPMEnrollmentService {

namespace {

constexpr std::int32_t kInitFailed = -1;
constexpr std::int32_t kMsPerSecond = 1000;

constexpr std::uint32_t kConfDirectory = settings::kPathTypeConfDirectory;

std::string ConfigurationPath() {
  std::string path;
  if (getEnvironmentPath(settings::kPathTypeServiceConfFile, &path) != 0) return path;
  return talsUtils::FileUtils::getTalsDirectory(kConfDirectory, 1) + settings::kServiceConfFile;
}

// The product wraps in 32 bits: a setting that is too large gives a short wait, and no error.
std::int32_t SecondsToMs(std::int32_t seconds) {
  return static_cast<std::int32_t>(static_cast<std::uint32_t>(seconds) * kMsPerSecond);
}

}  // namespace

std::int32_t TPMEnrollment::s_waitTimeoutMs = 0;

TPMEnrollment::TPMEnrollment()
    : m_initialized(false), m_running(false), m_eventOpenRetries(10), m_eventRetryDelayMs(5000) {}

TPMEnrollment::~TPMEnrollment() {
  try {
    CloseEventChannels();
  } catch (...) {
    // Only the log can fail here, so there is nowhere to tell it.
  }
}

std::int32_t TPMEnrollment::Init() {
  if (m_initialized) return 0;

  const std::string path = ConfigurationPath();
  ConfigMgmt configuration;
  loadConfig(path, true, configuration);
  const Singleton<IConfig> published(&configuration);
  ReadParameters();

  if (CreateServicePrivateNamespace() != ERROR_SUCCESS) {
    LogItem().debug() << "Error during private namespace creation!";
    // Deliberate: the platform's error is dropped here. The exit code of the service is this one
    // value, whatever failed.
    return kInitFailed;
  }
  LogItem().debug() << "Private Namespace created!";
  m_initialized = true;
  return 0;
}

void TPMEnrollment::ReadParameters() {
  const std::int32_t defaultSeconds = settings::kDefaultTCBRepeaterTime;
  const bool usable = Singleton<IConfig>::getInstance()->getInt(
      settings::kTCBRepeaterTime, &s_waitTimeoutMs, nullptr, &defaultSeconds);
  if (usable && s_waitTimeoutMs >= 0) {
    s_waitTimeoutMs = SecondsToMs(s_waitTimeoutMs);
    return;
  }
  LogItem().debug() << "Could not read parameter: " << settings::kTCBRepeaterTime
                    << " or value is incorrect -> Default value will be used";
  s_waitTimeoutMs = SecondsToMs(defaultSeconds);
}

bool TPMEnrollment::IsRunning() const {
  const vusl::ScopedLock lock(m_runningLock);
  return m_running.load(std::memory_order_relaxed);
}

}  // namespace TPMEnrollmentService
