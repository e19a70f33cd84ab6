// Reading a number gives what the stream's own extraction gives, for every text.

#include <cstdint>
#include <locale>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "VUSL/Support/ConfigMemory.h"

namespace {

constexpr int kUntouched = -77;

template <class T>
bool extract(const std::string& text, T* number) {
  std::istringstream stream(text);
  stream.imbue(std::locale::classic());
  T extracted = 0;
  stream >> extracted;
  if (stream.fail()) {
    return false;
  }
  *number = extracted;
  return true;
}

// Compares all three readers with the stream.
void compare(const std::string& text) {
  SCOPED_TRACE(::testing::PrintToString(text));
  ConfigMemory store;
  store.setSetting("key", text);
  int32_t expected = kUntouched;
  const bool converts = extract(text, &expected);
  int32_t number = kUntouched;
  EXPECT_EQ(store.getInt("key", &number, nullptr, nullptr), converts);
  EXPECT_EQ(number, expected);
  number = kUntouched;
  EXPECT_EQ(store.getIntInRange("key", &number, INT32_MIN, INT32_MAX, nullptr), converts);
  EXPECT_EQ(number, expected);
  long expectedLong = kUntouched;
  const bool convertsToLong = extract(text, &expectedLong);
  long longNumber = kUntouched;
  EXPECT_EQ(store.getLong("key", &longNumber, nullptr, nullptr), convertsToLong);
  EXPECT_EQ(longNumber, expectedLong);
}

TEST(ConfigConversionTest, everyShortTextOfTheCharactersThatMatter) {
  const std::string alphabet("09+- \v\f\t,.x\0", 12);
  std::vector<std::string> texts = {""};
  constexpr std::size_t kLongest = 4;
  for (std::size_t first = 0, length = 0; length <= kLongest; ++length) {
    const std::size_t end = texts.size();
    for (; first < end; ++first) {
      compare(texts[first]);
      for (std::size_t i = 0; length < kLongest && i < alphabet.size(); ++i) {
        texts.push_back(texts[first] + alphabet[i]);
      }
    }
  }
}

TEST(ConfigConversionTest, everyByteAheadOfBehindAndInsideANumber) {
  for (int byte = 0; byte < 256; ++byte) {
    const std::string character(1, static_cast<char>(byte));
    compare(character + "12");
    compare("12" + character);
    compare("1" + character + "2");
    compare("-" + character + "2");
  }
}

TEST(ConfigConversionTest, boundsOfTheTypes) {
  for (const char* sign : {"", "+", "-", " -", "--", "+-", "-+", "- "}) {
    for (const char* digits :
         {"2147483646", "2147483647", "2147483648", "2147483649", "4294967295", "4294967296",
          "9223372036854775807", "9223372036854775808", "9223372036854775809",
          "18446744073709551616", "99999999999999999999999999999", "00000000000000000000000000007",
          "000000000000000000002147483648", "0", "-0"}) {
      compare(sign + std::string(digits));
      compare(sign + std::string(digits) + "0");
      compare(sign + std::string(digits) + " seconds");
    }
  }
}

}  // namespace
