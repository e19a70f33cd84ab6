#pragma once

#include <span>
#include <string>
#include <string_view>

// What fuzzing is made of: the parsers, each with what must hold whatever bytes it is given.
namespace fuzz {

struct Target {
  std::string_view name;
  // Gives the bytes to the parser and ends the process if a promise is broken. It depends on the
  // bytes alone. Used on the main thread.
  void (*run)(std::string_view bytes);
};

std::span<const Target> targets();
// Null if there is none of that name.
const Target* findTarget(std::string_view name);

void runConfigurationFile(std::string_view bytes);
void runConfigurationValues(std::string_view bytes);
void runCommandLine(std::string_view bytes);
void runDeviceList(std::string_view bytes);
void runRegistryText(std::string_view bytes);
void runStoredPath(std::string_view bytes);
void runLanguageLibrary(std::string_view bytes);
void runResourceFile(std::string_view bytes);
void runTraceEvent(std::string_view bytes);
void runTraceBytes(std::string_view bytes);
void runTaskDocument(std::string_view bytes);
void runScenarioText(std::string_view bytes);

// Has the machine's drive kept in memory, if there is room for one and nobody says otherwise: most
// of a run would be spent with files. Called ahead of the first run.
void keepDriveInMemory();

// Ends the process unless `holds`; `promise` says what was to hold.
void require(bool holds, const char* promise);

// Whether the machine is a fresh one: a run is given the one that the runs before it had, and a
// fresh one now and then, ahead of what its old files and handles could cost. Called once in a run.
bool isMachineFresh();

// Whether the input is one of those, one in so many, that go a longer way. Drawn from all of its
// bytes: one byte that said so would soon stand in most of the inputs that the fuzzer keeps.
bool isOneIn(unsigned many, std::string_view bytes);

// Takes the bytes of a run apart from their beginning on. What is beyond their end reads as 0 or as
// nothing.
class Input {
 public:
  explicit Input(std::string_view bytes) : left_(bytes) {}

  bool isEmpty() const { return left_.empty(); }
  unsigned byte();
  // Up to the next zero byte, which is taken too.
  std::string_view piece();
  std::string_view rest();

 private:
  std::string_view left_;
};

// A file of the modelled drive, written and read past the model so that a run costs little. The
// folder is made with the machine; a file is given to the machine by writing it.
class DriveFile {
 public:
  // `path` as on the machine, "C:\\x\\y". To be made anew with each fresh machine.
  explicit DriveFile(const wchar_t* path);
  void write(std::string_view bytes) const;
  // Nothing if there is no such file.
  std::string read() const;
  void remove() const;

 private:
  std::string native_;
};

}  // namespace fuzz
