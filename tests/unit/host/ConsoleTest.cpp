// The standard handles and the console.

#include "tests/support/MachineTest.h"

namespace {

using Standard = host::Machine::Standard;

constexpr DWORD kErrorHandle = 0xFFFFFFF4;

class ConsoleModelTest : public host::MachineTest {};

TEST_F(ConsoleModelTest, InputIsNoConsoleByDefault) {
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  EXPECT_NE(input, INVALID_HANDLE_VALUE);
  EXPECT_NE(input, nullptr);
  DWORD mode = 0;
  EXPECT_FALSE(GetConsoleMode(input, &mode));
  EXPECT_EQ(host::lastError(), 6U);
  EXPECT_FALSE(SetConsoleMode(input, 0));
  EXPECT_EQ(host::lastError(), 6U);
}

TEST_F(ConsoleModelTest, AConsolesModeIsReadAndSet) {
  host::machine().input = Standard::kConsole;
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  DWORD mode = 0;
  ASSERT_TRUE(GetConsoleMode(input, &mode));
  EXPECT_EQ(mode, 0x1F7U);
  EXPECT_TRUE(SetConsoleMode(input, 0x1F3));
  EXPECT_EQ(host::machine().inputMode, 0x1F3U);
  ASSERT_TRUE(GetConsoleMode(input, &mode));
  EXPECT_EQ(mode, 0x1F3U);
}

TEST_F(ConsoleModelTest, EchoIsPartOfReadingByTheLine) {
  host::machine().input = Standard::kConsole;
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  EXPECT_FALSE(SetConsoleMode(input, ENABLE_ECHO_INPUT));
  EXPECT_EQ(host::lastError(), 87U);
  EXPECT_EQ(host::machine().inputMode, 0x1F7U);
  EXPECT_TRUE(SetConsoleMode(input, ENABLE_ECHO_INPUT | 0x2));
}

TEST_F(ConsoleModelTest, AModeWithUnknownFlagsIsRefused) {
  host::machine().input = Standard::kConsole;
  host::machine().output = Standard::kConsole;
  EXPECT_FALSE(SetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), 0x400));
  EXPECT_EQ(host::lastError(), 87U);
  EXPECT_FALSE(SetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), 0x20));
  EXPECT_EQ(host::lastError(), 87U);
}

TEST_F(ConsoleModelTest, BothOutputsShareTheModeOfTheScreen) {
  host::machine().output = Standard::kConsole;
  host::machine().errors = Standard::kConsole;
  DWORD mode = 0;
  ASSERT_TRUE(GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &mode));
  EXPECT_EQ(mode, 0x3U);
  EXPECT_TRUE(SetConsoleMode(GetStdHandle(kErrorHandle), 0x7));
  ASSERT_TRUE(GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &mode));
  EXPECT_EQ(mode, 0x7U);
  EXPECT_EQ(host::machine().inputMode, 0x1F7U);
}

TEST_F(ConsoleModelTest, RedirectedOutputIsNoConsole) {
  host::machine().input = Standard::kConsole;
  host::machine().errors = Standard::kConsole;
  DWORD mode = 0;
  EXPECT_FALSE(GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &mode));
  EXPECT_EQ(host::lastError(), 6U);
  EXPECT_TRUE(GetConsoleMode(GetStdHandle(kErrorHandle), &mode));
}

TEST_F(ConsoleModelTest, AHandleThatTheProcessDoesNotHaveIsNullAndNoFailure) {
  host::machine().input = Standard::kNone;
  host::setLastError(77);
  EXPECT_EQ(GetStdHandle(STD_INPUT_HANDLE), nullptr);
  EXPECT_EQ(host::lastError(), 77U);
  DWORD mode = 5;
  EXPECT_FALSE(GetConsoleMode(nullptr, &mode));
  EXPECT_EQ(host::lastError(), 6U);
  EXPECT_EQ(mode, 5U);
}

TEST_F(ConsoleModelTest, AnUnknownStandardHandleIsInvalid) {
  EXPECT_EQ(GetStdHandle(7), INVALID_HANDLE_VALUE);
  EXPECT_EQ(host::lastError(), 6U);
}

TEST_F(ConsoleModelTest, EachCallCanBeToldToFail) {
  host::machine().input = Standard::kConsole;
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  DWORD mode = 0;
  faults().failOnce("GetStdHandle", 5);
  EXPECT_EQ(GetStdHandle(STD_INPUT_HANDLE), INVALID_HANDLE_VALUE);
  EXPECT_EQ(host::lastError(), 5U);
  faults().failOnce("GetConsoleMode", 6);
  EXPECT_FALSE(GetConsoleMode(input, &mode));
  faults().failOnce("SetConsoleMode", 6);
  EXPECT_FALSE(SetConsoleMode(input, 0));
  EXPECT_EQ(host::machine().inputMode, 0x1F7U);
}

}  // namespace
