// The Task Scheduler of platform/wine, from the library beside the program.

#include <stdexcept>

#include "tests/contract/TaskFixture.h"

namespace contract {
namespace {

using GetClassObject = HRESULT(WINAPI*)(REFCLSID, REFIID, LPVOID*);

}  // namespace

StandInClass::StandInClass() {
  const HMODULE library = LoadLibraryW(L"tasks.dll");
  const FARPROC entry = library == nullptr ? nullptr : GetProcAddress(library, "DllGetClassObject");
  if (entry == nullptr) {
    throw std::runtime_error("there is no tasks.dll beside the program");
  }
  void* factory = nullptr;
  reinterpret_cast<GetClassObject>(reinterpret_cast<void*>(entry))(CLSID_TaskScheduler,
                                                                   IID_IUnknown, &factory);
  EXPECT_EQ(code(CoRegisterClassObject(CLSID_TaskScheduler, static_cast<IUnknown*>(factory),
                                       CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &number_)),
            0U);
}

StandInClass::~StandInClass() {
  CoRevokeClassObject(number_);
}

}  // namespace contract
