#include <optional>
#include <stdexcept>

#include "tests/unit/service/ServiceFixture.h"

namespace {

using TPMEnrollmentService::TPMEnrollment;

const std::wstring kTpmEvent = L"Global\\TpmEnrollmentEvent";

class EventChannelsTest : public ServiceTest {
 protected:
  EventChannelsTest() { enrollment.emplace(); }

  // The namespace, and in it the stop event.
  void createChannels() {
    ASSERT_EQ(enrollment->CreateServicePrivateNamespace(), 0U);
    ASSERT_EQ(Peer::createStopEvent(*enrollment), 0U);
    log.clear();
  }

  std::optional<TPMEnrollment> enrollment;
};

// The private namespace.

TEST_F(EventChannelsTest, namespaceIsCreatedInFourStepsInTheirOrder) {
  EXPECT_EQ(enrollment->CreateServicePrivateNamespace(), 0U);
  EXPECT_EQ(journal().namesOf({"CreateBoundaryDescriptorW", "CreateWellKnownSid",
                               "AddSIDToBoundaryDescriptor", "CreatePrivateNamespaceW"}),
            (Texts{"CreateBoundaryDescriptorW", "CreateWellKnownSid", "AddSIDToBoundaryDescriptor",
                   "CreatePrivateNamespaceW"}));
  EXPECT_NE(Peer::privateNamespace(), nullptr);
  EXPECT_EQ(log.texts(), Texts{});
}

TEST_F(EventChannelsTest, boundaryHasItsNameAndNoFlags) {
  enrollment->CreateServicePrivateNamespace();
  EXPECT_EQ(journal().calls("CreateBoundaryDescriptorW").at(0).args,
            "TPMEnrollmentServiceBoundary, 0");
}

TEST_F(EventChannelsTest, boundaryIsThatOfTheBuiltInAdministrators) {
  enrollment->CreateServicePrivateNamespace();
  EXPECT_EQ(journal().calls("CreateWellKnownSid").at(0).args, "26, null, 68");
}

TEST_F(EventChannelsTest, namespaceHasItsAliasAndNoSecurityAttributes) {
  enrollment->CreateServicePrivateNamespace();
  const std::string arguments = journal().calls("CreatePrivateNamespaceW").at(0).args;
  EXPECT_TRUE(arguments.starts_with("null, ")) << arguments;
  EXPECT_TRUE(arguments.ends_with(", TPMEnrollmentService")) << arguments;
}

// Adding the identifier may move the descriptor.
TEST_F(EventChannelsTest, descriptorThatTheSidWasAddedToIsTheOneKeptAndUsed) {
  EXPECT_EQ(enrollment->CreateServicePrivateNamespace(), 0U);
  EXPECT_NE(host::journalText(Peer::boundaryDescriptor()),
            journal().calls("CreateBoundaryDescriptorW").at(0).result);
  EXPECT_EQ(journal().calls("CreatePrivateNamespaceW").at(0).args,
            "null, " + host::journalText(Peer::boundaryDescriptor()) + ", TPMEnrollmentService");
  EXPECT_EQ(ledger().violations(), Texts{});
}

TEST_F(EventChannelsTest, failedSidGivesTheErrorAndCreatesNothing) {
  faults().failOnce("CreateWellKnownSid", 87);
  EXPECT_EQ(enrollment->CreateServicePrivateNamespace(), 87U);
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] Cannot create Local Admin SID!"});
  EXPECT_TRUE(journal().calls("AddSIDToBoundaryDescriptor").empty());
  EXPECT_EQ(Peer::privateNamespace(), nullptr);
}

TEST_F(EventChannelsTest, failedBindingOfTheSidGivesTheError) {
  faults().failOnce("AddSIDToBoundaryDescriptor", 1337);
  EXPECT_EQ(enrollment->CreateServicePrivateNamespace(), 1337U);
  EXPECT_EQ(log.texts(),
            Texts{"[DBG] [TPM] Cannot associate Local Admin SID to Boundary Descriptor!"});
  EXPECT_TRUE(journal().calls("CreatePrivateNamespaceW").empty());
}

TEST_F(EventChannelsTest, errorOfAFailedStepIsTakenAheadOfItsLine) {
  const LastErrorOutlet outlet(1234);
  for (const char* call :
       {"CreateWellKnownSid", "AddSIDToBoundaryDescriptor", "CreatePrivateNamespaceW"}) {
    faults().failOnce(call, 1450);
    EXPECT_EQ(enrollment->CreateServicePrivateNamespace(), 1450U) << call;
  }
}

TEST_F(EventChannelsTest, failedBoundaryIsNotTestedAndFailsTwoStepsOn) {
  faults().failOnce("CreateBoundaryDescriptorW", 8);
  EXPECT_NE(enrollment->CreateServicePrivateNamespace(), 0U);
  EXPECT_EQ(journal().calls("CreateWellKnownSid").size(), 1U);
  EXPECT_EQ(log.texts(),
            Texts{"[DBG] [TPM] Cannot associate Local Admin SID to Boundary Descriptor!"});
}

// A namespace that somebody holds already is a failure and is not opened instead.
TEST_F(EventChannelsTest, existingNamespaceOfThatAliasIsAFailure) {
  host::machine().takeNamespace(L"TPMEnrollmentService");
  EXPECT_EQ(enrollment->CreateServicePrivateNamespace(), 183U);
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] Cannot create private namespace!"});
  EXPECT_EQ(Peer::privateNamespace(), nullptr);
}

TEST_F(EventChannelsTest, namespaceIsRefusedOutsideTheAdministrators) {
  host::machine().token.administrator = false;
  EXPECT_EQ(enrollment->CreateServicePrivateNamespace(), 5U);
}

// The stop event.

TEST_F(EventChannelsTest, stopEventIsAnAutoResetEventOfTheNamespace) {
  ASSERT_EQ(enrollment->CreateServicePrivateNamespace(), 0U);
  journal().clear();
  EXPECT_EQ(Peer::createStopEvent(*enrollment), 0U);
  EXPECT_EQ(journal().calls("CreateEventW").at(0).args,
            "null, 0, 0, TPMEnrollmentService\\StopEvent");
  EXPECT_NE(Peer::eventHandle(0), nullptr);
  EXPECT_EQ(Peer::eventHandle(1), nullptr);
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] Registering STOP event completed!"});
}

TEST_F(EventChannelsTest, stopEventNeedsTheNamespace) {
  EXPECT_EQ(Peer::createStopEvent(*enrollment), 3U);
  EXPECT_EQ(log.texts(), Texts{"[ERR] [TPM] Cannot create event with error: 3"});
}

// An event of that name that exists already comes back open, with last error 183.
TEST_F(EventChannelsTest, stopEventThatExistsAlreadyIsASuccess) {
  createChannels();
  EXPECT_EQ(Peer::createStopEvent(*enrollment), 0U);
  EXPECT_EQ(journal().calls("CreateEventW").back().lastError, 183U);
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] Registering STOP event completed!"});
}

TEST_F(EventChannelsTest, stopSignalsTheStopEventOnce) {
  createChannels();
  enrollment->Stop();
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] Stopping service..."});
  EXPECT_EQ(journal().calls("SetEvent").size(), 1U);
  EXPECT_EQ(WaitForSingleObject(Peer::eventHandle(0), 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(Peer::eventHandle(0), 0), WAIT_TIMEOUT);
}

TEST_F(EventChannelsTest, stopIsLoggedAheadOfItsSignal) {
  createChannels();
  bool logged = false;
  host::CallHooks::instance().before("SetEvent", 1,
                                     [&] { logged = log.contains("Stopping service..."); });
  enrollment->Stop();
  EXPECT_TRUE(logged);
}

TEST_F(EventChannelsTest, errorOfTheStopEventIsTakenAheadOfItsLine) {
  const LastErrorOutlet outlet(1234);
  faults().failOnce("CreateEventW", 5);
  EXPECT_EQ(Peer::createStopEvent(*enrollment), 5U);
}

TEST_F(EventChannelsTest, resultOfTheSignalIsNotLookedAt) {
  enrollment->Stop();
  EXPECT_EQ(journal().calls("SetEvent").at(0).lastError, 6U);
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] Stopping service..."});
}

// The TPM event.

TEST_F(EventChannelsTest, publishedTpmEventIsOpenedAtOnceForWaitingOnly) {
  createChannels();
  host::machine().publishEvent(kTpmEvent);
  EXPECT_EQ(enrollment->RegisterVTMEvent(), 0);
  ASSERT_EQ(journal().calls("OpenEventW").size(), 1U);
  EXPECT_EQ(journal().calls("OpenEventW")[0].args, "1048576, 0, Global\\TpmEnrollmentEvent");
  EXPECT_NE(Peer::eventHandle(1), nullptr);
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] Event opened successfully!",
                                "[DBG] [TPM] Registering VTM event completed!"}));
  EXPECT_TRUE(journal().calls("Sleep").empty());
}

// The stop stays for the wait of the loop.
TEST_F(EventChannelsTest, stopSignalledWithTheTpmEventPresentIsNotLookedAt) {
  createChannels();
  host::machine().publishEvent(kTpmEvent);
  enrollment->Stop();
  EXPECT_EQ(enrollment->RegisterVTMEvent(), 0);
  EXPECT_EQ(WaitForSingleObject(Peer::eventHandle(0), 0), WAIT_OBJECT_0);
}

TEST_F(EventChannelsTest, stopSignalledWithTheTpmEventMissingEndsAtOnceAndIsConsumed) {
  createChannels();
  enrollment->Stop();
  log.clear();
  EXPECT_EQ(enrollment->RegisterVTMEvent(), -2);
  EXPECT_EQ(log.texts(), Texts{});
  EXPECT_TRUE(journal().calls("Sleep").empty());
  EXPECT_EQ(WaitForSingleObject(Peer::eventHandle(0), 0), WAIT_TIMEOUT);
}

TEST_F(EventChannelsTest, lookForAStopTakesNoTimeAndTheLineComesAheadOfThePause) {
  createChannels();
  log.clear();
  Texts linesAtTheFirstPause;
  std::int64_t pausedAtMs = 0;
  host::CallHooks::instance().before("Sleep", 1, [&] {
    linesAtTheFirstPause = log.texts();
    pausedAtMs = clockMs();
  });
  const std::int64_t startMs = clockMs();
  EXPECT_EQ(enrollment->RegisterVTMEvent(), -2);
  EXPECT_EQ(pausedAtMs, startMs);
  EXPECT_EQ(linesAtTheFirstPause, (Texts{"[DBG] [TPM] Cannot open event with error: 2",
                                         "[DBG] [TPM] Next try in 5 sec. Tries left : 9"}));
}

TEST_F(EventChannelsTest, tpmEventAppearingDuringTheThirdSleepIsOpenedAfterIt) {
  createChannels();
  host::TestThread platform([] {
    Sleep(12'000);
    host::machine().publishEvent(kTpmEvent);
  });
  EXPECT_EQ(enrollment->RegisterVTMEvent(), 0);
  platform.join();
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] Cannot open event with error: 2",
                                "[DBG] [TPM] Next try in 5 sec. Tries left : 9",
                                "[DBG] [TPM] Cannot open event with error: 2",
                                "[DBG] [TPM] Next try in 5 sec. Tries left : 8",
                                "[DBG] [TPM] Cannot open event with error: 2",
                                "[DBG] [TPM] Next try in 5 sec. Tries left : 7",
                                "[DBG] [TPM] Event opened successfully!",
                                "[DBG] [TPM] Registering VTM event completed!"}));
}

TEST_F(EventChannelsTest, tpmEventNeverAppearingIsTriedTenMoreTimesFiveSecondsApart) {
  createChannels();
  const std::int64_t startMs = clockMs();
  EXPECT_EQ(enrollment->RegisterVTMEvent(), -2);
  EXPECT_EQ((clockMs() - startMs) / 1000, 50);
  ASSERT_EQ(journal().calls("OpenEventW").size(), 11U);
  for (const host::JournalEntry& call : journal().calls("OpenEventW")) {
    EXPECT_EQ(call.args, "1048576, 0, Global\\TpmEnrollmentEvent");
  }
  ASSERT_EQ(journal().calls("Sleep").size(), 10U);
  EXPECT_EQ(journal().calls("Sleep")[0].args, "5000");
  Texts expected;
  for (const char* left : {"9", "8", "7", "6", "5", "4", "3", "2", "1", "0"}) {
    expected.push_back("[DBG] [TPM] Cannot open event with error: 2");
    expected.push_back(std::string("[DBG] [TPM] Next try in 5 sec. Tries left : ") + left);
  }
  expected.push_back("[DBG] [TPM] Event not registered by the system.");
  EXPECT_EQ(log.texts(), expected);
  EXPECT_EQ(Peer::retries(*enrollment), 10);
}

TEST_F(EventChannelsTest, noRetriesMeansOneAttemptAndNoSleep) {
  createChannels();
  Peer::setRetries(*enrollment, 0);
  EXPECT_EQ(enrollment->RegisterVTMEvent(), -2);
  EXPECT_EQ(journal().calls("OpenEventW").size(), 1U);
  EXPECT_TRUE(journal().calls("Sleep").empty());
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] Event not registered by the system."});
}

TEST_F(EventChannelsTest, negativeRetriesMeanOneAttemptAndNoSleep) {
  createChannels();
  Peer::setRetries(*enrollment, -1);
  EXPECT_EQ(enrollment->RegisterVTMEvent(), -2);
  EXPECT_EQ(journal().calls("OpenEventW").size(), 1U);
  EXPECT_TRUE(journal().calls("Sleep").empty());
}

// Deliberate: the text says five seconds whatever the pause is.
TEST_F(EventChannelsTest, textOfTheTriesSaysFiveSecondsWhateverThePause) {
  createChannels();
  Peer::setRetries(*enrollment, 1);
  Peer::setRetryDelayMs(*enrollment, 1'234);
  EXPECT_EQ(enrollment->RegisterVTMEvent(), -2);
  EXPECT_EQ(journal().calls("Sleep").at(0).args, "1234");
  EXPECT_TRUE(log.contains("[DBG] [TPM] Next try in 5 sec. Tries left : 0"));
}

TEST_F(EventChannelsTest, stopDuringTheTriesEndsThemAtTheNextOne) {
  createChannels();
  host::TestThread stopper([this] {
    Sleep(7'000);
    SetEvent(Peer::eventHandle(0));
  });
  EXPECT_EQ(enrollment->RegisterVTMEvent(), -2);
  stopper.join();
  EXPECT_EQ(log.texts(), (Texts{"[DBG] [TPM] Cannot open event with error: 2",
                                "[DBG] [TPM] Next try in 5 sec. Tries left : 9",
                                "[DBG] [TPM] Cannot open event with error: 2",
                                "[DBG] [TPM] Next try in 5 sec. Tries left : 8"}));
}

TEST_F(EventChannelsTest, errorOfTheLogIsTheOneThatStandsAfterTheTestForAStop) {
  createChannels();
  Peer::setRetries(*enrollment, 1);
  faults().failOnce("WaitForSingleObject", 1450);
  EXPECT_EQ(enrollment->RegisterVTMEvent(), -2);
  EXPECT_TRUE(log.contains("Cannot open event with error: 1450"));
}

TEST_F(EventChannelsTest, tpmEventIsNeverSignalledNorReset) {
  createChannels();
  host::machine().publishEvent(kTpmEvent);
  enrollment->RegisterVTMEvent();
  enrollment.reset();
  EXPECT_TRUE(journal().calls("SetEvent").empty());
  EXPECT_TRUE(journal().calls("ResetEvent").empty());
}

// Closing.

TEST_F(EventChannelsTest, destructorClosesStopEventThenTpmEventThenNamespaceThenLock) {
  createChannels();
  host::machine().publishEvent(kTpmEvent);
  enrollment->RegisterVTMEvent();
  journal().clear();
  enrollment.reset();
  ASSERT_EQ(journal().namesOf({"CloseHandle", "ClosePrivateNamespace"}),
            (Texts{"CloseHandle", "CloseHandle", "ClosePrivateNamespace", "CloseHandle"}));
  EXPECT_EQ(journal().calls("CloseHandle")[0].args, host::journalText(Peer::eventHandle(0)));
  EXPECT_EQ(journal().calls("CloseHandle")[1].args, host::journalText(Peer::eventHandle(1)));
  EXPECT_EQ(ledger().open("event"), 0U);
  EXPECT_EQ(ledger().open("namespace"), 0U);
  EXPECT_EQ(ledger().open("mutex"), 0U);
}

TEST_F(EventChannelsTest, namespaceIsClosedWithTheDestroyFlag) {
  createChannels();
  enrollment.reset();
  const std::string arguments = journal().calls("ClosePrivateNamespace").at(0).args;
  EXPECT_TRUE(arguments.ends_with(", 1")) << arguments;
}

// The attempt on the null handle fails, and that is ignored.
TEST_F(EventChannelsTest, tpmEventThatWasNeverOpenedIsClosedAsANullHandle) {
  createChannels();
  journal().clear();
  enrollment.reset();
  ASSERT_GE(journal().calls("CloseHandle").size(), 2U);
  EXPECT_EQ(journal().calls("CloseHandle")[1].args, "null");
  EXPECT_EQ(journal().calls("CloseHandle")[1].lastError, 6U);
  EXPECT_EQ(log.texts(), Texts{});
}

TEST_F(EventChannelsTest, bothHandlesAreClosedWhenNothingWasEverCreated) {
  journal().clear();
  enrollment.reset();
  ASSERT_EQ(journal().calls("CloseHandle").size(), 3U);
  EXPECT_EQ(journal().calls("CloseHandle")[0].args, "null");
  EXPECT_EQ(journal().calls("CloseHandle")[1].args, "null");
  EXPECT_EQ(log.texts(), Texts{});
}

TEST_F(EventChannelsTest, destructorLetsNothingOut) {
  createChannels();
  host::CallHooks::instance().before("ClosePrivateNamespace", 1,
                                     [] { throw std::runtime_error("text"); });
  enrollment.reset();
  EXPECT_EQ(ledger().open("mutex"), 0U);
}

TEST_F(EventChannelsTest, namespaceThatWasNeverCreatedIsNotClosed) {
  enrollment.reset();
  EXPECT_TRUE(journal().calls("ClosePrivateNamespace").empty());
}

TEST_F(EventChannelsTest, namespaceThatCannotBeClosedIsLogged) {
  createChannels();
  faults().failOnce("ClosePrivateNamespace", 6);
  enrollment.reset();
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] Cannot close private namespace!"});
  EXPECT_EQ(ledger().open("mutex"), 0U);
}

// Deliberate: there is no call that frees a boundary descriptor in this system.
TEST_F(EventChannelsTest, boundaryDescriptorStaysOpen) {
  createChannels();
  enrollment.reset();
  EXPECT_EQ(ledger().open("boundary"), 1U);
}

TEST_F(EventChannelsTest, nameOfTheNamespaceIsFreeAfterTheEnd) {
  createChannels();
  enrollment.reset();
  Peer::forgetProcess();
  enrollment.emplace();
  EXPECT_EQ(enrollment->CreateServicePrivateNamespace(), 0U);
}

}  // namespace
