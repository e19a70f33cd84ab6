// A whole run of the program under Wine, seen from inside: starts the program as the plan says,
// listens to it, lets the plan's steps happen, and tells all of it on the standard output.
//
//   life PLAN     runs the plan; the exit code is the program's, as far as eight bits tell it
//   life --idle [MILLISECONDS]
//                 is a service that has nothing to do, and is one only after so long

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>

#include "platform/wine/DebugListener.h"
#include "platform/wine/NamespaceDirectory.h"
#include "platform/wine/Plan.h"
#include "platform/wine/RunRecords.h"
#include "platform/wine/ServiceProcess.h"
#include "platform/wine/TokenPrivileges.h"

namespace wine {
namespace {

constexpr long long kNanosecondsPerMillisecond = 1'000'000;
constexpr int kNothingRun = 125;

class Life {
 public:
  explicit Life(const Plan& plan)
      : plan_(plan), seen_(plan.steps.size(), 0), process_(records_, [this](const auto& state) {
          see("status", [&](const PlannedStep& step) { return step.what == state; });
        }) {}

  int run() {
    for (const std::wstring& name : plan_.events) {
      publish(name);
    }
    for (const std::wstring& alias : plan_.namespaces) {
      HANDLE directory = nullptr;
      if (createNamespaceDirectory(alias, directory) != ERROR_SUCCESS) {
        throw std::runtime_error("the namespace cannot be taken");
      }
    }
    if (plan_.listener) {
      listen();
    }
    if (plan_.startedByManager) {
      process_.startByManager(plan_.commandLine);
    } else {
      process_.startFromConsole(plan_.program, plan_.commandLine);
    }
    return follow();
  }

 private:
  void listen() {
    listener_ = std::make_unique<DebugListener>([this](const std::string& line, DWORD writer) {
      process_.isProcess(writer);
      lookAtToken(line);
      process_.look();
      records_.record('D', line);
      see("log",
          [&](const PlannedStep& step) { return line.find(step.what) != std::string::npos; });
    });
  }

  // What the token holds at the first line is what it held at the start, if that line is one of
  // those that come ahead of the removal. The program may be a line further on than the one that is
  // told, and never two.
  void lookAtToken(const std::string& line) {
    if (!heldAtFirst_) {
      heldAtFirst_ = process_.privileges();
    }
    if (line.find("AdjustTokenPrivileges ") != std::string::npos) {
      records_.note(tokenText(*heldAtFirst_, process_.privileges()));
    }
  }

  template <class IsMeant>
  void see(const char* when, const IsMeant& isMeant) {
    for (std::size_t i = 0; i < plan_.steps.size(); ++i) {
      const PlannedStep& step = plan_.steps[i];
      if (step.when == when && isMeant(step) && ++seen_[i] == step.nth) {
        perform(step);
      }
    }
  }

  // The timed steps and the end; looks at the program all the while.
  int follow() {
    std::vector<const PlannedStep*> timed;
    for (const PlannedStep& step : plan_.steps) {
      if (step.when == "at") {
        timed.push_back(&step);
      }
    }
    std::ranges::stable_sort(timed, {},
                             [](const PlannedStep* step) { return std::stoull(step->what); });
    const long long began = records_.nanoseconds();
    auto next = timed.begin();
    for (;;) {
      process_.look();
      const auto code = process_.exitCode();
      if (isEnded_) {
        return finish("ended", 0);
      }
      if (code) {
        return finish("exit " + std::to_string(*code), *code);
      }
      // The times of a script count from the start, which may have taken its time.
      const auto now =
          static_cast<std::uint64_t>((records_.nanoseconds() - began) / kNanosecondsPerMillisecond);
      if (next != timed.end() && now >= std::stoull((*next)->what)) {
        perform(**next++);
        continue;
      }
      if (now >= plan_.limitMs) {
        process_.end();
        return finish("running", 0);
      }
      process_.waitFor(1);
    }
  }

  // Behind the last line that is still on its way.
  int finish(const std::string& how, DWORD code) {
    listener_.reset();
    process_.look();
    process_.endConsole();
    records_.record('E', how);
    return static_cast<int>(code & 0xff);
  }

  void perform(const PlannedStep& step) {
    const std::string subject = toUtf8(step.subject);
    if (step.action == "signal") {
      HANDLE const event = OpenEventW(EVENT_MODIFY_STATE, FALSE, step.subject.c_str());
      const bool isThere = event != nullptr && SetEvent(event);
      records_.note("event " + subject +
                    (isThere ? " signalled" : " is not there and was not signalled"));
      if (event != nullptr) {
        CloseHandle(event);
      }
    } else if (step.action == "publish") {
      publish(step.subject);
      records_.note("event " + subject + " published");
    } else if (step.action == "control") {
      process_.control(static_cast<DWORD>(std::stoul(step.text)));
    } else if (step.action == "write") {
      std::ofstream file(std::filesystem::path(step.subject), std::ios::binary);
      file << step.text << std::flush;
      records_.note(file ? "file " + subject + " written" : "file not written: " + subject);
    } else if (step.action == "delete") {
      const bool isThere = DeleteFileW(step.subject.c_str()) != FALSE;
      records_.note("file " + subject +
                    (isThere ? " deleted" : " is not there and was not deleted"));
    } else if (step.action == "end process") {
      records_.note("the process is ended from outside");
      process_.end();
      isEnded_ = true;
    } else {
      throw std::runtime_error("no such action: " + step.action);
    }
  }

  // The event lives as long as this process, as one that the platform has made.
  static void publish(const std::wstring& name) {
    if (CreateEventW(nullptr, FALSE, FALSE, name.c_str()) == nullptr) {
      throw std::runtime_error("the event cannot be published: " + toUtf8(name));
    }
  }

  const Plan& plan_;
  std::vector<unsigned> seen_;
  RunRecords records_;
  std::atomic<bool> isEnded_{false};
  ServiceProcess process_;
  std::optional<std::set<std::string>> heldAtFirst_;
  std::unique_ptr<DebugListener> listener_;
};

}  // namespace
}  // namespace wine

int wmain(int argc, wchar_t** argv) {
  try {
    if (argc >= 2 && argc <= 3 && std::wstring(argv[1]) == L"--idle") {
      wine::liveAsIdleService(argc == 3 ? std::stoul(argv[2]) : 0);
      return 0;
    }
    if (argc != 2) {
      throw std::runtime_error("one argument is needed, the plan's file");
    }
    const wine::Plan plan = wine::readPlan(argv[1]);
    return wine::Life(plan).run();
  } catch (const std::exception& failure) {
    std::cerr << "life: " << failure.what() << std::endl;
    return wine::kNothingRun;
  }
}
