#include "service/ServiceHost.h"

#include <memory>
#include <stdexcept>

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/Singleton.h"
#include "tests/unit/service/ServiceHostFixture.h"

namespace {

using TPMEnrollmentService::TPMEnrollment;

class ServiceControlHandlerTest : public ServiceHost {};

TEST_F(ServiceControlHandlerTest, everyControlButStopReturnsWithNoReport) {
  registerHandler();
  for (const DWORD control : {DWORD{2}, DWORD{3}, DWORD{4}, DWORD{5}, DWORD{128}}) {
    ServiceControlHandler(control);
  }
  EXPECT_TRUE(services().statuses.empty());
  EXPECT_EQ(log.texts(), Texts{});
}

TEST_F(ServiceControlHandlerTest, stopWithNoObjectRegisteredIsReportedAndLogged) {
  registerHandler();
  ServiceControlHandler(SERVICE_CONTROL_STOP);
  EXPECT_EQ(states(), std::vector<DWORD>{SERVICE_STOP_PENDING});
  EXPECT_EQ(log.texts(), Texts{"[ERR] [TPM] Exception occured in ServiceControlHandler function "
                               "Singleton::getInstance():NULL instance of class "
                               "TPMEnrollmentService::TPMEnrollment"});
}

TEST_F(ServiceControlHandlerTest, refusedReportInTheHandlerIsLoggedAndNothingIsStopped) {
  registerHandler();
  faults().failOnce("SetServiceStatus", 6);
  ServiceControlHandler(SERVICE_CONTROL_STOP);
  EXPECT_EQ(log.texts(), Texts{"[ERR] [TPM] Exception occured in ServiceControlHandler function "});
  EXPECT_TRUE(journal().calls("SetEvent").empty());
}

TEST_F(ServiceControlHandlerTest, handlerReturnsAtOnceWhenNothingRuns) {
  registerHandler();
  TPMEnrollment idle;
  const Singleton<TPMEnrollment> published(&idle);
  journal().clear();
  ServiceControlHandler(SERVICE_CONTROL_STOP);
  EXPECT_EQ(states(), std::vector<DWORD>{SERVICE_STOP_PENDING});
  EXPECT_TRUE(journal().calls("Sleep").empty());
}

// Only the system's own exceptions are caught.
TEST_F(ServiceControlHandlerTest, exceptionOfAnotherKindLeavesTheHandler) {
  registerHandler();
  TPMEnrollment idle;
  const Singleton<TPMEnrollment> published(&idle);
  host::CallHooks::instance().before("SetEvent", journal().count("SetEvent") + 1,
                                     [] { throw std::runtime_error("text"); });
  EXPECT_THROW(ServiceControlHandler(SERVICE_CONTROL_STOP), std::runtime_error);
  EXPECT_EQ(log.texts(), Texts{"[DBG] [TPM] Stopping service..."});
}

// The pointer is read on each turn: an object that goes away ends the loop.
TEST_F(ServiceControlHandlerTest, handlerReturnsWhenTheObjectIsGone) {
  registerHandler();
  installClient();
  host::machine().publishEvent(kTpmEvent);
  auto holder = std::make_unique<TPMEnrollment>();
  auto published = std::make_unique<Singleton<TPMEnrollment>>(holder.get());
  // A run that failed to load leaves the flag set.
  host::machine().devices.clear();
  ASSERT_EQ(holder->CreateServicePrivateNamespace(), 0U);
  EXPECT_THROW(holder->Run(), Exception);
  host::TestThread end([&] {
    Sleep(12'000);
    published.reset();
  });
  const std::int64_t startMs = clockMs();
  ServiceControlHandler(SERVICE_CONTROL_STOP);
  EXPECT_EQ((clockMs() - startMs) / 1000, 15);
  EXPECT_EQ(states().size(), 4U);
}

}  // namespace
