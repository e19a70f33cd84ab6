// What comes of a read: a row for each situation of the key, a column for each reader.

#include <cstdint>
#include <list>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "VUSL/Support/ConfigMemory.h"

namespace {

enum class Outcome {
  kDoesNotApply,
  kDefault,  // the default, and true
  kStored,   // the stored text or number, and true
  kFailure,  // false, and the output as it was
};

struct Situation {
  const char* name;
  const char* stored;          // null: the key is absent
  std::vector<bool> defaults;  // with a default, without one, or both: what comes is the same
  bool hasList;                // of allowed values
  bool inLimits;               // whether 7 is allowed, by the list or by the bounds
  Outcome getString;
  Outcome getIntAndLong;
  Outcome getIntInRange;
};

const std::vector<bool> kDefaultGiven = {true};
const std::vector<bool> kNoDefault = {false};
// Deliberate: the default answers for an absent key alone.
const std::vector<bool> kWithAndWithoutDefault = {true, false};

const char* const kAbsent = nullptr;
constexpr bool kNoList = false;
constexpr bool kList = true;
constexpr bool kInLimits = true;
constexpr bool kOutside = false;

constexpr auto kDoesNotApply = Outcome::kDoesNotApply;
constexpr auto kDefault = Outcome::kDefault;
constexpr auto kStored = Outcome::kStored;
constexpr auto kFailure = Outcome::kFailure;

const Situation kSituations[] = {
    {"absentWithDefault", kAbsent, kDefaultGiven, kNoList, kInLimits, kDefault, kDefault, kDefault},
    {"absentWithDefaultOutsideTheLimits", kAbsent, kDefaultGiven, kList, kOutside, kDefault,
     kDefault, kDefault},
    {"absentWithoutDefault", kAbsent, kNoDefault, kNoList, kInLimits, kFailure, kFailure, kFailure},
    {"textDoesNotConvert", "x7", kWithAndWithoutDefault, kNoList, kInLimits, kDoesNotApply,
     kFailure, kFailure},
    {"withoutAllowedList", "7", kWithAndWithoutDefault, kNoList, kInLimits, kStored, kStored,
     kDoesNotApply},
    {"inTheAllowedList", "7", kWithAndWithoutDefault, kList, kInLimits, kStored, kStored,
     kDoesNotApply},
    {"notInTheAllowedList", "7", kWithAndWithoutDefault, kList, kOutside, kFailure, kFailure,
     kDoesNotApply},
    {"withinTheBounds", "7", kWithAndWithoutDefault, kNoList, kInLimits, kDoesNotApply,
     kDoesNotApply, kStored},
    {"outsideTheBounds", "7", kWithAndWithoutDefault, kNoList, kOutside, kDoesNotApply,
     kDoesNotApply, kFailure},
};

// What a reader's output may hold.
template <class T>
struct Values {
  T untouched;
  T byDefault;
  T stored;
};

const Values<std::string> kTexts = {"untouched", "77", "7"};
const Values<int32_t> kInts = {-1, 77, 7};
const Values<long> kLongs = {-1, 77, 7};

class ConfigOutcomesTest : public ::testing::TestWithParam<Situation> {
 protected:
  ConfigOutcomesTest() {
    if (GetParam().stored != nullptr) {
      store.setSetting("key", GetParam().stored);
    }
  }

  // `read` takes the output and the default.
  template <class T, class Read>
  static void expectOutcome(Outcome expected, const Values<T>& values, Read read) {
    if (expected == kDoesNotApply) {
      return;
    }
    for (const bool hasDefault : GetParam().defaults) {
      SCOPED_TRACE(hasDefault ? "with a default" : "without a default");
      T output = values.untouched;
      EXPECT_EQ(read(&output, hasDefault ? &values.byDefault : nullptr), expected != kFailure);
      EXPECT_EQ(output, expected == kDefault  ? values.byDefault
                        : expected == kStored ? values.stored
                                              : values.untouched);
    }
  }

  // The allowed list, which is null if the situation has none.
  template <class T>
  static const std::list<T>* allowed(const std::list<T>& with, const std::list<T>& without) {
    if (!GetParam().hasList) {
      return nullptr;
    }
    return GetParam().inLimits ? &with : &without;
  }

  ConfigMemory store;
};

TEST_P(ConfigOutcomesTest, ofEachReader) {
  {
    SCOPED_TRACE("getString");
    const std::list<std::string> with = {"6", "7"};
    const std::list<std::string> without = {"6", "07", "7 "};
    expectOutcome(GetParam().getString, kTexts, [&](std::string* output, const std::string* value) {
      return store.getString("key", output, allowed(with, without), value);
    });
  }
  {
    SCOPED_TRACE("getInt");
    const std::list<int32_t> with = {6, 7};
    const std::list<int32_t> without = {6, 8};
    expectOutcome(GetParam().getIntAndLong, kInts, [&](int32_t* output, const int32_t* value) {
      return store.getInt("key", output, allowed(with, without), value);
    });
  }
  {
    SCOPED_TRACE("getLong");
    const std::list<long> with = {6, 7};
    const std::list<long> without = {6, 8};
    expectOutcome(GetParam().getIntAndLong, kLongs, [&](long* output, const long* value) {
      return store.getLong("key", output, allowed(with, without), value);
    });
  }
  {
    SCOPED_TRACE("getIntInRange");
    const int32_t maximum = GetParam().inLimits ? 9 : 6;
    expectOutcome(GetParam().getIntInRange, kInts, [&](int32_t* output, const int32_t* value) {
      return store.getIntInRange("key", output, 5, maximum, value);
    });
  }
}

INSTANTIATE_TEST_SUITE_P(Table, ConfigOutcomesTest, ::testing::ValuesIn(kSituations),
                         [](const auto& row) { return std::string(row.param.name); });

}  // namespace
