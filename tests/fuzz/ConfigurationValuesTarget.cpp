// A setting's text read as what it may stand for, held against the standard library's own reading.

#include <algorithm>
#include <climits>
#include <list>
#include <sstream>
#include <string>

#include "VUSL/Support/ConfigMemory.h"
#include "tests/fuzz/Fuzz.h"

namespace fuzz {
namespace {

constexpr char kKey[] = "Key";
constexpr int32_t kUntouched = 0x5A5A5A;

template <class Number>
bool extract(const std::string& text, Number& number) {
  std::istringstream stream(text);
  stream >> number;
  return !stream.fail();
}

void checkNumbers(ConfigMemory& store, const std::string& text, int32_t low, int32_t high) {
  int32_t expected = 0;
  const bool isNumber = extract(text, expected);
  const int32_t byDefault = 7;

  int32_t value = kUntouched;
  const bool isRead = store.getInt(kKey, &value, nullptr, &byDefault);
  require(isRead == isNumber && value == (isNumber ? expected : kUntouched),
          "a 32-bit number reads as a stream reads it");

  value = kUntouched;
  const bool isInRange = isNumber && low <= expected && expected <= high;
  require(store.getIntInRange(kKey, &value, low, high, &byDefault) == isInRange &&
              value == (isInRange ? expected : kUntouched),
          "a number in a range is one that is read and lies in it");

  const std::list<int32_t> allowed = {low, high};
  value = kUntouched;
  const bool isAllowed = isNumber && (expected == low || expected == high);
  require(store.getInt(kKey, &value, &allowed, &byDefault) == isAllowed &&
              value == (isAllowed ? expected : kUntouched),
          "an allowed number is one that is read and stands in the list");

  long wide = 0;
  const bool isWide = extract(text, wide);
  long found = kUntouched;
  require(store.getLong(kKey, &found, nullptr, nullptr) == isWide &&
              found == (isWide ? wide : kUntouched),
          "a long number reads as a stream reads it");
}

void checkText(ConfigMemory& store, const std::string& text, const std::string& other) {
  const std::list<std::string> allowed = {other, "INFO"};
  const std::string byDefault = "default";
  std::string value = "untouched";
  require(store.getString(kKey, &value, nullptr, &byDefault) && value == text,
          "a text reads as it was set");
  value = "untouched";
  const bool isAllowed = text == other || text == "INFO";
  require(store.getString(kKey, &value, &allowed, &byDefault) == isAllowed &&
              value == (isAllowed ? text : "untouched"),
          "an allowed text is one of the list");
}

}  // namespace

void runConfigurationValues(std::string_view bytes) {
  Input input(bytes);
  const auto low = static_cast<int32_t>(input.byte() << (input.byte() % 25));
  const auto high = static_cast<int32_t>(input.byte() << (input.byte() % 25));
  const std::string other(input.piece());
  const std::string text(input.rest());

  ConfigMemory store;
  require(store.setSetting(kKey, text), "a setting can be set");
  checkNumbers(store, text, std::min(low, high), std::max(low, high));
  checkText(store, text, other);
}

}  // namespace fuzz
