// The beginning and the end of every process that has the model in it. A life of a scenario gets
// its machine here, ahead of the product's static objects, and reports its end here, after them.

#include "platform/host/Bootstrap.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "platform/host/Call.h"
#include "platform/host/Imbalances.h"
#include "platform/host/Ledger.h"
#include "platform/host/LifeServer.h"
#include "platform/host/Machine.h"
#include "platform/host/Nursery.h"
#include "platform/host/ProcessObject.h"
#include "platform/host/Report.h"
#include "platform/host/Schedule.h"

namespace host {
namespace {

constexpr int kHarnessError = 71;

Scenario* theLife = nullptr;
std::int32_t theExitCode = 0;

[[noreturn]] void giveUp(const std::string& reason) {
  std::fprintf(stderr, "model: %s\n", reason.c_str());
  _exit(kHarnessError);
}

std::string readWhole(const char* path) {
  std::string text;
  FILE* file = std::fopen(path, "rb");
  if (file == nullptr) {
    giveUp(std::string(path) + ": " + std::strerror(errno));
  }
  std::array<char, 4096> block{};
  while (const std::size_t size = std::fread(block.data(), 1, block.size(), file)) {
    text.append(block.data(), size);
  }
  std::fclose(file);
  return text;
}

std::uint64_t numberFrom(const char* variable) {
  const char* text = std::getenv(variable);
  if (text == nullptr) {
    return 0;
  }
  std::uint64_t number = 0;
  const char* end = text + std::strlen(text);
  const auto [stopped, error] = std::from_chars(text, end, number);
  if (error != std::errc{} || stopped != end) {
    giveUp(std::string(variable) + " is no number: " + text);
  }
  return number;
}

void prepareLife(const char* scenarioPath) {
  auto parsed = parseScenario("life", readWhole(scenarioPath));
  if (const auto* error = std::get_if<ScenarioError>(&parsed)) {
    giveUp(std::string(scenarioPath) + ":" + std::to_string(error->line) + ": " + error->reason);
  }
  theLife = new Scenario(std::move(std::get<Scenario>(parsed)));
  std::optional<LifeOrder> order;
  if (std::getenv(kNurseryVariable) != nullptr) {
    order = raiseWatchedLife();
  }
  const auto descriptor = static_cast<int>(numberFrom("TPM_HOST_REPORT"));
  fcntl(descriptor, F_SETFD, FD_CLOEXEC);
  Report::instance().open(descriptor, Scheduler::instance().mode() == Scheduler::Mode::kVirtual);
  // Only counts and the hash: a life may last for years of the machine's time.
  Journal::instance().keepEntries(false);
  try {
    if (const char* drive = std::getenv("TPM_HOST_DRIVE")) {
      machine().drive.keepIn(drive);
    }
    setUpMachine(*theLife);
    if (order) {
      beginWatchedLife(*order);
    }
  } catch (const DriveError& error) {
    giveUp(error.what());
  }
}

// Priorities below 101 belong to the implementation; 101 is ahead of all ordinary static objects.
__attribute__((constructor(101))) void beginProcess() {
  if (std::getenv(kLifeServerVariable) != nullptr) {
    serveLives();
  }
  const char* mode = std::getenv("TPM_HOST_MODE");
  const bool isReal = mode != nullptr && std::strcmp(mode, "real") == 0;
  Scheduler::instance().start(isReal ? Scheduler::Mode::kReal : Scheduler::Mode::kVirtual,
                              numberFrom("TPM_HOST_SEED"));
  const char* order = std::getenv("TPM_HOST_ORDER");
  if (order != nullptr && !Schedule::instance().follow(order, numberFrom("TPM_HOST_SEED"))) {
    giveUp(std::string("TPM_HOST_ORDER is no order of threads: ") + order);
  }
  if (const char* scenarioPath = std::getenv("TPM_HOST_SCENARIO")) {
    prepareLife(scenarioPath);
  }
}

// The peak of this program alone; what the system tells of a child counts its parent's memory too.
long peakMemoryKiB() {
  FILE* status = std::fopen("/proc/self/status", "r");
  long peak = 0;
  std::array<char, 256> line{};
  while (status != nullptr && std::fgets(line.data(), line.size(), status) != nullptr) {
    if (std::sscanf(line.data(), "VmHWM: %ld", &peak) == 1) {
      break;
    }
  }
  if (status != nullptr) {
    std::fclose(status);
  }
  return peak;
}

// Runs after the destructors of all static objects.
__attribute__((destructor(101))) void endProcess() {
  if (theLife == nullptr) {
    return;
  }
  // Other threads may still run; none of them adds to the account from here on.
  const Scheduler::Guard guard;
  waitForPrograms();
  std::vector<std::string> lines = Ledger::instance().violations();
  for (const Ledger::Entry& entry : Ledger::instance().stillOpen()) {
    lines.push_back(entry.kind + " from " + entry.maker + " is still open");
  }
  reportLedger(*theLife, lines);
  Report& report = Report::instance();
  report.recordOrder();
  report.record(ReportKind::kHash, hexText(Journal::instance().hash()));
  report.record(ReportKind::kMemory, std::to_string(peakMemoryKiB()));
  report.record(ReportKind::kEnd, "exit " + std::to_string(theExitCode));
  report.flush();
}

}  // namespace

const Scenario* lifeScenario() {
  return theLife;
}

void setExitCode(std::int32_t code) {
  theExitCode = code;
}

}  // namespace host
