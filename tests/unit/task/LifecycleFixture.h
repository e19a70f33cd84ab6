#pragma once

#include <string>
#include <vector>

#include "task/TaskLifecycle.h"
#include "tests/unit/task/TaskFixture.h"

// What every operation does first.
inline const std::vector<std::string> kOpening = {"CoInitializeEx", "CoInitializeSecurity",
                                                  "CoCreateInstance", "ITaskService::Connect",
                                                  "ITaskService::GetFolder"};

class LifecycleTest : public TaskTest {
 protected:
  // A task in `directory`, as the service makes it.
  void makeTask(const std::wstring& directory) {
    EnsureTask(directory);
    forget();
  }

  static Texts joined(const std::vector<Texts>& parts) {
    Texts all;
    for (const Texts& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
  }

  // Everything that was taken has been given back, once.
  static void expectBalanced() {
    EXPECT_EQ(ledger().open("reference"), 0U);
    EXPECT_EQ(ledger().violations(), Texts{});
  }
};
