#include "VUSL/Support/EtwLogOutlet.h"

#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <type_traits>

#include "VUSL/Support/Exception.h"
#include "tests/support/NullPointerEnd.h"
#include "tests/unit/diagnostics/TraceFixture.h"
#include "tests/unit/runtime/FailingAllocation.h"
#include "tests/unit/runtime/SlotOrder.h"

namespace {

using Names = std::vector<std::string>;

// A copy would unregister the provider a second time.
static_assert(!std::is_copy_constructible_v<EtwLogOutlet>);
static_assert(!std::is_copy_assignable_v<EtwLogOutlet>);

class EtwLogOutletTest : public TraceFixture {
 protected:
  static size_t writes() { return journal().calls("EventWriteTransfer").size(); }

  // What is thrown where the platform refuses to register, or null.
  std::unique_ptr<Exception> refusal(DWORD error) {
    faults().failOnce("EventRegister", error);
    try {
      outlet->registerProvider(&provider);
    } catch (Exception* exception) {
      return std::unique_ptr<Exception>(exception);
    }
    return nullptr;
  }
};

// Registration

TEST_F(EtwLogOutletTest, registersTheProviderAndHandsOverItsMetadata) {
  outlet->registerProvider(&provider);
  EXPECT_EQ(journal().names(), (Names{"EventRegister", "EventSetInformation"}));
  const auto& providers = host::machine().trace.providers;
  ASSERT_EQ(providers.size(), 1U);
  EXPECT_EQ(providers[0].traits, std::string("\5\0AB\0", 5));
  EXPECT_EQ(std::memcmp(&providers[0].guid, &kId, sizeof(kId)), 0);
  EXPECT_EQ(providers[0].handle, provider.handle);
  EXPECT_EQ(journal().calls("EventSetInformation")[0].args,
            std::to_string(provider.handle) + ", 2, 5");
}

TEST_F(EtwLogOutletTest, takesTheLengthOfTheMetadataFromBothBytesOfItsFirstWord) {
  std::string metadata("\x04\x01", 2);
  metadata += std::string(257, 'x') + '\0';
  provider.metadata = reinterpret_cast<const uint8_t*>(metadata.data());
  outlet->registerProvider(&provider);
  EXPECT_EQ(host::machine().trace.providers.at(0).traits, metadata);
}

TEST_F(EtwLogOutletTest, registersTheStandardEnableCallbackWithItsRecord) {
  outlet->registerProvider(&provider);
  const auto& registered = host::machine().trace.providers.at(0);
  EXPECT_EQ(registered.callback, &TraceProvider::OnEnable);
  EXPECT_EQ(registered.context, &provider);
}

TEST_F(EtwLogOutletTest, clearsTheKeywordsBeforeRegistering) {
  provider.keywordAny = 1;
  provider.keywordAll = 1;
  outlet->registerProvider(&provider);
  EXPECT_EQ(provider.keywordAny, 0U);
  EXPECT_EQ(provider.keywordAll, 0U);
}

TEST_F(EtwLogOutletTest, keepsWhatASessionEnablesWhileItRegisters) {
  provider.keywordAny = 1;
  host::machine().trace.enable("session", kId, {4, 0x6, 0x2});
  outlet->registerProvider(&provider);
  EXPECT_EQ(provider.levelPlus1, 5U);
  EXPECT_EQ(provider.keywordAny, 0x6U);
  EXPECT_EQ(provider.keywordAll, 0x2U);
}

TEST_F(EtwLogOutletTest, endsTheProcessAtAProviderThatIsRegisteredAlready) {
  provider.handle = 7;
  // The end must come ahead of the platform's call: where that is reached it is another end.
  host::CallHooks::instance().before("EventRegister", 1, [] { std::_Exit(1); });
  EXPECT_EXIT(outlet->registerProvider(&provider), ::testing::KilledBySignal(SIGABRT), "");
  provider.handle = 0;
}

TEST_F(EtwLogOutletTest, throwsAPointerWhenItCannotRegister) {
  const auto thrown = refusal(8);
  ASSERT_NE(thrown, nullptr);
  EXPECT_STREQ(thrown->what(), "TraceLoggingRegister failed:");
  EXPECT_TRUE(journal().calls("EventSetInformation").empty());
}

TEST_F(EtwLogOutletTest, throwsPastTheClausesForExceptionsToTheOneForEverything) {
  faults().failOnce("EventRegister", 8);
  std::string caughtBy;
  try {
    outlet->registerProvider(&provider);
  } catch (const Exception&) {
    caughtBy = "Exception";
  } catch (const std::exception&) {
    caughtBy = "std::exception";
  } catch (...) {
    caughtBy = "everything";
    try {
      throw;
    } catch (Exception* pointer) {
      delete pointer;
    }
  }
  EXPECT_EQ(caughtBy, "everything");
}

TEST_F(EtwLogOutletTest, unregistersTheNullHandleAfterARefusedRegistration) {
  ASSERT_NE(refusal(8), nullptr);
  outlet.reset();
  const auto calls = journal().calls("EventUnregister");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].args, "0");
  EXPECT_EQ(ledger().violations(), Names{"EventUnregister: provider 0x0 is unknown"});
}

TEST_F(EtwLogOutletTest, writesNothingAfterARefusedRegistration) {
  ASSERT_NE(refusal(8), nullptr);
  listen(5);
  log(L"a", 4);
  EXPECT_EQ(writes(), 0U);
}

TEST_F(EtwLogOutletTest, ignoresThatTheMetadataIsRefused) {
  faults().failOnce("EventSetInformation", 87);
  listen(5);
  EXPECT_NO_THROW(outlet->registerProvider(&provider));
  log(L"a", 4);
  EXPECT_EQ(events().size(), 1U);
}

// Lines

TEST_F(EtwLogOutletTest, hasAnEventLevelAndATextForEachLevel) {
  EtwLogOutlet::level = 0;
  registerWithSession(5);
  for (int level = 0; level <= 4; ++level) log(L"a", level);
  Names rows;
  for (const host::TraceEvent& event : events()) {
    rows.push_back(event.blocks.at(2).bytes.substr(0, 3) + std::to_string(event.descriptor.Level));
  }
  EXPECT_EQ(rows, (Names{"VER5", "DBG5", "INF4", "ERR2", "FTL1"}));
}

TEST_F(EtwLogOutletTest, writesNoEventForTheLevelFiveNorForOneThatThereIsNot) {
  EtwLogOutlet::level = -1;
  registerWithSession(0);
  log(L"a", 5);
  log(L"a", 6);
  log(L"a", -1);
  EXPECT_EQ(writes(), 0U);
}

TEST_F(EtwLogOutletTest, writesNothingBelowItsThreshold) {
  EtwLogOutlet::level = 3;
  registerWithSession(5);
  log(L"a", 2);
  EXPECT_EQ(writes(), 0U);
  log(L"b", 3);
  EXPECT_EQ(writes(), 1U);
}

TEST_F(EtwLogOutletTest, dropsAVerboseLineAtTheThresholdThatItStartsWith) {
  EXPECT_EQ(EtwLogOutlet::level, 1);
  registerWithSession(5);
  log(L"a", 0);
  EXPECT_EQ(writes(), 0U);
  log(L"a", 1);
  EXPECT_EQ(writes(), 1U);
}

TEST_F(EtwLogOutletTest, writesNothingWithNoSessionEnabled) {
  outlet->registerProvider(&provider);
  log(L"a", 4);
  EXPECT_EQ(writes(), 0U);
}

TEST_F(EtwLogOutletTest, makesItsTextAlsoWhereNobodyListens) {
  outlet->registerProvider(&provider);
  const std::wstring none;
  const std::wstring message(100, L'x');
  const CountedAllocation counted;
  outlet->Log(none, none, message, 4);
  EXPECT_GE(counted.requests(), 1U);
  EXPECT_EQ(writes(), 0U);
}

TEST_F(EtwLogOutletTest, makesNoTextBelowItsThreshold) {
  EtwLogOutlet::level = 3;
  outlet->registerProvider(&provider);
  const std::wstring none;
  const std::wstring message(100, L'x');
  const CountedAllocation counted;
  outlet->Log(none, none, message, 2);
  EXPECT_EQ(counted.requests(), 0U);
}

TEST_F(EtwLogOutletTest, writesNothingThatTheSessionsLevelLeavesOut) {
  registerWithSession(2);
  log(L"info", 2);
  EXPECT_EQ(writes(), 0U);
  log(L"error", 3);
  EXPECT_EQ(writes(), 1U);
}

TEST_F(EtwLogOutletTest, writesEveryLevelToASessionOfTheLevelZero) {
  EtwLogOutlet::level = 0;
  registerWithSession(0);
  for (int level = 0; level <= 4; ++level) log(L"a", level);
  EXPECT_EQ(events().size(), 5U);
}

TEST_F(EtwLogOutletTest, writesWhateverKeywordsTheSessionAsksFor) {
  host::machine().trace.enable("session", kId, {5, 0, 0xFF});
  outlet->registerProvider(&provider);
  log(L"a", 4);
  EXPECT_EQ(events().size(), 1U);
}

TEST_F(EtwLogOutletTest, followsASessionThatComesChangesAndGoes) {
  outlet->registerProvider(&provider);
  log(L"before", 3);
  listen(2);
  log(L"one", 3);
  log(L"left out", 2);
  listen(4);
  log(L"two", 2);
  host::machine().trace.disable("session");
  log(L"after", 4);
  EXPECT_EQ(writes(), 2U);
  EXPECT_EQ(events().size(), 2U);
}

TEST_F(EtwLogOutletTest, ignoresThatAnEventIsRefused) {
  registerWithSession(5);
  faults().failOnce("EventWriteTransfer", 8);
  EXPECT_NO_THROW(log(L"lost", 4));
  log(L"next", 4);
  EXPECT_EQ(writes(), 2U);
  EXPECT_EQ(events().size(), 1U);
}

TEST_F(EtwLogOutletTest, looksAtNeitherStampNorTag) {
  registerWithSession(5);
  outlet->Log(L"", L"", L"a", 3);
  outlet->Log(L"stamp ", L"tag: ", L"a", 3);
  const auto written = events();
  ASSERT_EQ(written.size(), 2U);
  EXPECT_EQ(written[0].blocks, written[1].blocks);
}

TEST_F(EtwLogOutletTest, faultsAtALineWithoutAProvider) {
  EXPECT_EXIT(log(L"a", 4), usedANullPointer, "");
}

TEST_F(EtwLogOutletTest, dropsALineBelowTheThresholdOrOfNoRowBeforeItNeedsAProvider) {
  EtwLogOutlet::level = 3;
  log(L"a", 2);
  log(L"a", 5);
  EXPECT_TRUE(journal().names().empty());
}

// The rest of its face

TEST_F(EtwLogOutletTest, refusesToDump) {
  try {
    outlet->Dump(L"a");
    FAIL() << "nothing was thrown";
  } catch (const std::exception& e) {
    EXPECT_STREQ(e.what(),
                 "EtwLogOutlet: Dump(const vusl::string_t& message) should not be called");
  }
}

TEST_F(EtwLogOutletTest, wantsNoPrefix) {
  EXPECT_FALSE(outlet->wantsPrefix());
}

TEST_F(EtwLogOutletTest, doesNothingWhenReopened) {
  outlet->reopen();
  EXPECT_TRUE(journal().names().empty());
}

TEST_F(EtwLogOutletTest, hasTheSlotsOfItsBaseAndOneFieldThatIsNull) {
  EXPECT_EQ(slotOf(&EtwLogOutlet::Log), 2U);
  EXPECT_EQ(slotOf(&EtwLogOutlet::wantsPrefix), 3U);
  EXPECT_EQ(slotOf(&EtwLogOutlet::reopen), 4U);
  EXPECT_EQ(slotOf(&EtwLogOutlet::Dump), 5U);
  ASSERT_EQ(sizeof(EtwLogOutlet), 2 * sizeof(void*));
  const TraceProvider* held = nullptr;
  const auto* field = reinterpret_cast<const char*>(outlet.get()) + sizeof(void*);
  std::memcpy(&held, field, sizeof(held));
  EXPECT_EQ(held, nullptr);
  outlet->registerProvider(&provider);
  std::memcpy(&held, field, sizeof(held));
  EXPECT_EQ(held, &provider);
}

TEST_F(EtwLogOutletTest, unregistersItsProviderWhenItGoes) {
  registerWithSession(5);
  const REGHANDLE handle = provider.handle;
  ASSERT_NE(handle, 0U);
  // While the platform is called the record is cleared already: its callback may still come.
  uint32_t levelSeen = 99;
  REGHANDLE handleSeen = 99;
  host::CallHooks::instance().before("EventUnregister", 1, [&] {
    levelSeen = provider.levelPlus1;
    handleSeen = provider.handle;
  });
  outlet.reset();
  EXPECT_EQ(levelSeen, 0U);
  EXPECT_EQ(handleSeen, 0U);
  const auto calls = journal().calls("EventUnregister");
  ASSERT_EQ(calls.size(), 1U);
  EXPECT_EQ(calls[0].args, std::to_string(handle));
  EXPECT_EQ(ledger().open("provider"), 0U);
}

TEST_F(EtwLogOutletTest, ignoresThatTheProviderCannotBeUnregistered) {
  registerWithSession(5);
  faults().failOnce("EventUnregister", 6);
  EXPECT_NO_THROW(outlet.reset());
  EXPECT_EQ(provider.handle, 0U);
  EXPECT_EQ(provider.levelPlus1, 0U);
}

TEST_F(EtwLogOutletTest, canRegisterAProviderAgainThatAnotherOneLetGo) {
  registerWithSession(5);
  outlet = std::make_unique<EtwLogOutlet>();
  outlet->registerProvider(&provider);
  log(L"a", 4);
  EXPECT_EQ(events().size(), 1U);
}

TEST_F(EtwLogOutletTest, unregistersNothingWithoutAProvider) {
  outlet.reset();
  EXPECT_TRUE(journal().names().empty());
}

}  // namespace
