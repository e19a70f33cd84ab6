#include "tests/fuzz/Fuzz.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <utility>

#include "platform/host/Call.h"
#include "platform/host/Machine.h"

namespace fuzz {
namespace {

// The model keeps an account of every handle that there ever was.
constexpr unsigned kRunsOfAMachine = 2'000;

constexpr std::array kTargets = {
    Target{"configuration-file", runConfigurationFile},
    Target{"configuration-values", runConfigurationValues},
    Target{"command-line", runCommandLine},
    Target{"device-list", runDeviceList},
    Target{"registry-text", runRegistryText},
    Target{"stored-path", runStoredPath},
    Target{"language-library", runLanguageLibrary},
    Target{"resource-file", runResourceFile},
    Target{"trace-event", runTraceEvent},
    Target{"trace-bytes", runTraceBytes},
    Target{"task-document", runTaskDocument},
    Target{"scenario", runScenarioText},
};

[[noreturn]] void giveUp(const char* what, const std::string& path) {
  std::fprintf(stderr, "fuzz: %s ", path.c_str());
  std::perror(what);
  std::_Exit(71);
}

}  // namespace

std::span<const Target> targets() {
  return kTargets;
}

const Target* findTarget(std::string_view name) {
  const auto* const found = std::find_if(kTargets.begin(), kTargets.end(),
                                         [&](const Target& row) { return row.name == name; });
  return found == kTargets.end() ? nullptr : found;
}

void keepDriveInMemory() {
  constexpr char kMemory[] = "/dev/shm";
  if (std::getenv("TMPDIR") == nullptr && access(kMemory, W_OK) == 0) {
    setenv("TMPDIR", kMemory, 0);
  }
}

void require(bool holds, const char* promise) {
  if (!holds) {
    std::fprintf(stderr, "fuzz: it does not hold that %s\n", promise);
    std::abort();
  }
}

bool isMachineFresh() {
  static unsigned runs = 0;
  if (runs++ % kRunsOfAMachine != 0) {
    return false;
  }
  host::resetMachine();
  host::Journal::instance().keepEntries(false);
  return true;
}

bool isOneIn(unsigned many, std::string_view bytes) {
  return std::hash<std::string_view>{}(bytes) % many == 0;
}

unsigned Input::byte() {
  if (left_.empty()) {
    return 0;
  }
  const auto first = static_cast<unsigned char>(left_.front());
  left_.remove_prefix(1);
  return first;
}

std::string_view Input::piece() {
  const std::size_t end = std::min(left_.find('\0'), left_.size());
  const std::string_view taken = left_.substr(0, end);
  left_.remove_prefix(std::min(end + 1, left_.size()));
  return taken;
}

std::string_view Input::rest() {
  return std::exchange(left_, {});
}

DriveFile::DriveFile(const wchar_t* path) {
  host::Drive& drive = host::machine().drive;
  const std::wstring_view whole(path);
  drive.createFolder(whole.substr(0, whole.rfind(L'\\')));
  native_ = drive.locate(whole).value().string();
}

void DriveFile::write(std::string_view bytes) const {
  const int file = open(native_.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (file < 0 || ::write(file, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size())) {
    giveUp("cannot be written", native_);
  }
  close(file);
}

std::string DriveFile::read() const {
  const int file = open(native_.c_str(), O_RDONLY);
  if (file < 0) {
    return {};
  }
  std::string bytes;
  std::array<char, 4096> block{};
  for (ssize_t size = 1; size > 0;) {
    size = ::read(file, block.data(), block.size());
    bytes.append(block.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
  }
  close(file);
  return bytes;
}

void DriveFile::remove() const {
  unlink(native_.c_str());
}

}  // namespace fuzz
