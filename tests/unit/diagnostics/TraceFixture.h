#pragma once

#include <memory>
#include <string>
#include <vector>

#include "VUSL/Support/EtwLogOutlet.h"
#include "tests/support/MachineTest.h"

// An outlet with a provider of the test's own, and one session that may listen to it.
class TraceFixture : public host::MachineTest {
 protected:
  TraceFixture() {
    provider.metadata = kMetadata;
    provider.id = kId;
  }
  ~TraceFixture() override { EtwLogOutlet::level = 1; }

  // A session wants events up to `level`.
  static void listen(UCHAR level) { host::machine().trace.enable("session", kId, {level}); }

  // Registers the provider where a session already wants events up to `level`.
  void registerWithSession(UCHAR level) {
    listen(level);
    outlet->registerProvider(&provider);
  }

  void log(const std::wstring& message, int level) {
    outlet->Log(L"stamp ", L"tag: ", message, level);
  }

  static std::vector<host::TraceEvent> events() {
    return host::machine().trace.received("session");
  }

  static constexpr GUID kId = {
      0x590DE0FF, 0xDC7D, 0x4731, {0xAC, 0x4F, 0xA9, 0x61, 0xAF, 0, 0xE9, 0xDA}};
  static constexpr uint8_t kMetadata[] = {5, 0, 'A', 'B', 0};

  TraceProvider provider{};
  std::unique_ptr<EtwLogOutlet> outlet = std::make_unique<EtwLogOutlet>();
};
