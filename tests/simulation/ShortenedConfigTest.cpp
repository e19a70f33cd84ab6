#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tools/simulate/Verdict.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

constexpr char kReading[] =
    "[INF] [TPM] Reading config from file: C:\\stack\\..\\conf\\TPMEnrollmentService.conf\n";

// A life that an exception ended as the service had told `lastLine`.
class ShortenedConfigTest : public ::testing::Test {
 protected:
  simulate::Verdict endedAt(const std::string& lastLine) {
    result_.records.push_back(
        {host::ReportKind::kDebugLine, 0,
         "2026-01-02 03:04:05:006 0000000000001a34 TPMEnrollmentService: " + lastLine});
    result_.end = runner::End::kTerminate;
    return simulate::judgeLife({scenario_, result_, std::nullopt});
  }

  ShortenedConfigTest() {
    scenario_.clientLibrary = "talsClient";
    scenario_.proxyLibrary = "talsProxy";
    host::Step edit;
    edit.action.kind = host::Action::Kind::kWriteFile;
    edit.action.subject = L"C:\\stack\\..\\conf\\TPMEnrollmentService.conf";
    scenario_.script.push_back(edit);
    result_.strayOutput = "what():  Unrecognized type of exception occured";
  }

  host::Scenario scenario_;
  runner::RunResult result_;
};

TEST_F(ShortenedConfigTest, EndsTheProcessThatReadsIt) {
  const simulate::Verdict verdict = endedAt(kReading);
  EXPECT_THAT(verdict.broken, IsEmpty());
  EXPECT_EQ(verdict.probes[static_cast<std::size_t>(simulate::Probe::kConfigShortened)], 1U);
}

TEST_F(ShortenedConfigTest, IsNoReasonForAnotherException) {
  result_.strayOutput = "what():  something else";
  EXPECT_THAT(endedAt(kReading).broken, ElementsAre(StartsWith("an exception ended the process")));
}

TEST_F(ShortenedConfigTest, IsNoReasonWhereNobodyEdits) {
  scenario_.script.clear();
  EXPECT_THAT(endedAt(kReading).broken, ElementsAre(StartsWith("an exception ended the process")));
}

TEST_F(ShortenedConfigTest, IsNoReasonOnceTheServiceHasReadOn) {
  EXPECT_THAT(endedAt("[DBG] [TPM] Method 1\n").broken,
              ElementsAre(StartsWith("an exception ended the process")));
}

}  // namespace
