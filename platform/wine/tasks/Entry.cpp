// The library's entry: what COM asks for the scheduler's objects.

#include "platform/host/TaskScheduler.h"
#include "platform/host/windows/windows.h"

namespace {

constexpr HRESULT kNoSuchClass = static_cast<HRESULT>(0x80040111);
constexpr HRESULT kNoAggregation = static_cast<HRESULT>(0x80040110);
constexpr IID kClassFactory = {0x00000001, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

// With the platform's slots behind those of every object.
struct ClassFactory : IUnknown {
  virtual HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) = 0;
  virtual HRESULT LockServer(std::int32_t locks) = 0;

 protected:
  ~ClassFactory() = default;
};

// There is one, which nobody ends.
class TaskServiceFactory final : public ClassFactory {
 public:
  HRESULT QueryInterface(REFIID iid, void** object) override {
    const bool isKnown = iid == IID_IUnknown || iid == kClassFactory;
    *object = isKnown ? static_cast<ClassFactory*>(this) : nullptr;
    return isKnown ? S_OK : E_NOINTERFACE;
  }
  ULONG AddRef() override { return 2; }
  ULONG Release() override { return 1; }
  HRESULT CreateInstance(IUnknown* outer, REFIID iid, void** object) override {
    *object = nullptr;
    if (outer != nullptr) {
      return kNoAggregation;
    }
    *object = host::makeTaskService(iid, "CoCreateInstance");
    return *object == nullptr ? E_NOINTERFACE : S_OK;
  }
  HRESULT LockServer(std::int32_t /*locks*/) override { return S_OK; }
};

}  // namespace

extern "C" HRESULT DllGetClassObject(REFIID classId, REFIID iid, void** object) {
  static TaskServiceFactory factory;
  *object = nullptr;
  return classId == CLSID_TaskScheduler ? factory.QueryInterface(iid, object) : kNoSuchClass;
}

extern "C" HRESULT DllCanUnloadNow() {
  return S_FALSE;
}
