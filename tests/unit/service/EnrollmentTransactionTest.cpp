#include <functional>
#include <stdexcept>

#include "VUSL/Support/Exception.h"
#include "client/talsClientCaller.h"
#include "tests/unit/service/ServiceFixture.h"

namespace {

class EnrollmentTransactionTest : public ServiceTest {
 protected:
  TPMEnrollmentService::TPMEnrollment enrollment;
};

class ScriptedCaller : public talsClientCaller {
 public:
  explicit ScriptedCaller(std::function<talsStatus(std::uint32_t)> answer)
      : talsClientCaller(""), answer_(std::move(answer)) {}
  talsStatus executeSync(std::uint32_t command, std::uint32_t reserved) override {
    EXPECT_EQ(reserved, 0U);
    return answer_(command);
  }

 private:
  std::function<talsStatus(std::uint32_t)> answer_;
};

TEST_F(EnrollmentTransactionTest, transactionRunsTheCommandOfItsMethod) {
  std::vector<std::uint32_t> commands;
  ScriptedCaller caller([&](std::uint32_t command) {
    commands.push_back(command);
    return STATUS_OK;
  });
  EXPECT_TRUE(Peer::runInit(enrollment, caller, 1));
  EXPECT_TRUE(Peer::runInit(enrollment, caller, 2));
  EXPECT_EQ(commands, (std::vector<std::uint32_t>{1, 2}));
  EXPECT_EQ(linesFrom("method: 1"), (Texts{"[DBG] [TPM] Running Init for method: 1",
                                           "[DBG] [TPM] Running Init for method: 2"}));
}

// Deliberate: a completed transaction is never retried, whatever else it failed for.
TEST_F(EnrollmentTransactionTest, everyStatusButAConnectionErrorCountsAsDone) {
  for (std::int32_t status = -1; status <= 24; ++status) {
    ScriptedCaller caller([&](std::uint32_t) { return static_cast<talsStatus>(status); });
    EXPECT_EQ(Peer::runInit(enrollment, caller, 1), status != 8) << status;
  }
}

TEST_F(EnrollmentTransactionTest, connectionErrorIsLoggedWithItsText) {
  ScriptedCaller caller([](std::uint32_t) { return STATUS_CONNECTION_ERROR; });
  EXPECT_FALSE(Peer::runInit(enrollment, caller, 2));
  EXPECT_EQ(linesFrom("method: 2"),
            (Texts{"[DBG] [TPM] Running Init for method: 2",
                   "[DBG] [TPM] Init(EPID cert provisioning) transaction failed with error : 0x08 "
                   "[STATUS_CONNECTION_ERROR]"}));
}

TEST_F(EnrollmentTransactionTest, transactionThatThrowsAnythingIsLoggedAsStatusError) {
  const std::vector<std::function<talsStatus(std::uint32_t)>> throwers = {
      [](std::uint32_t) -> talsStatus { throw Exception("here") << "text"; },
      [](std::uint32_t) -> talsStatus { throw std::runtime_error("text"); },
      [](std::uint32_t) -> talsStatus { throw 1; },
  };
  for (const auto& thrower : throwers) {
    log.clear();
    ScriptedCaller caller(thrower);
    EXPECT_FALSE(Peer::runInit(enrollment, caller, 1));
    EXPECT_EQ(linesFrom("method: 1"),
              (Texts{"[DBG] [TPM] Running Init for method: 1",
                     "[DBG] [TPM] Init(EPID cert provisioning) transaction failed with error : "
                     "0x02 [STATUS_ERROR]"}));
  }
}

}  // namespace
