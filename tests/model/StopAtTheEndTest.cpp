#include "platform/host/Call.h"
#include "service/ServiceHost.h"
#include "tests/unit/service/ServiceFixture.h"

namespace {

class StopAtTheEndTest : public ServiceTest {
 protected:
  static host::ServiceManager& services() { return host::machine().services; }

  // A life of the service that ends by itself as soon as both methods are done.
  static void live() {
    host::machine().environment[L"TALS_CONFDIR_PATH"] = L"C:\\conf";
    installClient();
    wchar_t noName[] = L"";
    const SERVICE_TABLE_ENTRYW table[] = {{noName, ServiceMain}, {nullptr, nullptr}};
    ASSERT_TRUE(StartServiceCtrlDispatcherW(table));
  }
};

// Required: the stop is accepted while RUNNING is what was told last, and handled when STOPPED has
// been told and the object is not published any more.
TEST_F(StopAtTheEndTest, StopPendingIsToldAfterStopped) {
  constexpr unsigned kReportOfStopped = 3;
  host::CallHooks::instance().before("SetServiceStatus", kReportOfStopped,
                                     [] { EXPECT_EQ(services().requestStop(), 0U); });
  // From here on the dispatcher gets its turn.
  services().onStatus = [](const SERVICE_STATUS& status) {
    if (status.dwCurrentState != SERVICE_STOPPED) return;
    const std::size_t next = host::Journal::instance().count("CloseHandle") + 1;
    host::CallHooks::instance().before("CloseHandle", next,
                                       [] { host::Scheduler::instance().standBack(); });
  };
  live();
  std::vector<DWORD> states;
  for (const SERVICE_STATUS& status : services().statuses) states.push_back(status.dwCurrentState);
  EXPECT_EQ(states, (std::vector<DWORD>{SERVICE_START_PENDING, SERVICE_RUNNING, SERVICE_STOPPED,
                                        SERVICE_STOP_PENDING}));
  EXPECT_TRUE(
      log.contains("Exception occured in ServiceControlHandler function "
                   "Singleton::getInstance():NULL instance of class "));
}

}  // namespace
