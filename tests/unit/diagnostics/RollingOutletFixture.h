#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "VUSL/Support/LogStatusListener.h"
#include "VUSL/Support/RollingDateFileLogOutlet.h"
#include "tests/support/MachineTest.h"

// Keeps what a file outlet tells its listener.
class RecordingListener : public LogStatusListener {
 public:
  void OnStatus(const vusl::string_t& text, uint32_t flag) override {
    heard.emplace_back(vusl::Narrow(text), flag);
  }

  std::vector<std::pair<std::string, uint32_t>> heard;
};

// The base of tests of the file outlets: a folder for logs, and a machine whose clock begins at
// 2026-01-02 03:04:05.
class RollingOutletFixture : public host::MachineTest {
 protected:
  static constexpr const char* kPath = "C:\\logs\\x.log";
  // What an archive is called that is made in the first second.
  static constexpr const wchar_t* kFirstArchive = L"x.log.20260102030405";

  RollingOutletFixture() {
    host::machine().drive.createFolder(L"C:\\logs");
    host::machine().setLocalTime(2026, 1, 2, 3, 4, 5, 0);
  }

  static std::optional<std::string> content(const std::wstring& name) {
    return host::machine().drive.read(L"C:\\logs\\" + name);
  }
  static void write(const std::wstring& name, const std::string& bytes) {
    host::machine().drive.write(L"C:\\logs\\" + name, bytes);
  }

  // A file last written so many days before the machine's now.
  static void writeDaysAgo(const std::wstring& name, const std::string& bytes, int days) {
    constexpr std::int64_t kMsPerDay = 86'400'000;
    write(name, bytes);
    host::machine().drive.setTimes(L"C:\\logs\\" + name,
                                   host::machine().utcMs() - days * kMsPerDay);
  }
};
