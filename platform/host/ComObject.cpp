#include "platform/host/ComObject.h"

#include <vector>

#include "platform/host/Ledger.h"
#include "platform/host/windows/TaskScheduler.h"

namespace host {
namespace {

constexpr char kReference[] = "reference";

std::uintptr_t valueOf(const ComObject* object) {
  return reinterpret_cast<std::uintptr_t>(object);
}

struct KnownInterface {
  const IID& iid;
  const char* name;
};
constexpr KnownInterface kInterfaces[] = {
    {IID_IUnknown, "IUnknown"},
    {IID_IDispatch, "IDispatch"},
    {IID_ITaskService, "ITaskService"},
    {IID_ITaskFolder, "ITaskFolder"},
    {IID_IRegisteredTask, "IRegisteredTask"},
    {IID_ITaskDefinition, "ITaskDefinition"},
    {IID_IRegistrationInfo, "IRegistrationInfo"},
    {IID_IPrincipal, "IPrincipal"},
    {IID_ITaskSettings, "ITaskSettings"},
    {IID_IIdleSettings, "IIdleSettings"},
    {IID_ITriggerCollection, "ITriggerCollection"},
    {IID_ITrigger, "ITrigger"},
    {IID_IEventTrigger, "IEventTrigger"},
    {IID_IActionCollection, "IActionCollection"},
    {IID_IAction, "IAction"},
    {IID_IExecAction, "IExecAction"},
};

}  // namespace

std::string interfaceName(REFIID iid) {
  for (const KnownInterface& known : kInterfaces) {
    if (known.iid == iid) {
      return known.name;
    }
  }
  return "{" + hexText(iid.Data1) + "...}";
}

bool ComObject::isAlive(const char* call) const {
  const Scheduler::Guard guard;
  if (references_ + holders_ > 0) {
    return true;
  }
  Ledger::instance().violation(std::string(call) + ": the " + kind_ + " was released before");
  return false;
}

void ComObject::letGo() {
  --holders_;
  endIfUnused();
}

ULONG ComObject::addReference(const char* maker) {
  if (references_ == 0) {
    Ledger::instance().acquire(kReference, valueOf(this), maker);
  }
  return ++references_;
}

ULONG ComObject::release() {
  if (references_ == 0) {
    Ledger::instance().violation("IUnknown::Release: the " + std::string(kind_) +
                                 " was released before");
    return 0;
  }
  if (--references_ == 0) {
    Ledger::instance().release(kReference, valueOf(this), "IUnknown::Release");
    endIfUnused();
  }
  return references_;
}

void ComObject::endIfUnused() {
  if (references_ + holders_ == 0) {
    lastBreath();
  }
}

void ComObject::keepForEver(std::unique_ptr<ComObject> object) {
  static auto* const all = new std::vector<std::unique_ptr<ComObject>>;
  const Scheduler::Guard guard;
  all->push_back(std::move(object));
}

HRESULT ComCall::answers(HRESULT result) {
  if (SUCCEEDED(result) && (verdict_ > S_OK || failsWhenDone())) {
    result = static_cast<HRESULT>(fault());
  }
  returns(hexText(static_cast<DWORD>(result)).c_str());
  return result;
}

}  // namespace host
