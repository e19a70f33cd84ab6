#include "platform/host/Ledger.h"

#include <gtest/gtest.h>

namespace {

TEST(LedgerTest, WhatIsTakenIsOpenUntilItIsReleased) {
  host::Ledger ledger;
  ledger.acquire("key", 0x10, "RegOpenKeyExW");
  EXPECT_EQ(ledger.open("key"), 1U);
  ASSERT_EQ(ledger.stillOpen().size(), 1U);
  EXPECT_EQ(ledger.stillOpen()[0].maker, "RegOpenKeyExW");
  EXPECT_TRUE(ledger.release("key", 0x10, "RegCloseKey"));
  EXPECT_EQ(ledger.open("key"), 0U);
  EXPECT_TRUE(ledger.violations().empty());
}

TEST(LedgerTest, AReleaseTooManyIsAViolation) {
  host::Ledger ledger;
  ledger.acquire("key", 0x10, "RegOpenKeyExW");
  ledger.release("key", 0x10, "RegCloseKey");
  EXPECT_FALSE(ledger.release("key", 0x10, "RegCloseKey"));
  EXPECT_EQ(ledger.violations(),
            (std::vector<std::string>{"RegCloseKey: key 0x10 was released before"}));
}

TEST(LedgerTest, AUseOfSomethingNeverTakenIsAViolation) {
  host::Ledger ledger;
  EXPECT_FALSE(ledger.uses("module", 0x20, "GetProcAddress"));
  EXPECT_EQ(ledger.violations(),
            (std::vector<std::string>{"GetProcAddress: module 0x20 is unknown"}));
}

TEST(LedgerTest, KindsAreAccountedApart) {
  host::Ledger ledger;
  ledger.acquire("key", 0x10, "RegOpenKeyExW");
  EXPECT_FALSE(ledger.release("module", 0x10, "FreeLibrary"));
  EXPECT_EQ(ledger.open("key"), 1U);
}

TEST(LedgerTest, AValueCanBeTakenAgainAfterItsRelease) {
  host::Ledger ledger;
  ledger.acquire("allocation", 0x10, "HeapAlloc");
  ledger.release("allocation", 0x10, "HeapFree");
  ledger.acquire("allocation", 0x10, "HeapAlloc");
  EXPECT_EQ(ledger.open("allocation"), 1U);
  EXPECT_TRUE(ledger.release("allocation", 0x10, "HeapFree"));
  EXPECT_TRUE(ledger.violations().empty());
}

TEST(LedgerTest, ANewAccountCountsOnlyWhatIsTakenSince) {
  host::Ledger ledger;
  ledger.acquire("event", 0x40, "CreateEventW");
  ledger.begin();
  ledger.acquire("event", 0x44, "CreateEventW");
  EXPECT_EQ(ledger.open("event"), 1U);
  EXPECT_TRUE(ledger.release("event", 0x40, "CloseHandle"));
}

}  // namespace
