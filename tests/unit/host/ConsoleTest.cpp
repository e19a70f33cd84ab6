// The console.

#include "tests/support/MachineTest.h"

namespace {

class ConsoleModelTest : public host::MachineTest {};

TEST_F(ConsoleModelTest, InputIsNoConsoleByDefault) {
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  EXPECT_NE(input, INVALID_HANDLE_VALUE);
  DWORD mode = 0;
  EXPECT_FALSE(GetConsoleMode(input, &mode));
  EXPECT_EQ(host::lastError(), 6U);
  EXPECT_FALSE(SetConsoleMode(input, 0));
  EXPECT_EQ(host::lastError(), 6U);
}

TEST_F(ConsoleModelTest, AConsolesModeIsReadAndSet) {
  host::machine().inputIsConsole = true;
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  DWORD mode = 0;
  ASSERT_TRUE(GetConsoleMode(input, &mode));
  EXPECT_EQ(mode & ENABLE_ECHO_INPUT, ENABLE_ECHO_INPUT);
  EXPECT_TRUE(SetConsoleMode(input, mode & ~ENABLE_ECHO_INPUT));
  EXPECT_EQ(host::machine().consoleMode, mode & ~ENABLE_ECHO_INPUT);
}

TEST_F(ConsoleModelTest, OutputIsNoConsole) {
  host::machine().inputIsConsole = true;
  DWORD mode = 0;
  EXPECT_FALSE(GetConsoleMode(GetStdHandle(STD_OUTPUT_HANDLE), &mode));
  EXPECT_EQ(host::lastError(), 6U);
}

TEST_F(ConsoleModelTest, AnUnknownStandardHandleIsInvalid) {
  EXPECT_EQ(GetStdHandle(7), INVALID_HANDLE_VALUE);
  EXPECT_EQ(host::lastError(), 6U);
}

}  // namespace
