#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "platform/win32.h"

// What stands in the place of the model's MachineTest where unit tests are built for Windows: the
// machine is the one that the program runs on. Its drive is the real one. It has no journal and
// takes no faults: a test that asks for them fails, and so must not be run here. What is open is
// not accounted for.
namespace host {

class RealDrive {
 public:
  void createFolder(const std::wstring& path) {
    const std::filesystem::path folder(path);
    std::filesystem::path first = folder;
    while (!std::filesystem::exists(first.parent_path())) {
      first = first.parent_path();
    }
    if (!std::filesystem::exists(first)) {
      made_.push_back(first);
    }
    std::filesystem::create_directories(folder);
  }
  // A file that has these bytes already is left alone: a library that is loaded cannot be written.
  void write(const std::wstring& path, std::string_view bytes) {
    createFolder(std::filesystem::path(path).parent_path());
    if (read(path) == bytes) {
      return;
    }
    std::ofstream file{std::filesystem::path(path), std::ios::binary};
    file << bytes << std::flush;
    if (!file) {
      throw std::runtime_error("a file of the test cannot be written");
    }
  }
  void copyIn(const std::filesystem::path& file, const std::wstring& path) {
    createFolder(std::filesystem::path(path).parent_path());
    std::filesystem::copy_file(file, path, std::filesystem::copy_options::overwrite_existing);
  }
  std::optional<std::string> read(const std::wstring& path) {
    std::ifstream file{std::filesystem::path(path), std::ios::binary};
    return file ? std::optional(std::string(std::istreambuf_iterator<char>(file), {}))
                : std::nullopt;
  }
  std::optional<std::filesystem::path> locate(const std::wstring& path) { return path; }
  bool exists(const std::wstring& path) { return std::filesystem::exists(path); }
  void remove(const std::wstring& path) { std::filesystem::remove_all(path); }
  // Takes away what the test has put there.
  void clear() {
    for (const std::filesystem::path& folder : made_) {
      std::filesystem::remove_all(folder);
    }
    made_.clear();
  }

 private:
  std::vector<std::filesystem::path> made_;
};

// What a test asks of it beside the drive stays as it was made: whoever sets the clock is refused,
// and the others must not be run here if that would let them pass.
struct Machine {
  enum class Standard { kConsole };
  struct Device {
    std::wstring softwareKey;
  };

  void setLocalTime(WORD, WORD, WORD, WORD, WORD, WORD, WORD) {
    throw std::logic_error("the clock is set over the model alone");
  }
  // A library is loaded by its path here, and nobody looks for its device.
  void installStack(const std::wstring&) {}

  RealDrive drive;
  Standard input = Standard::kConsole;
  DWORD inputMode = 0;
  std::vector<std::wstring> debugOutput;
  std::vector<std::string> clientAnswers;
  std::vector<Device> devices;
};

inline Machine& machine() {
  static Machine theMachine;
  return theMachine;
}

struct JournalEntry {
  std::string name;
  std::string args;
  std::string result;
  DWORD lastError = 0;
  bool faulted = false;
};

struct Journal {
  static Journal& instance() { throw std::logic_error("there is a journal over the model alone"); }
  std::vector<std::string> names() const { return {}; }
  std::vector<std::string> namesOf(const std::vector<std::string>&) const { return {}; }
  std::vector<JournalEntry> calls(const std::string&) const { return {}; }
  std::vector<JournalEntry> entries() const { return {}; }
  std::size_t count(const std::string&) const { return 0; }
  void clear() {}
};

struct Faults {
  void failOnce(const std::string&, DWORD, unsigned = 1) {}
  void failFrom(const std::string&, DWORD, unsigned = 1) {}
  void clear() {}
};

struct Ledger {
  std::size_t open(const std::string&) const { return 0; }
  std::vector<std::string> violations() const { return {}; }
  std::vector<std::string> stillOpen() const { return {}; }
};

// Threads take no turns here, and time is the real one.
struct Scheduler {
  enum class Mode { kReal };
  static Scheduler instance() { return {}; }
  void setDeadlockHandler(const std::function<void(const std::string&)>&) {
    throw std::logic_error("waits without an end are seen over the model alone");
  }
};
inline void resetMachine(Scheduler::Mode) {}

class MachineTest : public ::testing::Test {
 protected:
  ~MachineTest() override { machine().drive.clear(); }

  static Journal journal() { throw std::logic_error("there is a journal over the model alone"); }
  static Faults faults() { throw std::logic_error("there are faults over the model alone"); }
  static Ledger ledger() { return {}; }
  static std::int64_t clockMs() { return static_cast<std::int64_t>(GetTickCount64()); }
};

}  // namespace host
