#include "platform/host/FaultTable.h"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "platform/host/CallNames.h"

namespace host {
namespace {

TEST(FaultTableTest, EachCallThatCanBeToldToFailHasItsRowInTheSameOrder) {
  std::vector<std::string> rows;
  for (const FaultRow& row : faultTable()) {
    rows.emplace_back(row.call);
  }
  EXPECT_EQ(rows, std::vector<std::string>(callsThatCanFail().begin(), callsThatCanFail().end()));
}

TEST(FaultTableTest, OnlyACallThatNeverFailsHasNoError) {
  for (const FaultRow& row : faultTable()) {
    EXPECT_EQ(row.errors.empty(), row.kind == FaultKind::kNever) << row.call;
  }
}

TEST(FaultTableTest, NamesAnErrorOnceInARow) {
  for (const FaultRow& row : faultTable()) {
    EXPECT_EQ(std::set<DWORD>(row.errors.begin(), row.errors.end()).size(), row.errors.size())
        << row.call;
  }
}

// What answers with its error answers with a success if that is 0.
TEST(FaultTableTest, NoCallThatAnswersWithItsErrorHasTheErrorZero) {
  for (const FaultRow& row : faultTable()) {
    if (row.kind == FaultKind::kStatus || row.kind == FaultKind::kErrno) {
      for (const DWORD error : row.errors) {
        EXPECT_NE(error, 0U) << row.call;
      }
    }
  }
}

TEST(FaultTableTest, AnInterfaceFailsWithANegativeNumberOrDoesItsWorkAndAnswersWithOne) {
  constexpr DWORD kHighestBit = 0x80000000;
  for (const FaultRow& row : faultTable()) {
    if (row.kind == FaultKind::kHresult) {
      for (const DWORD error : row.errors) {
        EXPECT_TRUE(error == 1 || (error & kHighestBit) != 0) << row.call << " " << error;
      }
    }
  }
}

// A success would be no failure, and what is done is done without a number of success.
TEST(FaultTableTest, WhatFailsWhenItIsDoneSaysSo) {
  std::set<std::string_view> calls;
  for (const FaultRow& row : faultTable()) {
    for (const DWORD error : row.errorsWhenDone) {
      calls.insert(row.call);
      EXPECT_NE(error, 0U) << row.call;
      EXPECT_TRUE(row.kind != FaultKind::kHresult || FAILED(static_cast<HRESULT>(error)))
          << row.call;
    }
  }
  EXPECT_EQ(calls,
            (std::set<std::string_view>{"CreateProcessW", "EventWriteTransfer", "SetServiceStatus",
                                        "StartServiceCtrlDispatcherW", "ITaskFolder::DeleteTask",
                                        "ITaskFolder::RegisterTaskDefinition"}));
}

TEST(FaultTableTest, FindsARowByName) {
  ASSERT_NE(faultRowOf("CreateProcessW"), nullptr);
  const auto errors = faultRowOf("CreateProcessW")->errors;
  EXPECT_EQ(std::vector<DWORD>(errors.begin(), errors.end()), (std::vector<DWORD>{2, 5, 193}));
}

TEST(FaultTableTest, FindsNoRowForWhatIsNoCall) {
  EXPECT_EQ(faultRowOf("CreateProcessA"), nullptr);
}

}  // namespace
}  // namespace host
