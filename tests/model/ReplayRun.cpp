#include "tests/model/ReplayRun.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string_view>
#include <utility>

#include "VUSL/Support/Singleton.h"
#include "platform/host/Call.h"
#include "platform/host/Machine.h"
#include "service/ServiceHost.h"
#include "tests/unit/service/ServiceFixture.h"

namespace handshake {

namespace {

using Enrollment = Singleton<TPMEnrollmentService::TPMEnrollment>;
using Peer = TPMEnrollmentService::TPMEnrollmentPeer;

constexpr char kDispatcher[] = "dispatcher";
constexpr char kService[] = "service";
constexpr char kManager[] = "manager";
constexpr char kPlatform[] = "platform";

constexpr wchar_t kTpmEvent[] = L"Global\\TpmEnrollmentEvent";
constexpr wchar_t kProgram[] = L"C:\\Orvix\\bin\\OrvixVTMEkRecertification.exe";

// As many as the model has.
constexpr std::int32_t kTries = 2;
// No run makes more calls of one name.
constexpr std::size_t kMostCalls = 200;
constexpr host::Nanoseconds kSecond = 1000 * host::kNanosecondsPerMillisecond;
// The service's sleeps are shorter than this and the wait of its loop is longer.
constexpr host::Nanoseconds kLongestSleep = 100 * kSecond;
// No run takes so long.
constexpr host::Nanoseconds kTooLong = 10'000'000 * kSecond;

class ClientFiles : public ServiceTest {
 public:
  using ServiceTest::installClient;

 private:
  void TestBody() override {}
};

// The word for a result; the result itself if there is none.
std::string worded(const std::string& result, const std::map<std::string, std::string>& words) {
  const auto found = words.find(result);
  return found == words.end() ? result : found->second;
}

auto isCallOf(std::string_view name) {
  return [name](const host::JournalEntry& entry) { return entry.name == name; };
}

// What the manager was told. The record is read when the call does its work, so it may be another
// than the caller filled in.
std::string reportOf(const std::vector<host::JournalEntry>& entries,
                     std::vector<host::JournalEntry>::const_iterator report) {
  if (report->result != "1") return "report refused";
  const auto told = std::count_if(entries.begin(), report, [](const host::JournalEntry& entry) {
    return isCallOf("SetServiceStatus")(entry) && entry.result == "1";
  });
  const SERVICE_STATUS& status =
      host::machine().services.statuses.at(static_cast<std::size_t>(told));
  return "report " + host::ServiceManager::stateName(status.dwCurrentState);
}

}  // namespace

ReplayRun::ReplayRun(const ModelRun& run) : run_(run), dispatcher_(&host::Scheduler::current()) {
  std::ranges::copy_if(run.steps, std::back_inserter(schedule_),
                       [](const Step& step) { return !step.call.starts_with("open"); });
}

std::vector<Step> ReplayRun::go() {
  setUpMachine();
  hookCalls();
  host::TestThread manager([this] { manage(); });
  host::TestThread platform([this] { bePlatform(); });
  wchar_t noName[] = L"";
  const SERVICE_TABLE_ENTRYW services[] = {{noName, ServiceMain}, {nullptr, nullptr}};
  StartServiceCtrlDispatcherW(services);
  manager.join();
  platform.join();
  return observed();
}

void ReplayRun::setUpMachine() const {
  host::Machine& machine = host::machine();
  machine.environment[L"TALS_CONFDIR_PATH"] = L"C:\\conf";
  if (run_.publishing == 1) machine.publishEvent(kTpmEvent);
  if (!run_.initWorks) machine.takeNamespace(L"TPMEnrollmentService");
  if (run_.loadWorks) {
    ClientFiles::installClient(run_.failures == 0 ? "" : "talsInitQX1 = 8\ntalsInitQX1 = 0\n");
    machine.drive.linkIn(STANDINS_DIR "/OrvixVTMEkRecertification.exe", kProgram);
  }
  if (!run_.createWorks) host::Faults::instance().failOnce("CreateEventW", 5);
  // Without a stop the third report is the first of STOPPED.
  if (run_.refusals > 0) host::Faults::instance().failOnce("SetServiceStatus", 5, 3);
}

void ReplayRun::hookCalls() {
  for (const char* name :
       {"SetServiceStatus", "WaitForSingleObject", "CreateEventW", "WaitForMultipleObjects",
        "GetLocalTime", "FreeLibrary", "CloseHandle", "SetEvent"}) {
    for (std::size_t nth = 1; nth <= kMostCalls; ++nth) {
      host::CallHooks::instance().before(name, nth, [this, name] { onCall(name); });
    }
  }
}

void ReplayRun::onCall(const char* name) {
  const host::Thread& self = host::Scheduler::current();
  const std::string thread = &self == dispatcher_ ? kDispatcher : self.name;
  if (!isStep(thread, name)) return;
  arrive(thread);
  record(thread, name, "");
  // Everybody else is held or waits, so the next signal is the handler's own.
  if (run_.signalRefusals > 0 && thread == kDispatcher &&
      std::string_view(name) == "SetServiceStatus" && !std::exchange(signalIsRefused_, true)) {
    host::Faults::instance().failOnce("SetEvent", 6);
  }
}

// Whether a call is one that the model knows.
bool ReplayRun::isStep(const std::string& thread, const std::string& name) {
  if (thread == kDispatcher) return name != "GetLocalTime";
  // The client caller has events of its own on the service's thread.
  if (thread != kService || name == "SetEvent") return false;
  if (name == "CreateEventW") return !std::exchange(hasCreated_, true);
  if (name == "GetLocalTime") return std::exchange(isAfterWait_, false);
  if (name == "FreeLibrary") return !std::exchange(hasUnloaded_, true);
  if (name == "CloseHandle") {
    return hasStarted_ && Enrollment::instanceOrNull() == nullptr &&
           !std::exchange(hasClosed_, true);
  }
  if (name == "WaitForMultipleObjects") isAfterWait_ = true;
  if (name == "WaitForSingleObject") Peer::setRetries(*Enrollment::getInstance(), kTries);
  hasStarted_ = hasStarted_ || Enrollment::instanceOrNull() != nullptr;
  return true;
}

std::string ReplayRun::nextThread() const {
  return done_ < schedule_.size() ? schedule_[done_].thread : "";
}

// Holds the calling thread until the run has it make its next step.
void ReplayRun::arrive(const std::string& thread) {
  host::Thread& self = host::Scheduler::current();
  if (std::ranges::count(arrived_, &self) == 0) arrived_.push_back(&self);
  {
    const host::Scheduler::Guard guard;
    host::Scheduler& scheduler = host::Scheduler::instance();
    if (!scheduler.block(
            "its step", [&] { return nextThread() == thread; }, scheduler.now() + kTooLong)) {
      giveUp(thread);
    }
  }
  passTo(self);
  ++done_;
}

// Everybody else comes to a call or to a wait first, those that sleep too.
void ReplayRun::passTo(host::Thread& self) {
  for (;;) {
    host::Scheduler::instance().standBack();
    const host::Nanoseconds until = sleepOfOthers(self);
    if (until == 0) return;
    const host::Scheduler::Guard guard;
    host::Scheduler::instance().block(
        "those that sleep", [] { return false; }, until);
  }
}

// When the first of the others that sleep wakes; 0 if none sleeps.
host::Nanoseconds ReplayRun::sleepOfOthers(const host::Thread& self) const {
  host::Nanoseconds first = host::kForever;
  for (const host::Thread* other : arrived_) {
    if (other != &self && other->state == host::Thread::State::kBlocked) {
      first = std::min(first, other->deadline);
    }
  }
  return first < host::Scheduler::instance().now() + kLongestSleep ? first : 0;
}

void ReplayRun::record(const std::string& thread, const std::string& name,
                       const std::string& call) {
  begun_.push_back({thread, name, call, host::Journal::instance().entries().size(),
                    host::Scheduler::current().id});
}

void ReplayRun::manage() {
  for (const Step& step : schedule_) {
    if (step.thread != kManager) continue;
    arrive(kManager);
    const DWORD answer = host::machine().services.requestStop();
    record(kManager, "", answer == ERROR_SUCCESS ? "stop accepted" : "stop refused");
  }
}

void ReplayRun::bePlatform() {
  for (const Step& step : schedule_) {
    if (step.thread != kPlatform) continue;
    arrive(kPlatform);
    if (step.call == "publish") {
      host::machine().publishEvent(kTpmEvent);
    } else {
      host::machine().signalEvent(kTpmEvent);
    }
    record(kPlatform, "", step.call);
  }
}

// What the call of a step came to, in the model's words.
std::string ReplayRun::outcomeOf(const Begun& begun) const {
  const std::vector<host::JournalEntry>& entries = host::Journal::instance().entries();
  const auto from = entries.begin() + static_cast<std::ptrdiff_t>(begun.entry);
  if (begun.name == "WaitForMultipleObjects") return "wait";
  if (begun.name == "FreeLibrary") return "unload";
  if (begun.name == "CloseHandle") return "close";
  if (begun.name == "GetLocalTime") {
    const auto wait = std::find_if(std::reverse_iterator(from), entries.rend(),
                                   isCallOf("WaitForMultipleObjects"));
    return "woke " + worded(wait->result, {{"0", "stop"}, {"1", "tpm"}, {"258", "time"}});
  }
  const auto entry = std::find_if(from, entries.end(), [&](const host::JournalEntry& candidate) {
    return candidate.thread == begun.threadId && candidate.name == begun.name;
  });
  if (entry == entries.end()) return begun.name + " did not come back";
  if (begun.name == "CreateEventW") return entry->result == "null" ? "create refused" : "create";
  if (begun.name == "SetEvent") return entry->result == "1" ? "set" : "set refused";
  if (begun.name == "SetServiceStatus") return reportOf(entries, entry);
  const std::vector<host::JournalEntry> created = host::Journal::instance().calls("CreateEventW");
  const bool isStopEvent = !created.empty() && entry->args == created[0].result + ", 0";
  if (!isStopEvent) return entry->result == "0" ? "lock" : "lock " + entry->result;
  return "check " + worded(entry->result, {{"0", "stop"}, {"258", "nothing"}});
}

std::vector<Step> ReplayRun::observed() const {
  const std::vector<host::JournalEntry>& entries = host::Journal::instance().entries();
  std::vector<Step> steps;
  std::size_t next = 0;
  const auto tellThoseBefore = [&](std::size_t entry) {
    for (; next < begun_.size() && begun_[next].entry <= entry; ++next) {
      const Begun& begun = begun_[next];
      steps.push_back({begun.thread, begun.name.empty() ? begun.call : outcomeOf(begun)});
    }
  };
  for (std::size_t i = 0; i < entries.size(); ++i) {
    tellThoseBefore(i);
    if (isCallOf("OpenEventW")(entries[i])) {
      steps.push_back({kService, entries[i].result == "null" ? "open refused" : "open"});
    }
  }
  tellThoseBefore(entries.size());
  return steps;
}

void ReplayRun::giveUp(const std::string& thread) const {
  const Step expected = done_ < schedule_.size() ? schedule_[done_] : Step{"nobody", "any more"};
  std::fprintf(stderr,
               "the model's run cannot go on\n  the model: %s\n  the machine: %s\n"
               "  now the model has: %s %s; waiting for its step: %s, and\n%s",
               textOf(run_.steps).c_str(), textOf(observed()).c_str(), expected.thread.c_str(),
               expected.call.c_str(), thread.c_str(),
               host::Scheduler::instance().describeThreads().c_str());
  std::fflush(nullptr);
  _exit(kStuck);
}

}  // namespace handshake
