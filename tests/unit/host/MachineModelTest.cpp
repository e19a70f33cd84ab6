// The machine itself: its clock, other programs' events, and the beginning anew.

#include "tests/support/MachineTest.h"

namespace {

class MachineModelTest : public host::MachineTest {
 protected:
  static std::string textOf(const SYSTEMTIME& time) {
    char text[64];
    std::snprintf(text, sizeof text, "%04u-%02u-%02u %02u:%02u:%02u.%03u day %u", time.wYear,
                  time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond,
                  time.wMilliseconds, time.wDayOfWeek);
    return text;
  }
  static std::string localTime() {
    SYSTEMTIME time;
    GetLocalTime(&time);
    return textOf(time);
  }
};

TEST_F(MachineModelTest, TheClockStartsAtItsFixedTime) {
  EXPECT_EQ(localTime(), "2026-01-02 03:04:05.006 day 5");
}

TEST_F(MachineModelTest, TheClockGoesOnWithWaiting) {
  Sleep(3600 * 1000);
  EXPECT_EQ(localTime(), "2026-01-02 04:04:05.006 day 5");
}

TEST_F(MachineModelTest, TheClockCrossesALeapDay) {
  host::machine().setLocalTime(2028, 2, 28, 23, 59, 59, 999);
  Sleep(1000);
  EXPECT_EQ(localTime(), "2028-02-29 00:00:00.999 day 2");
  Sleep(24 * 3600 * 1000);
  EXPECT_EQ(localTime(), "2028-03-01 00:00:00.999 day 3");
}

TEST_F(MachineModelTest, AYearThatADividesBy100IsNoLeapYear) {
  host::machine().setLocalTime(2100, 2, 28, 23, 59, 59, 0);
  Sleep(1000);
  EXPECT_EQ(localTime(), "2100-03-01 00:00:00.000 day 1");
}

TEST_F(MachineModelTest, TheClockCrossesTheYear) {
  host::machine().setLocalTime(2026, 12, 31, 23, 59, 59, 500);
  Sleep(500);
  EXPECT_EQ(localTime(), "2027-01-01 00:00:00.000 day 5");
}

TEST_F(MachineModelTest, SettingTheTimeLaterSetsWhatItIsNow) {
  Sleep(5000);
  host::machine().setLocalTime(2030, 6, 7, 8, 9, 10, 11);
  EXPECT_EQ(localTime(), "2030-06-07 08:09:10.011 day 5");
}

TEST_F(MachineModelTest, AStepOfTheClockChangesTheTimeAndNoWait) {
  host::machine().setLocalTime(2026, 3, 1, 0, 0, 0, 0);
  host::machine().stepClock(-1'000);
  EXPECT_EQ(localTime(), "2026-02-28 23:59:59.000 day 6");
  host::machine().stepClock(3'000);
  EXPECT_EQ(localTime(), "2026-03-01 00:00:02.000 day 0");
  EXPECT_EQ(clockMs(), 0);
}

TEST_F(MachineModelTest, UniversalTimeIsBehindByTheZone) {
  host::machine().setLocalTime(1601, 1, 2, 0, 0, 0, 0);
  host::machine().minutesAheadOfUtc = 60;
  EXPECT_EQ(host::machine().utcMs(), 23 * 3600 * 1000);
}

TEST_F(MachineModelTest, AnotherProgramsEventIsOpenedAndSignalled) {
  host::machine().publishEvent(L"Global\\Published");
  const HANDLE event = OpenEventW(SYNCHRONIZE, FALSE, L"Global\\Published");
  ASSERT_NE(event, nullptr);
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_TIMEOUT);
  EXPECT_TRUE(host::machine().signalEvent(L"Global\\Published"));
  EXPECT_EQ(WaitForSingleObject(event, 0), WAIT_OBJECT_0);
  CloseHandle(event);
}

TEST_F(MachineModelTest, AWithdrawnEventIsMissing) {
  host::machine().publishEvent(L"Global\\Published");
  host::machine().withdrawEvent(L"Global\\Published");
  EXPECT_EQ(OpenEventW(SYNCHRONIZE, FALSE, L"Global\\Published"), nullptr);
  EXPECT_EQ(host::lastError(), 2U);
  EXPECT_FALSE(host::machine().signalEvent(L"Global\\Published"));
}

TEST_F(MachineModelTest, ASignalWakesAWaitingThread) {
  host::machine().publishEvent(L"Global\\Published");
  DWORD result = 99;
  host::TestThread thread([&] {
    const HANDLE event = OpenEventW(SYNCHRONIZE, FALSE, L"Global\\Published");
    result = WaitForSingleObject(event, INFINITE);
    CloseHandle(event);
  });
  Sleep(1000);
  host::machine().signalEvent(L"Global\\Published");
  thread.join();
  EXPECT_EQ(result, WAIT_OBJECT_0);
}

TEST_F(MachineModelTest, NotesReachTheirListener) {
  std::string seen;
  host::machine().note("unheard");
  host::machine().onNote = [&](const std::string& what) { seen += what; };
  host::machine().note("heard");
  EXPECT_EQ(seen, "heard");
}

TEST_F(MachineModelTest, AFreshMachineKnowsNothingOfTheOldOne) {
  host::machine().registry.createKey(L"HKLM\\x");
  host::machine().token.privileges.clear();
  host::machine().publishEvent(L"Published");
  faults().failFrom("GetLastError", 5);
  CreateEventW(nullptr, FALSE, FALSE, nullptr);
  SetEvent(nullptr);
  Sleep(1000);
  host::resetMachine();
  EXPECT_EQ(localTime(), "2026-01-02 03:04:05.006 day 5");
  EXPECT_EQ(journal().names(), (std::vector<std::string>{"GetLocalTime"}));
  EXPECT_EQ(GetLastError(), 0U);
  EXPECT_FALSE(host::machine().registry.hasKey(L"HKLM\\x"));
  EXPECT_EQ(host::machine().token.privileges.size(), 36U);
  EXPECT_FALSE(host::machine().signalEvent(L"Published"));
  EXPECT_EQ(ledger().open("event"), 0U);
}

TEST_F(MachineModelTest, TwoFreshMachinesHashTheSame) {
  const auto run = [] {
    host::resetMachine();
    GetLastError();
    Sleep(10);
    return journal().hash();
  };
  const std::uint64_t first = run();
  EXPECT_EQ(run(), first);
}

}  // namespace
