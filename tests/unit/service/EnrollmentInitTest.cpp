#include <algorithm>
#include <functional>
#include <type_traits>

#include "VUSL/Support/ConfigMemory.h"
#include "VUSL/Support/Exception.h"
#include "VUSL/Support/IRunning.h"
#include "VUSL/Support/Singleton.h"
#include "tests/unit/runtime/Thrown.h"
#include "tests/unit/service/ServiceFixture.h"

namespace {

using TPMEnrollmentService::TPMEnrollment;

static_assert(std::is_base_of_v<vusl::IRunning, TPMEnrollment>);

const std::string kUnreadable =
    "[DBG] [TPM] Could not read parameter: TCBRepeaterTime or value is incorrect -> Default value "
    "will be used";

class EnrollmentInitTest : public ServiceTest {
 protected:
  EnrollmentInitTest() {
    host::machine().environment[L"TALS_TPM_ENROLLMENT_SERVICE_CONF_PATH"] = L"C:\\own.conf";
  }

  // What `Init` makes of one configuration.
  std::int32_t waitTimeoutMsFor(const std::string& content) {
    host::machine().drive.write(L"C:\\own.conf", content);
    EXPECT_EQ(enrollment.Init(), 0);
    return Peer::waitTimeoutMs();
  }

  TPMEnrollment enrollment;
};

TEST_F(EnrollmentInitTest, newObjectIsNeitherInitializedNorRunning) {
  EXPECT_FALSE(Peer::initialized(enrollment));
  EXPECT_FALSE(enrollment.IsRunning());
  EXPECT_EQ(Peer::retries(enrollment), 10);
  EXPECT_EQ(Peer::retryDelayMs(enrollment), 5000U);
}

TEST_F(EnrollmentInitTest, newObjectOwnsAnUnnamedUnownedLock) {
  ASSERT_EQ(journal().calls("CreateMutexW").size(), 1U);
  EXPECT_EQ(journal().calls("CreateMutexW")[0].args, "null, 0, null");
}

TEST_F(EnrollmentInitTest, fieldsStandInTheirOrder) {
  const std::vector<const void*> places = Peer::places(enrollment);
  EXPECT_TRUE(std::ranges::is_sorted(places, std::less<const void*>()));
}

// Without the fixture, which would clear them.
TEST(EnrollmentProcessTest, handlesAreNullUntilCreated) {
  using Peer = TPMEnrollmentService::TPMEnrollmentPeer;
  EXPECT_EQ(Peer::eventHandle(0), nullptr);
  EXPECT_EQ(Peer::eventHandle(1), nullptr);
  EXPECT_EQ(Peer::boundaryDescriptor(), nullptr);
  EXPECT_EQ(Peer::privateNamespace(), nullptr);
}

TEST_F(EnrollmentInitTest, isRunningTakesTheLock) {
  journal().clear();
  EXPECT_FALSE(enrollment.IsRunning());
  EXPECT_EQ(journal().namesOf({"WaitForSingleObject", "ReleaseMutex"}),
            (Texts{"WaitForSingleObject", "ReleaseMutex"}));
}

TEST_F(EnrollmentInitTest, successReturnsZeroAndLogsTheNamespace) {
  host::machine().drive.write(L"C:\\own.conf", "");
  EXPECT_EQ(enrollment.Init(), 0);
  EXPECT_TRUE(Peer::initialized(enrollment));
  EXPECT_EQ(log.texts(), (Texts{"[INF] [TPM] Reading config from file: C:\\own.conf",
                                "[DBG] [TPM] Private Namespace created!"}));
}

TEST_F(EnrollmentInitTest, secondInitReturnsZeroAndDoesNothing) {
  ASSERT_EQ(enrollment.Init(), 0);
  log.clear();
  journal().clear();
  EXPECT_EQ(enrollment.Init(), 0);
  EXPECT_EQ(log.texts(), Texts{});
  EXPECT_EQ(journal().names(), Texts{});
}

TEST_F(EnrollmentInitTest, variableNamesTheWholePathOfTheFile) {
  host::machine().drive.write(L"C:\\own.conf", "TCBRepeaterTime = 7\n");
  installClient();
  writeConfiguration("TCBRepeaterTime = 9\n");
  EXPECT_EQ(enrollment.Init(), 0);
  EXPECT_EQ(Peer::waitTimeoutMs(), 7000);
}

TEST_F(EnrollmentInitTest, emptyVariableCountsAsNotSet) {
  host::machine().environment[L"TALS_TPM_ENROLLMENT_SERVICE_CONF_PATH"] = L"";
  installClient();
  writeConfiguration("TCBRepeaterTime = 9\n");
  EXPECT_EQ(enrollment.Init(), 0);
  EXPECT_EQ(Peer::waitTimeoutMs(), 9000);
  EXPECT_TRUE(
      log.contains("[INF] [TPM] Reading config from file: "
                   "C:\\Orvix\\bin\\..\\conf\\TPMEnrollmentService.conf"));
}

TEST_F(EnrollmentInitTest, variableThatCannotBeReadCountsAsNotSet) {
  host::machine().drive.write(L"C:\\own.conf", "TCBRepeaterTime = 7\n");
  installClient();
  writeConfiguration("TCBRepeaterTime = 9\n");
  faults().failOnce("_dupenv_s", 12);
  EXPECT_EQ(enrollment.Init(), 0);
  EXPECT_EQ(Peer::waitTimeoutMs(), 9000);
}

TEST_F(EnrollmentInitTest, directoryOfTheFileCanBeMovedByItsVariable) {
  host::machine().environment.erase(L"TALS_TPM_ENROLLMENT_SERVICE_CONF_PATH");
  host::machine().environment[L"TALS_CONFDIR_PATH"] = L"C:\\elsewhere";
  host::machine().drive.write(L"C:\\elsewhere\\TPMEnrollmentService.conf",
                              "TCBRepeaterTime = 11\n");
  EXPECT_EQ(enrollment.Init(), 0);
  EXPECT_EQ(Peer::waitTimeoutMs(), 11000);
  EXPECT_EQ(log.texts()[0],
            "[INF] [TPM] Reading config from file: C:\\elsewhere\\TPMEnrollmentService.conf");
}

// The look-up of the directory stands outside the protected block.
TEST_F(EnrollmentInitTest, directoryThatIsNotKnownLeavesInit) {
  host::machine().environment.erase(L"TALS_TPM_ENROLLMENT_SERVICE_CONF_PATH");
  EXPECT_EQ(thrownBy<Exception>([this] { enrollment.Init(); }), "tals stack not installed");
  EXPECT_FALSE(Peer::initialized(enrollment));
}

TEST_F(EnrollmentInitTest, missingFileMeansDefaults) {
  EXPECT_EQ(enrollment.Init(), 0);
  EXPECT_EQ(Peer::waitTimeoutMs(), 3600000);
  EXPECT_EQ(log.withoutAddresses(),
            (Texts{"[INF] [TPM] Reading config from file: C:\\own.conf",
                   "[DBG] [TPM] [0x] Could not open config file: C:\\own.conf",
                   "[DBG] [TPM] Default values will be used.",
                   "[DBG] [TPM] Private Namespace created!"}));
}

TEST_F(EnrollmentInitTest, corruptFileMeansDefaults) {
  EXPECT_EQ(waitTimeoutMsFor("TCBRepeaterTime = 5\nno setting\n"), 3600000);
  EXPECT_EQ(log.texts(), (Texts{"[INF] [TPM] Reading config from file: C:\\own.conf",
                                "[ERR] [TPM] Corrupted config. Default values will be used.",
                                "[DBG] [TPM] Private Namespace created!"}));
}

TEST_F(EnrollmentInitTest, readingIsSilentOnSuccess) {
  waitTimeoutMsFor("TCBRepeaterTime = 5\n");
  EXPECT_EQ(log.texts().size(), 2U);
}

// The parameter.

TEST_F(EnrollmentInitTest, repeaterTimeIsKeptInMilliseconds) {
  EXPECT_EQ(waitTimeoutMsFor("TCBRepeaterTime = \"60\"\n"), 60000);
}

TEST_F(EnrollmentInitTest, absentRepeaterTimeIsTheDefaultWithNoLogLine) {
  EXPECT_EQ(waitTimeoutMsFor("LogLevel = DEBUG\n"), 3600000);
  EXPECT_FALSE(log.contains("Could not read parameter"));
}

TEST_F(EnrollmentInitTest, repeaterTimeOfZeroIsAccepted) {
  EXPECT_EQ(waitTimeoutMsFor("TCBRepeaterTime = 0\n"), 0);
  EXPECT_FALSE(log.contains("Could not read parameter"));
}

TEST_F(EnrollmentInitTest, negativeRepeaterTimeIsTheDefaultWithALogLine) {
  EXPECT_EQ(waitTimeoutMsFor("TCBRepeaterTime = -5\n"), 3600000);
  EXPECT_EQ(log.texts()[1], kUnreadable);
}

TEST_F(EnrollmentInitTest, repeaterTimeThatIsNoNumberIsTheDefaultWithALogLine) {
  EXPECT_EQ(waitTimeoutMsFor("TCBRepeaterTime = abc\n"), 3600000);
  EXPECT_EQ(log.texts()[1], kUnreadable);
}

// Deliberate: the product wraps in 32 bits, and no error is reported.
TEST_F(EnrollmentInitTest, repeaterTimeThatOverflowsGivesAShortWait) {
  EXPECT_EQ(waitTimeoutMsFor("TCBRepeaterTime = 4294968\n"), 704);
  EXPECT_FALSE(log.contains("Could not read parameter"));
}

TEST_F(EnrollmentInitTest, repeaterTimeThatWrapsBelowZeroIsKept) {
  EXPECT_EQ(waitTimeoutMsFor("TCBRepeaterTime = 2147484\n"), -2147483296);
}

// The published configuration.

TEST_F(EnrollmentInitTest, configurationIsPublishedForTheLengthOfInitOnly) {
  EXPECT_EQ(enrollment.Init(), 0);
  EXPECT_EQ(Singleton<IConfig>::instanceOrNull(), nullptr);
}

TEST_F(EnrollmentInitTest, configurationIsPublishedUntilTheNamespaceIsCreatedOrRefused) {
  std::vector<bool> published;
  for (const std::size_t nth : {1U, 2U}) {
    host::CallHooks::instance().before("CreatePrivateNamespaceW", nth, [&] {
      published.push_back(Singleton<IConfig>::instanceOrNull() != nullptr);
    });
  }
  faults().failOnce("CreatePrivateNamespaceW", 183);
  EXPECT_EQ(enrollment.Init(), -1);
  EXPECT_EQ(enrollment.Init(), 0);
  EXPECT_EQ(published, (std::vector<bool>{true, true}));
}

TEST_F(EnrollmentInitTest, configurationThatIsPublishedAlreadyLeavesInit) {
  ConfigMemory other;
  const Singleton<IConfig> holder(&other);
  EXPECT_EQ(thrownBy<Exception>([this] { enrollment.Init(); }), "Singleton:instance already set");
  EXPECT_EQ(Singleton<IConfig>::instanceOrNull(), &other);
}

// The namespace.

// Deliberate: the platform's error is dropped, whatever failed.
TEST_F(EnrollmentInitTest, failureOfTheNamespaceIsMinusOneWhateverTheError) {
  for (const char* call :
       {"CreateWellKnownSid", "AddSIDToBoundaryDescriptor", "CreatePrivateNamespaceW"}) {
    faults().failOnce(call, 1450);
    EXPECT_EQ(enrollment.Init(), -1) << call;
    EXPECT_EQ(log.texts().back(), "[DBG] [TPM] Error during private namespace creation!") << call;
    EXPECT_FALSE(Peer::initialized(enrollment)) << call;
    EXPECT_EQ(Singleton<IConfig>::instanceOrNull(), nullptr) << call;
  }
}

TEST_F(EnrollmentInitTest, initCanBeTriedAgainAfterAFailure) {
  faults().failOnce("CreatePrivateNamespaceW", 183);
  EXPECT_EQ(enrollment.Init(), -1);
  EXPECT_EQ(enrollment.Init(), 0);
  EXPECT_TRUE(Peer::initialized(enrollment));
}

TEST_F(EnrollmentInitTest, parametersAreReadAheadOfTheNamespace) {
  host::machine().drive.write(L"C:\\own.conf", "TCBRepeaterTime = 8\n");
  faults().failOnce("CreatePrivateNamespaceW", 183);
  EXPECT_EQ(enrollment.Init(), -1);
  EXPECT_EQ(Peer::waitTimeoutMs(), 8000);
}

}  // namespace
