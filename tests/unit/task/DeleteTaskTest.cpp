#include "tests/unit/task/LifecycleFixture.h"

namespace {

class DeleteTaskTest : public LifecycleTest {
 protected:
  static Texts deletion() {
    return joined({kOpening,
                   {"ITaskFolder::DeleteTask", "Release ITaskService", "Release ITaskFolder",
                    "CoUninitialize"}});
  }
};

TEST_F(DeleteTaskTest, taskIsDeletedInItsOrder) {
  makeTask(L"C:\\x");
  DeleteTask();
  EXPECT_EQ(comCalls(), deletion());
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] Task Deleted sucessfully"});
  EXPECT_EQ(journal().calls("ITaskFolder::DeleteTask").at(0).args,
            "Orvix VTM EK Recertification, 0");
  expectBalanced();
  EXPECT_EQ(storedPath(), L"no task");
}

TEST_F(DeleteTaskTest, deletionWithNoTaskPresentStillEndsWithItsLine) {
  DeleteTask();
  EXPECT_EQ(comCalls(), deletion());
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] Task Deleted sucessfully"});
  expectBalanced();
}

TEST_F(DeleteTaskTest, failedDeletionIsNotLookedAt) {
  makeTask(L"C:\\x");
  faults().failOnce("ITaskFolder::DeleteTask", 0x80070005);
  DeleteTask();
  EXPECT_EQ(comCalls(), deletion());
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] Task Deleted sucessfully"});
  EXPECT_EQ(storedPath(), L"\"C:\\x\\OrvixVTMEKRecertification.exe\"");
}

}  // namespace
