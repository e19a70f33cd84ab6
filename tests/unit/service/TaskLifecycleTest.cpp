#include "task/TaskLifecycle.h"

#include <iostream>

#include "tests/unit/service/ServiceFixture.h"

namespace {

class TaskLifecycleTest : public ServiceTest {
 protected:
  TaskLifecycleTest() : errors(std::wcerr) {}

  WideCapture errors;
};

TEST_F(TaskLifecycleTest, schedulingSaysThatItIsNotBuiltYetAndDoesNothing) {
  ScheduleTask();
  EXPECT_EQ(errors.text(), L"ScheduleTask is not built yet.\n");
  EXPECT_EQ(log.texts(), Texts{});
  EXPECT_EQ(journal().names(), Texts{});
}

TEST_F(TaskLifecycleTest, deletingSaysThatItIsNotBuiltYetAndDoesNothing) {
  DeleteTask();
  EXPECT_EQ(errors.text(), L"DeleteTask is not built yet.\n");
  EXPECT_EQ(log.texts(), Texts{});
  EXPECT_EQ(journal().names(), Texts{});
}

}  // namespace
