#include "tools/config-check/ConfigCheck.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <memory>
#include <ostream>
#include <utility>
#include <variant>

#include "tools/config-check/Arguments.h"
#include "tools/config-check/CheckedFile.h"
#include "tools/config-check/ForcedSettings.h"
#include "tools/config-check/LineCheck.h"

namespace config_check {
namespace {

constexpr char kTellsOfItself[] = "config-check: ";

// One file, its lines, and who reads it.
struct Examined {
  Examined(const std::string& name, const std::string& path, std::vector<Reader> readBy,
           std::ostream& out)
      : file(readCheckedFile(name, path)), readers(std::move(readBy)), lines(out, readers) {}

  CheckedFile file;
  std::vector<Reader> readers;
  LineCheck lines;
};

using ExaminedFiles = std::vector<std::unique_ptr<Examined>>;

// Prints what the service sees. Gives the number of warnings.
std::size_t explain(Examined& examined, std::ostream& out) {
  const CheckedFile& file = examined.file;
  switch (file.outcome) {
    case CheckedFile::Outcome::kMissing:
      out << "  warning: there is no such file, so the service uses its defaults\n";
      return 1;
    case CheckedFile::Outcome::kFolder:
      out << "  warning: this is a folder, in which the service sees an empty file\n";
      return 1;
    case CheckedFile::Outcome::kRead:
    case CheckedFile::Outcome::kCorrupted:
      break;
  }
  if (!file.unreadable.empty()) {
    out << "  error: it cannot be read, so the service calls it corrupted: " << file.unreadable
        << '\n';
    return 0;
  }
  if (file.content.empty()) {
    out << "  (empty)\n";
  }
  examined.lines.explain(file.content);
  return examined.lines.warnings();
}

void printTitle(const ExaminedFiles& files, std::size_t index, std::ostream& out) {
  const std::string& name = files[index]->file.name;
  if (files.size() == 1) {
    out << name << '\n';
    return;
  }
  out << (index == 0 ? "File 1, read for the log: " : "\nFile 2, read for the wait: ") << name
      << '\n';
}

Source sourceFor(const ExaminedFiles& files, Reader reader) {
  for (std::size_t index = 0; index < files.size(); ++index) {
    Examined& examined = *files[index];
    if (std::ranges::find(examined.readers, reader) == examined.readers.end()) {
      continue;
    }
    const bool isRead = examined.file.outcome == CheckedFile::Outcome::kRead;
    return {&examined.file.settings, files.size() == 1 ? 0 : index + 1,
            [&examined, isRead](const std::string& key) {
              return isRead ? examined.lines.lineOf(key) : 0;
            }};
  }
  return {};
}

int conclude(const ExaminedFiles& files, std::size_t warnings, std::ostream& out) {
  const auto isCorrupted = [](const auto& examined) {
    return examined->file.outcome == CheckedFile::Outcome::kCorrupted;
  };
  const std::string count =
      warnings == 0 ? "No warnings."
                    : std::to_string(warnings) + (warnings == 1 ? " warning." : " warnings.");
  out << '\n';
  if (std::ranges::any_of(files, isCorrupted)) {
    out << "Corrupted: the service uses the defaults in its place. " << count << '\n';
    return kStatusCorrupted;
  }
  out << count << '\n';
  return warnings == 0 ? kStatusFine : kStatusWarnings;
}

int check(const Arguments& arguments, const PathFinder& findPath, std::ostream& out) {
  ExaminedFiles files;
  std::vector<Reader> firstReaders = {Reader::kLogSetup};
  if (!arguments.moved) {
    firstReaders.push_back(Reader::kService);
  }
  files.push_back(std::make_unique<Examined>(arguments.file, findPath(arguments.file),
                                             std::move(firstReaders), out));
  if (arguments.moved) {
    files.push_back(std::make_unique<Examined>(*arguments.moved, findPath(*arguments.moved),
                                               std::vector<Reader>{Reader::kService}, out));
  }
  std::size_t warnings = 0;
  for (std::size_t index = 0; index < files.size(); ++index) {
    printTitle(files, index, out);
    warnings += explain(*files[index], out);
  }
  printForcedSettings(out, [&files](Reader reader) { return sourceFor(files, reader); });
  return conclude(files, warnings, out);
}

// What is printed may be lost on the way, to a disk that is full.
int written(int status, std::ostream& out, std::ostream& err) {
  out.flush();
  if (out.good()) {
    return status;
  }
  err << kTellsOfItself << "nothing can be written to the standard output\n";
  return kStatusNothingWritten;
}

}  // namespace

int run(const std::vector<std::string>& arguments, const PathFinder& findPath, std::ostream& out,
        std::ostream& err) {
  const auto read = readArguments(arguments);
  if (const auto* fault = std::get_if<std::string>(&read)) {
    err << kTellsOfItself << *fault << '\n' << usageText();
    return kStatusWrongArguments;
  }
  const auto& wanted = std::get<Arguments>(read);
  if (wanted.help) {
    out << usageText() << helpText();
    return written(kStatusFine, out, err);
  }
  try {
    return written(check(wanted, findPath, out), out, err);
  } catch (const NoConfigurationFile& e) {
    err << kTellsOfItself << e.what() << '\n' << usageText();
    return kStatusWrongArguments;
  } catch (const std::exception& e) {
    err << kTellsOfItself << e.what() << '\n';
    return kStatusInternalError;
  }
}

}  // namespace config_check
