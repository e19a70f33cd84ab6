#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/host/ProcessObject.h"
#include "tests/unit/host/ComFixture.h"

namespace host {

inline constexpr wchar_t kName[] = L"Some Task";
inline constexpr wchar_t kProgram[] = L"C:\\x\\Program.exe";
inline constexpr wchar_t kProvider[] = L"Some-Provider";
inline constexpr wchar_t kQuery[] =
    L"<QueryList><Query Id=\"0\" Path=\"System\"><Select Path=\"System\">"
    L"*[System[Provider[@Name='Some-Provider'] and (EventID=1025 or EventID=1026)]]"
    L"</Select></Query></QueryList>";

// A machine with a task that an event starts, and its notes.
class TaskTriggerTest : public TaskServiceTest {
 protected:
  using Texts = std::vector<std::string>;

  TaskTriggerTest() {
    machine().drive.linkIn(STANDINS_DIR "/OrvixVTMEkRecertification.exe", kProgram);
    machine().onNote = [this](const std::string& what) { notes.push_back(what); };
  }
  ~TaskTriggerTest() override {
    waitForPrograms();
    machine().onNote = nullptr;
  }

  // A task that waits for events 1025 and 1026, changed before it is stored.
  void makeTask(const std::function<void(ITaskSettings&)>& change = nullptr,
                const std::wstring& query = kQuery) const {
    const auto task = newTask();
    addProgram(*task, std::wstring(L"\"") + kProgram + L"\"");
    addEventTrigger(*task, query);
    if (change) {
      change(*settingsOf(*task));
    }
    ASSERT_EQ(put(kName, *task), 0);
  }

  // How many tasks an event starts.
  static std::size_t startedBy(const wchar_t* log, const wchar_t* provider, DWORD id) {
    const std::size_t before = machine().tasksStarted.size();
    machine().raiseEvent(log, provider, id);
    return machine().tasksStarted.size() - before;
  }

  Texts notes;
};

}  // namespace host
