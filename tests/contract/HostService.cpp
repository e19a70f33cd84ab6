// The small service over the model: the test's process is the one that the manager started.

#include "platform/host/Machine.h"
#include "tests/contract/OtherThread.h"
#include "tests/contract/SmallService.h"
#include "tests/contract/Surroundings.h"

namespace contract {
namespace {

ServiceLife live() {
  ServiceLife life;
  OtherThread controller([&] {
    host::ServiceManager& manager = host::machine().services;
    const auto ask = [&](DWORD control) { life.answers.push_back(manager.request(control)); };
    Sleep(100);
    ask(SERVICE_CONTROL_STOP);
    Sleep(500);
    ask(SERVICE_CONTROL_PAUSE);
    ask(SERVICE_CONTROL_INTERROGATE);
    ask(SERVICE_CONTROL_STOP);
    Sleep(100);
    ask(SERVICE_CONTROL_STOP);
  });
  dispatch(life.seen);
  controller.join();
  prepare();
  return life;
}

}  // namespace

const ServiceLife& lifeOfAService() {
  static const ServiceLife life = live();
  return life;
}

void leaveTheServiceManager() {
  host::machine().services.startedByManager = false;
}

bool isServiceStart(int /*argc*/, char** /*argv*/) {
  return false;
}

int serve() {
  return 0;
}

}  // namespace contract
