#pragma once

#include <cstdlib>
#include <string>
#include <vector>

#include "task/TaskLifecycle.h"
#include "tests/unit/task/TaskFixture.h"

// What every operation does first.
inline const std::vector<std::string> kOpening = {"CoInitializeEx", "CoInitializeSecurity",
                                                  "CoCreateInstance", "ITaskService::Connect",
                                                  "ITaskService::GetFolder"};

inline constexpr wchar_t kStoredTask[] =
    L"C:\\Windows\\System32\\Tasks\\Orvix VTM EK Recertification";

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

  // The stored task's document, which must hold nothing beyond ASCII; empty if there is none.
  static std::string storedDocument() {
    const std::string bytes = host::machine().drive.read(kStoredTask).value_or("");
    std::string text;
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
      EXPECT_EQ(bytes[i + 1], '\0');
      text += bytes[i];
    }
    return text;
  }

  // Whether the platform's public schema allows the stored task's document.
  static bool isStoredDocumentValid() {
    const std::string file = host::machine().drive.locate(kStoredTask)->string();
    const std::string command = "xmllint --noout --nonet --schema '" SOURCE_ROOT
                                "/tests/data/task.xsd' '" +
                                file + "' >/dev/null 2>&1";
    return std::system(command.c_str()) == 0;
  }

  // Everything that was taken has been given back, once.
  static void expectBalanced() {
    EXPECT_EQ(ledger().open("reference"), 0U);
    EXPECT_EQ(ledger().violations(), Texts{});
  }
};
