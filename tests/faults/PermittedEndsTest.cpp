#include "tools/allocations/PermittedEnds.h"

#include <gtest/gtest.h>

#include "platform/host/windows/windows.h"

// What a request for memory that fails may come to.

namespace sweep {
namespace {

using enum host::AllocationPlace;
using runner::End;
using Lines = std::vector<std::string>;

constexpr char kThrew[] =
    "[DBG] [TPM] Init(EPID cert provisioning) transaction failed with error : 0x02 [STATUS_ERROR]";
constexpr char kNotConnected[] =
    "[DBG] [TPM] Init(EPID cert provisioning) transaction failed with error : 0x08 "
    "[STATUS_CONNECTION_ERROR]";
constexpr char kStatus[] = "[DBG] [TPM] [0x] tALS init status: 0x00 [STATUS_OK]";
constexpr char kNoStack[] =
    "[FTL] [TPM] Exception occured in ServiceMain function tals stack not installed";

Sight stopped(DWORD exitCode, const Lines& lines) {
  Sight sight;
  sight.end = End::kExit;
  sight.statuses = {{SERVICE_RUNNING, 0, 0, 1, 5000}, {SERVICE_STOPPED, 0, exitCode, 1, 5000}};
  sight.lines = {"[DBG] [TPM] a"};
  sight.lines.insert(sight.lines.end(), lines.begin(), lines.end());
  return sight;
}

Sight ending(End end, const Lines& lines = {}, std::int32_t exitCode = 0) {
  Sight sight;
  sight.end = end;
  sight.exitCode = exitCode;
  sight.lines = lines;
  return sight;
}

TEST(PermittedEndsTest, ATerminateMayComeFromWhereverTheServiceIs) {
  for (const auto place :
       {kLoading, kEntering, kHandling, kLeaving, kRegistering, kStarting, kRunning, kStopped}) {
    EXPECT_TRUE(isPermittedEnd(stopped(0, {}), ending(End::kTerminate), place));
  }
  EXPECT_FALSE(isPermittedEnd(stopped(0, {}), ending(End::kTerminate), kElsewhere));
}

TEST(PermittedEndsTest, AFaultMayNot) {
  EXPECT_FALSE(isPermittedEnd(stopped(0, {}), ending(End::kFault, {kThrew}), kRunning));
}

TEST(PermittedEndsTest, ARunGoesOnIfItTellsOfIt) {
  EXPECT_TRUE(isPermittedEnd(stopped(0, {}), stopped(0, {kThrew}), kRunning));
  EXPECT_TRUE(isPermittedEnd(stopped(0, {}), ending(End::kRunning, {kThrew}), kRunning));
  EXPECT_FALSE(isPermittedEnd(stopped(0, {}), stopped(0, {}), kRunning));
  EXPECT_FALSE(isPermittedEnd(stopped(0, {}), stopped(0, {kThrew}), kStarting));
}

TEST(PermittedEndsTest, NothingIsToldWhereNobodyListens) {
  Sight plain = stopped(0, {});
  plain.isHeard = false;
  EXPECT_TRUE(isPermittedEnd(plain, stopped(0, {}), kRunning));
  EXPECT_FALSE(isPermittedEnd(plain, stopped(0, {}), kStarting));
}

TEST(PermittedEndsTest, AStartEndsWithTheStackThatIsNotFound) {
  EXPECT_TRUE(isPermittedEnd(stopped(0, {}), stopped(6, {kNoStack}), kStarting));
  EXPECT_FALSE(isPermittedEnd(stopped(0, {}), stopped(6, {}), kStarting));
  EXPECT_FALSE(isPermittedEnd(stopped(0, {}), stopped(6, {kNoStack}), kRegistering));
}

TEST(PermittedEndsTest, TheEntryTellsWhyItGivesUpOnceThereIsALog) {
  const Sight silent = ending(End::kExit, {}, -1);
  EXPECT_TRUE(isPermittedEnd(stopped(0, {}), silent, kEntering));
  EXPECT_FALSE(isPermittedEnd(stopped(0, {}), silent, kHandling));
  EXPECT_FALSE(
      isPermittedEnd(stopped(0, {}), ending(End::kExit, {"[INF] [TPM] b"}, -1), kEntering));
  const Sight told = ending(End::kExit, {"[FTL] [TPM] Exception ocurred: std::bad_alloc"}, -1);
  EXPECT_TRUE(isPermittedEnd(stopped(0, {}), told, kEntering));
  EXPECT_TRUE(isPermittedEnd(stopped(0, {}), told, kHandling));
}

// The client library throws in any case, so that it makes no difference what threw.
TEST(PermittedEndsTest, ATransactionThatThrowsAnywayNeedsNoNewLine) {
  EXPECT_TRUE(isPermittedEnd(stopped(0, {kThrew}), stopped(0, {kThrew}), kRunning));
  EXPECT_FALSE(isPermittedEnd(stopped(0, {kNotConnected}), stopped(0, {kNotConnected}), kRunning));
  EXPECT_FALSE(isPermittedEnd(stopped(0, {kThrew}), stopped(0, {}), kRunning));
}

// Every run with a transaction tells of a status: only one that is cut short is a sign.
TEST(PermittedEndsTest, AStatusIsNoSignIfThePlainRunHasTheSame) {
  EXPECT_FALSE(isPermittedEnd(stopped(0, {kStatus}), stopped(0, {kStatus}), kRunning));
  EXPECT_TRUE(isPermittedEnd(stopped(0, {kStatus}),
                             stopped(0, {"[DBG] [TPM] [0x] tALS init status: 0x00 [STA"}),
                             kRunning));
}

TEST(PermittedEndsTest, AStackThatIsNotFoundAnywayNeedsNoNewLine) {
  EXPECT_TRUE(isPermittedEnd(stopped(6, {kNoStack}), stopped(6, {kNoStack}), kRunning));
  EXPECT_FALSE(isPermittedEnd(stopped(6, {kNoStack}), stopped(6, {}), kRunning));
}

// The client library crashes in any case, once the transaction was tried again.
TEST(PermittedEndsTest, ALifeThatEndsAsBadlyAsThePlainOneHasGoneOn) {
  const Sight plain = ending(End::kFault, {"[DBG] [TPM] a"});
  EXPECT_TRUE(isPermittedEnd(plain, ending(End::kFault, {"[DBG] [TPM] a", kThrew}), kRunning));
  EXPECT_FALSE(isPermittedEnd(plain, ending(End::kFault, {"[DBG] [TPM] a"}), kRunning));
  EXPECT_FALSE(isPermittedEnd(plain, ending(End::kFault, {"[DBG] [TPM] a", kThrew}), kStarting));
}

}  // namespace
}  // namespace sweep
