#include "tools/runner/ForkingProgram.h"

#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>

#include "platform/host/ForkedLives.h"
#include "tools/runner/LifeSurroundings.h"
#include "tools/runner/RecordReader.h"

namespace runner {
namespace {

constexpr std::size_t kMostStrayBytes = 4096;

std::string readWhole(int descriptor, std::size_t most) {
  std::string text;
  std::array<char, 65536> block{};
  while (text.size() < most) {
    const ssize_t size =
        pread(descriptor, block.data(), block.size(), static_cast<off_t>(text.size()));
    if (size <= 0) {
      break;
    }
    text.append(block.data(), static_cast<std::size_t>(size));
  }
  return text.substr(0, most);
}

}  // namespace

std::variant<std::unique_ptr<ForkingProgram>, std::string> ForkingProgram::start(
    const ForkingOptions& options) {
  std::unique_ptr<ForkingProgram> program(new ForkingProgram);
  std::string refusal = program->open();
  if (refusal.empty()) {
    refusal = program->spawn(options);
  }
  if (!refusal.empty()) {
    return refusal;
  }
  return program;
}

ForkingProgram::~ForkingProgram() {
  orders_.reset();
  if (process_ > 0) {
    waitpid(process_, nullptr, 0);
  }
}

std::string ForkingProgram::open() {
  report_ = movedUp(memfd_create("report", MFD_CLOEXEC));
  stray_ = movedUp(memfd_create("stray", MFD_CLOEXEC));
  return report_.isOpen() && stray_.isOpen() ? "" : systemText("no file for what a life tells");
}

std::string ForkingProgram::spawn(const ForkingOptions& options) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) {
    return systemText("no socket");
  }
  orders_ = movedUp(ends[0]);
  const Descriptor theirs = movedUp(ends[1]);

  ProgramStart start{options.program, options.arguments, options.environment,
                     report_.get(),   stray_.get(),      options.descriptors};
  start.descriptors.emplace_back(theirs.get(), host::kLifeOrders);
  const auto started = startProgram(start);
  if (const auto* refusal = std::get_if<std::string>(&started)) {
    return *refusal;
  }
  process_ = std::get<StartedProgram>(started).process;
  return {};
}

std::variant<RunResult, std::string> ForkingProgram::live(std::string_view order) {
  host::LifeEnding ending;
  if (send(orders_.get(), order.data(), order.size(), MSG_NOSIGNAL) < 0 ||
      recv(orders_.get(), &ending, sizeof ending, 0) != static_cast<ssize_t>(sizeof ending)) {
    return "no more lives can be had: " + readWhole(stray_.get(), kMostStrayBytes);
  }
  RunResult result;
  bool endTold = false;
  RecordReader reader;
  reader.feed(readWhole(report_.get(), SIZE_MAX), [&](const Record& record) {
    addRecord(result, record);
    endTold = endTold || record.kind == host::ReportKind::kEnd;
    return true;
  });
  result.strayOutput = readWhole(stray_.get(), kMostStrayBytes);
  if (ftruncate(stray_.get(), 0) != 0 || lseek(stray_.get(), 0, SEEK_SET) != 0) {
    return systemText("the stray output cannot be emptied");
  }
  if (ending.tookTooLong) {
    result.end = End::kKilled;
    result.detail = "it took more than a minute";
    return result;
  }
  decideEnd(result, ending.waitStatus, endTold, reader.fault());
  return result;
}

}  // namespace runner
