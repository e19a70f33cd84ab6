#include "tests/unit/runtime/SlotOrder.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <type_traits>

#include "VUSL/Support/ConfigMgmt.h"
#include "VUSL/Support/CriticalSection.h"
#include "VUSL/Support/Event.h"
#include "VUSL/Support/IConfig.h"
#include "VUSL/Support/IRunning.h"
#include "VUSL/Support/Mutex.h"
#include "VUSL/Support/Thread.h"
#include "VUSL/Support/Waitable.h"
#include "VUSL/SupportCore/FileBase.h"

namespace {

static_assert(std::is_abstract_v<IConfig> && std::has_virtual_destructor_v<IConfig>);
static_assert(std::is_abstract_v<vusl::FileBase> && std::has_virtual_destructor_v<vusl::FileBase>);
static_assert(std::is_abstract_v<vusl::Waitable> && std::has_virtual_destructor_v<vusl::Waitable>);
static_assert(std::is_abstract_v<vusl::IRunning>);
static_assert(sizeof(vusl::IRunning) == sizeof(void*));
static_assert(std::is_abstract_v<vusl::Thread>);
static_assert(std::is_base_of_v<vusl::Waitable, vusl::Mutex>);
static_assert(std::is_base_of_v<vusl::Waitable, vusl::CriticalSection>);
static_assert(std::is_base_of_v<vusl::Waitable, vusl::Event>);
static_assert(std::is_base_of_v<vusl::Waitable, vusl::Thread>);

// Each operation of an interface is pure by itself: a class that has all but one is abstract still.

template <class Base>
struct WithLock : Base {
  vusl::WaitResult Lock(uint32_t /*timeoutMs*/) override { return vusl::WaitResult::kDone; }
};
template <class Base>
struct WithUnlock : Base {
  vusl::WaitResult Unlock() override { return vusl::WaitResult::kDone; }
};
static_assert(!std::is_abstract_v<WithLock<WithUnlock<vusl::Waitable>>>);
static_assert(std::is_abstract_v<WithUnlock<vusl::Waitable>>);
static_assert(std::is_abstract_v<WithLock<vusl::Waitable>>);

template <class Base>
struct WithGetSize : Base {
  uint32_t getSize() const override { return 0; }
};
template <class Base>
struct WithExists : Base {
  bool exists() const override { return false; }
};
template <class Base>
struct WithClose : Base {
  void close() override {}
};
template <class Base>
struct WithRead : Base {
  void read(void* /*data*/, unsigned int /*size*/) override {}
};
static_assert(!std::is_abstract_v<WithGetSize<WithExists<WithClose<WithRead<vusl::FileBase>>>>>);
static_assert(std::is_abstract_v<WithExists<WithClose<WithRead<vusl::FileBase>>>>);
static_assert(std::is_abstract_v<WithGetSize<WithClose<WithRead<vusl::FileBase>>>>);
static_assert(std::is_abstract_v<WithGetSize<WithExists<WithRead<vusl::FileBase>>>>);
static_assert(std::is_abstract_v<WithGetSize<WithExists<WithClose<vusl::FileBase>>>>);

TEST(SlotOrderTest, waitableHasDestructorLockUnlock) {
  EXPECT_EQ(slotOf(&vusl::Waitable::Lock), 2U);
  EXPECT_EQ(slotOf(&vusl::Waitable::Unlock), 3U);
}

TEST(SlotOrderTest, threadAddsItsBodyBehindTheWaitable) {
  EXPECT_EQ(slotOf(&vusl::Thread::Lock), 2U);
  EXPECT_EQ(slotOf(&vusl::Thread::Unlock), 3U);
  EXPECT_EQ(slotOf(&vusl::Thread::Run), 4U);
}

TEST(SlotOrderTest, runningHasTheQuestionAheadOfTheDestructor) {
  EXPECT_EQ(slotOf(&vusl::IRunning::IsRunning), 0U);
}

TEST(SlotOrderTest, configHasTheNineOperationsInOrder) {
  EXPECT_EQ(slotOf(&IConfig::getSettingsByPrefix), 2U);
  EXPECT_EQ(slotOf(&IConfig::getIntInRange), 3U);
  EXPECT_EQ(slotOf(&IConfig::getLong), 4U);
  EXPECT_EQ(slotOf(&IConfig::getInt), 5U);
  EXPECT_EQ(slotOf(&IConfig::getString), 6U);
  EXPECT_EQ(slotOf(&IConfig::setSetting), 7U);
  EXPECT_EQ(slotOf(&IConfig::unsupportedSettingsOperation), 8U);
  EXPECT_EQ(slotOf(&IConfig::saveSettings), 9U);
  EXPECT_EQ(slotOf(&IConfig::reloadSettings), 10U);
}

TEST(SlotOrderTest, configFileAddsTheWrittenLineBehindTheConfig) {
  EXPECT_EQ(slotOf(&ConfigMgmt::formatSettingLine), 11U);
}

TEST(SlotOrderTest, fileHasTheFourOperationsInOrder) {
  EXPECT_EQ(slotOf(&vusl::FileBase::getSize), 2U);
  EXPECT_EQ(slotOf(&vusl::FileBase::exists), 3U);
  EXPECT_EQ(slotOf(&vusl::FileBase::close), 4U);
  EXPECT_EQ(slotOf(&vusl::FileBase::read), 5U);
}

}  // namespace
