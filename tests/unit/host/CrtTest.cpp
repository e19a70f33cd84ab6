// Calls of the platform's C runtime.

#include <climits>
#include <cstdlib>
#include <cstring>

#include "tests/support/MachineTest.h"

namespace {

class CrtTest : public host::MachineTest {
 protected:
  static std::string number(int value, int radix, std::size_t room, errno_t expected) {
    char buffer[40] = "before";
    EXPECT_EQ(_itoa_s(value, buffer, room, radix), expected);
    return buffer;
  }

  struct Narrowed {
    errno_t result;
    std::size_t converted;
    std::string text;
    bool operator==(const Narrowed&) const = default;
  };
  static Narrowed narrowed(const wchar_t* source, std::size_t room, std::size_t count) {
    char buffer[40] = "before";
    std::size_t converted = 99;
    const errno_t result = wcstombs_s(&converted, buffer, room, source, count);
    return {result, converted, buffer};
  }
};

TEST_F(CrtTest, AVariableIsCopied) {
  host::machine().environment[L"TALS_LOGDIR_PATH"] = L"C:\\l\u0142og";
  char* value = nullptr;
  std::size_t size = 0;
  EXPECT_EQ(_dupenv_s(&value, &size, "tals_logdir_path"), 0);
  EXPECT_STREQ(value, "C:\\l\xC5\x82og");
  EXPECT_EQ(size, 9U);
  std::free(value);
}

TEST_F(CrtTest, AMissingVariableIsNullWithoutAnError) {
  auto* value = const_cast<char*>("before");
  std::size_t size = 99;
  EXPECT_EQ(_dupenv_s(&value, &size, "NONE"), 0);
  EXPECT_EQ(value, nullptr);
  EXPECT_EQ(size, 0U);
  EXPECT_EQ(_dupenv_s(&value, nullptr, "NONE"), 0) << "the size need not be asked for";
}

TEST_F(CrtTest, AVariableNeedsANameAndAPlace) {
  char* value = nullptr;
  EXPECT_EQ(_dupenv_s(nullptr, nullptr, "NAME"), 22);
  EXPECT_EQ(_dupenv_s(&value, nullptr, nullptr), 22);
}

TEST_F(CrtTest, AFaultIsTheResultOfTheLookAtTheEnvironment) {
  host::machine().environment[L"NAME"] = L"value";
  faults().failOnce("_dupenv_s", ENOMEM);
  char* value = nullptr;
  EXPECT_EQ(_dupenv_s(&value, nullptr, "NAME"), 12);
  EXPECT_EQ(value, nullptr);
}

TEST_F(CrtTest, MemoryIsCopiedWhereItFits) {
  char target[4] = {'-', '-', '-', '-'};
  EXPECT_EQ(memcpy_s(target, 4, "ab", 2), 0);
  EXPECT_EQ(std::string(target, 4), "ab--");
  EXPECT_EQ(memcpy_s(nullptr, 0, nullptr, 0), 0);
}

TEST_F(CrtTest, MemoryThatDoesNotFitClearsTheTarget) {
  char target[4] = {'-', '-', '-', '-'};
  EXPECT_EQ(memcpy_s(target, 4, "abcdef", 5), 34);
  EXPECT_EQ(std::string(target, 4), std::string(4, '\0'));
}

TEST_F(CrtTest, ANullSourceClearsTheTarget) {
  char target[4] = {'-', '-', '-', '-'};
  EXPECT_EQ(memcpy_s(target, 4, nullptr, 2), 22);
  EXPECT_EQ(std::string(target, 4), std::string(4, '\0'));
  EXPECT_EQ(memcpy_s(nullptr, 4, "ab", 2), 22);
}

TEST_F(CrtTest, ACopyCanBeToldToFail) {
  faults().failOnce("memcpy_s", 22);
  char target[4] = {'-', '-', '-', '-'};
  EXPECT_EQ(memcpy_s(target, 4, "ab", 2), 22);
  EXPECT_EQ(std::string(target, 4), "----");
  EXPECT_EQ(journal().count("memcpy_s"), 0U) << "it is no call of the system";
}

TEST_F(CrtTest, StringsAreCopiedWhereTheyFit) {
  char target[4] = "---";
  EXPECT_EQ(strcpy_s(target, 4, "abc"), 0);
  EXPECT_STREQ(target, "abc");
  EXPECT_EQ(strcpy_s(target, 4, "abcd"), 34);
  EXPECT_STREQ(target, "");
  EXPECT_EQ(strcpy_s(target, 4, nullptr), 22);
  EXPECT_EQ(strcpy_s(nullptr, 4, "a"), 22);
  EXPECT_EQ(strcpy_s(target, 0, "a"), 22);
}

TEST_F(CrtTest, StringsAreAppendedWhereTheyFit) {
  char target[6] = "ab";
  EXPECT_EQ(strcat_s(target, 6, "cde"), 0);
  EXPECT_STREQ(target, "abcde");
  EXPECT_EQ(strcat_s(target, 6, "f"), 34);
  EXPECT_STREQ(target, "");
}

TEST_F(CrtTest, ATargetWithoutAnEndIsRefused) {
  char target[3] = {'a', 'b', 'c'};
  EXPECT_EQ(strcat_s(target, 3, "d"), 22);
  EXPECT_EQ(target[0], '\0');
}

TEST_F(CrtTest, NumbersInBase16HaveLowerCaseAndNoLeadingZeros) {
  EXPECT_EQ(number(0x1A2F, 16, 9, 0), "1a2f");
  EXPECT_EQ(number(-1, 16, 9, 0), "ffffffff");
  EXPECT_EQ(number(0, 16, 9, 0), "0");
}

TEST_F(CrtTest, OnlyDecimalNumbersHaveASign) {
  EXPECT_EQ(number(-42, 10, 9, 0), "-42");
  EXPECT_EQ(number(INT_MIN, 10, 12, 0), "-2147483648");
}

TEST_F(CrtTest, ANumberThatDoesNotFitIs34) {
  EXPECT_EQ(number(-1, 16, 8, 34), "");
  EXPECT_EQ(number(10, 10, 2, 34), "");
}

TEST_F(CrtTest, AnUnknownRadixIs22) {
  EXPECT_EQ(number(1, 1, 9, 22), "");
  EXPECT_EQ(number(1, 37, 9, 22), "");
}

TEST_F(CrtTest, TheSizeOfANarrowTextCountsTheTerminator) {
  std::size_t size = 0;
  EXPECT_EQ(wcstombs_s(&size, nullptr, 0, L"abc", _TRUNCATE), 0);
  EXPECT_EQ(size, 4U);
}

TEST_F(CrtTest, WideTextIsNarrowedWhereItFits) {
  EXPECT_EQ(narrowed(L"abc", 4, _TRUNCATE), (Narrowed{0, 4, "abc"}));
  EXPECT_EQ(narrowed(L"abcdef", 4, 3), (Narrowed{0, 4, "abc"}));
}

TEST_F(CrtTest, WithTruncationTheRestIsCut) {
  EXPECT_EQ(narrowed(L"abc", 3, _TRUNCATE), (Narrowed{STRUNCATE, 3, "ab"}));
}

TEST_F(CrtTest, WithoutTruncationTextThatDoesNotFitIs34) {
  EXPECT_EQ(narrowed(L"abc", 3, 5), (Narrowed{34, 0, ""}));
}

TEST_F(CrtTest, ACharacterBeyondAByteHasNoNarrowForm) {
  EXPECT_EQ(narrowed(L"a\u0142", 9, _TRUNCATE), (Narrowed{42, 0, ""}));
  EXPECT_EQ(narrowed(L"a\u00e4", 9, _TRUNCATE), (Narrowed{0, 3, "a\xE4"}));
}

TEST_F(CrtTest, TargetAndRoomBelongTogether) {
  std::size_t size = 0;
  EXPECT_EQ(wcstombs_s(&size, nullptr, 4, L"abc", 3), 22);
  EXPECT_EQ(narrowed(nullptr, 4, 3), (Narrowed{22, 0, ""}));
}

TEST_F(CrtTest, ClearedMemoryCanRunOut) {
  faults().failOnce("calloc", ENOMEM);
  errno = 0;
  void* const none = std::calloc(1, 8);
  EXPECT_EQ(none, nullptr);
  EXPECT_EQ(errno, ENOMEM);
  void* const block = std::calloc(1, 8);
  EXPECT_NE(block, nullptr);
  std::free(block);
}

}  // namespace
