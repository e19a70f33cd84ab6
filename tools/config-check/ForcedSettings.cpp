#include "tools/config-check/ForcedSettings.h"

#include <iomanip>
#include <ostream>
#include <string>

namespace config_check {
namespace {

constexpr int kKeyWidth = 18;
constexpr int kValueWidth = 12;

std::string placeOf(const Source& source, std::size_t line) {
  const std::string file = source.file == 0 ? "" : "file " + std::to_string(source.file) + ", ";
  return file + "line " + std::to_string(line);
}

std::string originOf(const Source& source, const char* key, bool isDefault) {
  const std::size_t line = source.lineOf(key);
  if (line == 0) {
    return "default";
  }
  return isDefault ? "default, because of " + placeOf(source, line) : placeOf(source, line);
}

}  // namespace

void printForcedSettings(std::ostream& out, const std::function<Source(Reader)>& sourceOf) {
  out << "\nIn force:\n";
  for (const KnownSetting& known : knownSettings()) {
    const Source source = sourceOf(known.reader);
    const Verdict verdict = known.judge(*source.settings);
    const std::string remark(known.remark);
    out << "  " << std::left << std::setw(kKeyWidth) << known.key << std::setw(kValueWidth)
        << verdict.value << std::right << originOf(source, known.key, verdict.isDefault)
        << (remark.empty() ? "" : "; " + remark) << '\n';
  }
}

}  // namespace config_check
