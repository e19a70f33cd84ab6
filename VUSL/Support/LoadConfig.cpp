#include "VUSL/Support/LoadConfig.h"

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/MissingFileError.h"

void loadConfig(const std::string& path, bool silent, ConfigMgmt& config) {
  LogItem().info() << "Reading config from file: " << path;
  try {
    config = ConfigMgmt(path, silent);
  } catch (const MissingFileError&) {
    LogItem().debug() << "Default values will be used.";
  } catch (const Exception&) {
    LogItem().error() << "Corrupted config. Default values will be used.";
  }
}
