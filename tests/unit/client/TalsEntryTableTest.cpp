#include "client/TalsEntryTable.h"

#include <gtest/gtest.h>

#include <cstring>
#include <new>
#include <string>
#include <type_traits>
#include <vector>

#include "client/TalsClientLoaderBase.h"
#include "tests/unit/client/LookUpOrder.h"
#include "tests/unit/runtime/SlotOrder.h"

namespace {

// The slot of a look-up, counted from 1 by its place in memory.
std::size_t slotNumberOf(const char* name) {
  for (const TalsEntryLookup& lookup : kTalsEntryLookups) {
    if (std::strcmp(lookup.name, name) != 0) continue;
    const TalsEntryTable table;
    const auto* const begin = reinterpret_cast<const TalsEntry*>(&table);
    return static_cast<std::size_t>(&(table.*lookup.slot) - begin) + 1;
  }
  return 0;
}

TEST(TalsEntryTableTest, HoldsTwentyOnePointersAndNothingElse) {
  EXPECT_EQ(kTalsEntryCount, 21U);
  EXPECT_EQ(sizeof(TalsEntryTable), 21 * sizeof(void*));
}

TEST(TalsEntryTableTest, EveryEntryHasItsSlot) {
  const std::vector<const char*> inSlotOrder = {
      "talsGetPermit",
      "talsUsePermit",
      "talsPassThrough",
      "talsMessage",
      "talsMessage_Ex",
      "talsGetPlatformInfo",
      "talsGetPlatformType",
      "talsInit",
      "talsInitHUB",
      "talsInitQX1",
      "talsCheckPermit",
      "talsGetClientVersion",
      "talsGetGlobalAttribute",
      "talsInstallPermit",
      "talsRenewPermit",
      "talsReleasePermit",
      "talsDestroyPlatformInfo",
      "talsCaidProtect",
      "talsCaidDestroy",
      "talsConfigPrepare",
      "talsConfigDestroy",
  };
  ASSERT_EQ(inSlotOrder.size(), 21U);
  for (std::size_t slot = 1; slot <= inSlotOrder.size(); ++slot) {
    EXPECT_EQ(slotNumberOf(inSlotOrder[slot - 1]), slot) << inSlotOrder[slot - 1];
  }
}

TEST(TalsEntryTableTest, TheOrderOfLookUpsIsNotThatOfTheSlots) {
  std::vector<std::string> names;
  for (const TalsEntryLookup& lookup : kTalsEntryLookups) names.emplace_back(lookup.name);
  EXPECT_EQ(names, client_test::kLookUpOrder);
}

TEST(TalsEntryTableTest, AFreshTableIsClear) {
  const TalsClientLoaderBase loader;
  for (const TalsEntryLookup& lookup : kTalsEntryLookups) {
    EXPECT_EQ(loader.entries.*lookup.slot, nullptr) << lookup.name;
  }
}

static_assert(std::has_virtual_destructor_v<TalsClientLoaderBase>);
static_assert(sizeof(TalsClientLoaderBase) == sizeof(void*) + sizeof(TalsEntryTable));

class WithAnotherOperation : public TalsClientLoaderBase {
 public:
  virtual void another() {}
};

// What is derived from it goes on right behind the destructor, so there is nothing else to call.
TEST(TalsEntryTableTest, TheDestructorIsTheOnlyVirtualOperation) {
  EXPECT_EQ(slotOf(&WithAnotherOperation::another), 2U);
}

void anyEntry() {}

// The memory stays the test's own after the loader is gone.
TEST(TalsEntryTableTest, TheEndOfALoaderClearsTheWholeTable) {
  alignas(TalsClientLoaderBase) unsigned char place[sizeof(TalsClientLoaderBase)];
  auto* const loader = new (place) TalsClientLoaderBase;
  for (const TalsEntryLookup& lookup : kTalsEntryLookups) {
    loader->entries.*lookup.slot = &anyEntry;
  }
  loader->~TalsClientLoaderBase();
  void* left[kTalsEntryCount] = {};
  std::memcpy(left, place + sizeof(void*), sizeof left);
  for (std::size_t slot = 0; slot < kTalsEntryCount; ++slot) EXPECT_EQ(left[slot], nullptr) << slot;
}

}  // namespace
