#include "client/talsClientCaller.h"

#include <array>

#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/LogTag.h"
#include "VUSL/Support/SharedTexts.h"
#include "client/Progress.h"
#include "client/ProtectedCaid.h"
#include "client/TalsCallShapes.h"
#include "platform/win32.h"

namespace {

constexpr std::uint32_t kFirstComponent = 1;
constexpr std::uint32_t kSecondComponent = 2;

constexpr std::uint32_t kInitBoth = 0;
constexpr std::uint32_t kInitFirst = 1;
constexpr std::uint32_t kInitSecond = 2;
constexpr std::uint32_t kRecertify = 3;

}  // namespace

talsClientCaller::talsClientCaller(const std::string& threadName) : Thread(threadName) {}

talsClientCaller::~talsClientCaller() {
  LogItem().debug() << "Closing talsClient access layer";
  // Deliberate: the flag is the only test. A thread that was started but has not begun its body is
  // not waited for, because a caller that was never started must go without a wait.
  if (!isBodyRunning()) return;
  try {
    Wait();
  } catch (...) {
    // The thread has logged what it threw, and a destructor has nobody to pass it on to.
  }
}

talsStatus talsClientCaller::executeSync(std::uint32_t command, std::uint32_t /*reserved*/) {
  LogItem().debug() << LogAddress(this) << "Executing command synchronously";
  return dispatchCommand(command);
}

void talsClientCaller::setKeyType(std::uint32_t type) {
  keyType = type;
}

void talsClientCaller::executeAsync(std::uint32_t command) {
  LogItem().debug() << LogAddress(this) << "Executing command asynchronously";
  commands.clear();
  commands.push_back(command);
  return executeScheduled();
}

void talsClientCaller::executeScheduled() {
  LogItem().info() << "Executing scheduled commands: "
                   << static_cast<std::uint32_t>(commands.size());
  Start();
}

std::uint32_t talsClientCaller::currentProgressState() {
  return latestProgressState();
}

void talsClientCaller::Run() {
  LogItem().debug() << "Execution of scheduled commands will be performed at thread: "
                    << GetCurrentThreadId();
  for (const std::uint32_t command : commands) dispatchCommand(command);
}

talsStatus talsClientCaller::dispatchCommand(std::uint32_t command) {
  switch (command) {
    case kInitBoth:
      return runInit(std::make_unique<Components>(Components{kFirstComponent, kSecondComponent}));
    case kInitFirst:
      return runInit(std::make_unique<Components>(Components{kFirstComponent}));
    case kInitSecond:
      return runInit(std::make_unique<Components>(Components{kSecondComponent}));
    case kRecertify:
      return runRecertification(keyType);
    default:
      return STATUS_ERROR;
  }
}

talsStatus talsClientCaller::runInit(std::unique_ptr<Components> components) {
  TalsEntry entry = nullptr;
  if (components->size() >= 2) {
    entry = loader->entries.talsInit;
  } else if (components->front() == kFirstComponent) {
    entry = loader->entries.talsInitHUB;
  } else if (components->front() == kSecondComponent) {
    entry = loader->entries.talsInitQX1;
  } else {
    return STATUS_ERROR;
  }

  // Deliberate: the slot is not tested. A library without a live entry faults here; a test would
  // turn a broken installation into a status that counts as done.
  const talsStatus status = reinterpret_cast<TalsInitEntry>(entry)(nullptr);
  LogItem().debug() << LogAddress(this) << "tALS init status: " << status;
  return status;
}

// An exception leaves without the closing line: there is no status then.
talsStatus talsClientCaller::runRecertification(std::uint32_t type) {
  LogItem().debug() << "Starting VTM recertification for key type: " << type;
  const talsStatus status = transactRecertification(type);
  LogItem().info() << LogAddress(this) << "VTM Recertification status for key type " << type << ": "
                   << status;
  return status;
}

talsStatus talsClientCaller::transactRecertification(std::uint32_t type) const {
  const TalsRecertificationRequest wanted{type};
  std::array<unsigned char, sizeof wanted> request{};
  if (memcpy_s(request.data(), request.size(), &wanted, sizeof wanted) != 0) {
    LogItem().error() << kMemcpyFailed;
    return STATUS_ERROR;
  }

  const TalsEntryTable& entries = loader->entries;
  const ProtectedCaid caid(entries);
  // Deliberate: neither this slot nor those of the handle are tested, as with the live entries.
  const auto usePermit = reinterpret_cast<TalsUsePermitEntry>(entries.talsUsePermit);
  return usePermit(caid.handle(), request.data(), sizeof wanted, &onProgress);
}
