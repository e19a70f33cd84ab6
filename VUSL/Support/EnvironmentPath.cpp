#include "VUSL/Support/EnvironmentPath.h"

#include <cstdlib>
#include <map>
#include <memory>

#include "VUSL/Support/Settings.h"
#include "platform/win32.h"

namespace {

const std::map<int32_t, const char*>& pathVariables() {
  // Only the rows that have a name in the settings are asked for here; the programs beside this
  // service share the table.
  static const std::map<int32_t, const char*> variables = {
      {settings::kPathTypeLogDirectory, "TALS_LOGDIR_PATH"},
      {settings::kPathTypeConfDirectory, "TALS_CONFDIR_PATH"},
      {2, "TALS_X509_CERT_PATH"},
      {3, "TALS_EPID_LEGACY_CERT_PATH"},
      {4, "TALS_CACERT_PATH"},
      {5, "TALS_EPID1_PARAMCERT_PATH"},
      {6, "TALS_EPID2_PARAMCERT_PATH"},
      {7, "TALS_PROXY_CONF_PATH"},
      {8, "TALS_VTM_CONF_PATH"},
      {settings::kPathTypeServiceConfFile, "TALS_TPM_ENROLLMENT_SERVICE_CONF_PATH"},
      {10, "TALS_VTM_RECERT_LOG_PATH"},
      {11, "TALS_CLIENT_LOG_PATH"},
      {12, "TALS_PROXY_LOG_PATH"},
      {13, "TALS_TPM_ENROLLMENT_SERVICE_CONF_LOG"},
  };
  return variables;
}

struct FreeMemory {
  void operator()(char* text) const { std::free(text); }
};

}  // namespace

std::size_t getEnvironmentPath(int32_t pathType, std::string* value) {
  value->clear();
  const auto row = pathVariables().find(pathType);
  if (row == pathVariables().end()) {
    return 0;
  }
  char* text = nullptr;
  std::size_t size = 0;
  const errno_t error = _dupenv_s(&text, &size, row->second);
  const std::unique_ptr<char, FreeMemory> owner(text);
  if (error != 0 || text == nullptr) {
    return 0;
  }
  *value = text;
  return value->size();
}
