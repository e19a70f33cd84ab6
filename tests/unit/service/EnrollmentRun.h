#pragma once

#include <functional>
#include <string>

#include "tests/unit/service/ServiceFixture.h"

inline const std::wstring kTpmEvent = L"Global\\TpmEnrollmentEvent";
inline const std::wstring kProgram = L"C:\\Orvix\\bin\\OrvixVTMEkRecertification.exe";

// An enrollment whose namespace stands, so that `Run` can be called.
class EnrollmentRun : public ServiceTest {
 protected:
  EnrollmentRun() {
    EXPECT_EQ(enrollment.CreateServicePrivateNamespace(), 0U);
    Peer::setWaitTimeoutMs(60'000);
  }

  static void publishTpmEvent() { host::machine().publishEvent(kTpmEvent); }
  static void installProgram() {
    host::machine().drive.copyIn(STANDINS_DIR "/OrvixVTMEkRecertification.exe", kProgram);
  }

  // How often the client library was asked for each method.
  static std::size_t answers(const std::string& entry) {
    std::size_t count = 0;
    for (const std::string& answer : host::machine().clientAnswers) {
      if (answer.starts_with(entry + " ")) ++count;
    }
    return count;
  }

  // `Run`, with something that happens `atMs` after its start.
  std::uint32_t runWith(DWORD atMs, const std::function<void()>& action) {
    host::TestThread other([&] {
      Sleep(atMs);
      action();
    });
    return enrollment.Run();
  }
  std::uint32_t runAndStopAfter(DWORD ms) {
    return runWith(ms, [this] { enrollment.Stop(); });
  }

  TPMEnrollmentService::TPMEnrollment enrollment;
};
