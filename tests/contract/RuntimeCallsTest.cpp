// The C runtime: texts, numbers, memory, the environment, and files by narrow names.

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "tests/contract/Contract.h"

namespace {

struct Number {
  errno_t result;
  std::string text;
  bool operator==(const Number&) const = default;
};

Number numberOf(int value, std::size_t room, int radix) {
  char buffer[40] = "before";
  const errno_t result = _itoa_s(value, buffer, room, radix);
  return {result, buffer};
}

TEST(_itoa_s, GivesLowerCaseAndNoLeadingZerosInBase16) {
  EXPECT_EQ(numberOf(0x1A2F, 9, 16), (Number{0, "1a2f"}));
  EXPECT_EQ(numberOf(0, 9, 16), (Number{0, "0"}));
}

TEST(_itoa_s, GivesASignInBase10Alone) {
  EXPECT_EQ(numberOf(-42, 9, 10), (Number{0, "-42"}));
  EXPECT_EQ(numberOf(INT_MIN, 12, 10), (Number{0, "-2147483648"}));
  EXPECT_EQ(numberOf(-1, 9, 16), (Number{0, "ffffffff"}));
}

TEST(_itoa_s, EmptiesABufferWithoutRoom) {
  EXPECT_EQ(numberOf(-1, 8, 16), (Number{ERANGE, ""}));
  EXPECT_EQ(numberOf(10, 2, 10), (Number{ERANGE, ""}));
}

TEST(_itoa_s, RefusesOtherBases) {
  EXPECT_EQ(numberOf(1, 9, 1), (Number{EINVAL, ""}));
  EXPECT_EQ(numberOf(1, 9, 37), (Number{EINVAL, ""}));
}

TEST(calloc, GivesMemoryOfZeros) {
  void* const block = std::calloc(4, 4);
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(std::string(static_cast<char*>(block), 16), std::string(16, '\0'));
  std::free(block);
}

TEST(memcpy_s, CopiesWhatFits) {
  char target[4] = {'-', '-', '-', '-'};
  EXPECT_EQ(memcpy_s(target, 4, "ab", 2), 0);
  EXPECT_EQ(std::string(target, 4), "ab--");
}

TEST(memcpy_s, ClearsTheTargetOfWhatDoesNotFit) {
  char target[4] = {'-', '-', '-', '-'};
  EXPECT_EQ(memcpy_s(target, 4, "abcdef", 5), ERANGE);
  EXPECT_EQ(std::string(target, 4), std::string(4, '\0'));
}

TEST(memcpy_s, ClearsTheTargetOfNoSource) {
  char target[4] = {'-', '-', '-', '-'};
  EXPECT_EQ(memcpy_s(target, 4, nullptr, 2), EINVAL);
  EXPECT_EQ(std::string(target, 4), std::string(4, '\0'));
}

TEST(memcpy_s, TakesNothingFromNowhereToNowhere) {
  EXPECT_EQ(memcpy_s(nullptr, 0, nullptr, 0), 0);
  EXPECT_EQ(memcpy_s(nullptr, 4, "ab", 2), EINVAL);
}

TEST(strcpy_s, CopiesWhatFitsWithItsZero) {
  char target[4] = "---";
  EXPECT_EQ(strcpy_s(target, 4, "abc"), 0);
  EXPECT_STREQ(target, "abc");
}

TEST(strcpy_s, EmptiesTheTargetOfWhatDoesNotFit) {
  char target[4] = "---";
  EXPECT_EQ(strcpy_s(target, 4, "abcd"), ERANGE);
  EXPECT_STREQ(target, "");
}

TEST(strcpy_s, RefusesNullAndNoRoom) {
  char target[4] = "---";
  EXPECT_EQ(strcpy_s(target, 4, nullptr), EINVAL);
  EXPECT_EQ(strcpy_s(nullptr, 4, "a"), EINVAL);
  EXPECT_EQ(strcpy_s(target, 0, "a"), EINVAL);
}

TEST(strcat_s, AppendsWhatFits) {
  char target[6] = "ab";
  EXPECT_EQ(strcat_s(target, 6, "cde"), 0);
  EXPECT_STREQ(target, "abcde");
}

TEST(strcat_s, EmptiesTheTargetOfWhatDoesNotFit) {
  char target[6] = "abcde";
  EXPECT_EQ(strcat_s(target, 6, "f"), ERANGE);
  EXPECT_STREQ(target, "");
}

TEST(strcat_s, RefusesATargetWithoutAnEnd) {
  char target[3] = {'a', 'b', 'c'};
  EXPECT_EQ(strcat_s(target, 3, "d"),
            contract::butUnderWine<errno_t>(EINVAL, ERANGE, "Wine's runtime calls it too small"));
  EXPECT_EQ(target[0], '\0');
}

struct Narrowed {
  errno_t result;
  std::size_t converted;
  std::string text;
  bool operator==(const Narrowed&) const = default;
};

Narrowed narrowed(const wchar_t* source, std::size_t room, std::size_t count) {
  char buffer[40] = "before";
  std::size_t converted = 99;
  const errno_t result = wcstombs_s(&converted, buffer, room, source, count);
  return {result, converted, buffer};
}

TEST(wcstombs_s, TellsTheSizeWithTheZeroWhenThereIsNoTarget) {
  std::size_t size = 0;
  EXPECT_EQ(wcstombs_s(&size, nullptr, 0, L"abc", _TRUNCATE), 0);
  EXPECT_EQ(size, 4U);
}

TEST(wcstombs_s, NarrowsWhatFits) {
  EXPECT_EQ(narrowed(L"abc", 4, _TRUNCATE), (Narrowed{0, 4, "abc"}));
  EXPECT_EQ(narrowed(L"abcdef", 4, 3), (Narrowed{0, 4, "abc"}));
}

TEST(wcstombs_s, CutsTheRestWhereItIsToldTo) {
  EXPECT_EQ(narrowed(L"abc", 3, _TRUNCATE), (Narrowed{STRUNCATE, 3, "ab"}));
}

TEST(wcstombs_s, EmptiesTheTargetOfWhatDoesNotFit) {
  EXPECT_EQ(narrowed(L"abc", 3, 5), (Narrowed{ERANGE, 0, ""}));
}

TEST(wcstombs_s, HasNoNarrowFormForACharacterBeyondAByte) {
  EXPECT_EQ(narrowed(L"a\u0142", 9, _TRUNCATE).result, 42);
  EXPECT_EQ(narrowed(L"a\u00e4", 9, _TRUNCATE), (Narrowed{0, 3, "a\xE4"}));
}

TEST(_dupenv_s, CopiesAVariableWithItsZeroCounted) {
  contract::putVariable(L"CONTRACT_VARIABLE", L"value");
  char* value = nullptr;
  std::size_t size = 0;
  EXPECT_EQ(_dupenv_s(&value, &size, "contract_variable"), 0);
  EXPECT_STREQ(value, "value");
  EXPECT_EQ(size, 6U);
  std::free(value);
}

TEST(_dupenv_s, GivesNullForAMissingVariableWithoutAnError) {
  auto* value = const_cast<char*>("before");
  std::size_t size = 99;
  EXPECT_EQ(_dupenv_s(&value, &size, "CONTRACT_NONE"), 0);
  EXPECT_EQ(value, nullptr);
  EXPECT_EQ(size, 0U);
  EXPECT_EQ(_dupenv_s(&value, nullptr, "CONTRACT_NONE"), 0);
}

TEST(_dupenv_s, NeedsANameAndAPlace) {
  char* value = nullptr;
  EXPECT_EQ(_dupenv_s(nullptr, nullptr, "NAME"), EINVAL);
  EXPECT_EQ(_dupenv_s(&value, nullptr, nullptr), EINVAL);
}

TEST(_stat64i32, TellsAFileFromAFolder) {
  contract::putFile(L"a", "text");
  struct _stat64i32 status {};
  EXPECT_EQ(_stat64i32("C:\\contract\\A", &status), 0);
  EXPECT_EQ(status.st_size, 4);
  EXPECT_EQ(status.st_mode & _S_IFREG, _S_IFREG);
  EXPECT_EQ(_stat64i32("C:\\contract", &status), 0);
  EXPECT_EQ(status.st_mode & _S_IFDIR, _S_IFDIR);
}

TEST(_stat64i32, FindsNothingWhereNothingIs) {
  struct _stat64i32 status {};
  errno = 0;
  EXPECT_EQ(_stat64i32("C:\\contract\\none", &status), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST(remove, TakesAFileAway) {
  contract::putFile(L"a", "text");
  EXPECT_EQ(std::remove("C:\\contract\\a"), 0);
  EXPECT_EQ(contract::contentOf(L"a"), std::nullopt);
}

TEST(remove, FailsOfAMissingFile) {
  errno = 0;
  EXPECT_EQ(std::remove("C:\\contract\\none"), -1);
  EXPECT_EQ(errno, ENOENT);
}

TEST(remove, DoesNotTakeAnOpenFile) {
  contract::putFile(L"a", "text");
  const HANDLE file = CreateFileW(L"C:\\contract\\a", GENERIC_READ, 3, nullptr, OPEN_EXISTING,
                                  FILE_ATTRIBUTE_NORMAL, nullptr);
  errno = 0;
  EXPECT_EQ(std::remove("C:\\contract\\a"), -1);
  EXPECT_EQ(errno, EACCES);
  CloseHandle(file);
}

TEST(rename, MovesAFile) {
  contract::putFile(L"a", "text");
  EXPECT_EQ(std::rename("C:\\contract\\a", "C:\\contract\\b"), 0);
  EXPECT_EQ(contract::contentOf(L"b"), "text");
  EXPECT_EQ(contract::contentOf(L"a"), std::nullopt);
}

TEST(rename, DoesNotReplaceAFile) {
  contract::putFile(L"a", "text");
  contract::putFile(L"b", "other");
  errno = 0;
  EXPECT_EQ(std::rename("C:\\contract\\a", "C:\\contract\\b"), -1);
  EXPECT_EQ(errno, EEXIST);
  EXPECT_EQ(contract::contentOf(L"b"), "other");
}

TEST(rename, FailsOfAMissingFile) {
  errno = 0;
  EXPECT_EQ(std::rename("C:\\contract\\none", "C:\\contract\\b"), -1);
  EXPECT_EQ(errno, ENOENT);
}

}  // namespace
