// COM's life in a process, strings and variants.

#include <string>

#include "tests/contract/OtherThread.h"
#include "tests/contract/TaskFixture.h"

namespace {

using contract::code;

TEST(CoInitializeEx, AnswersZeroTheFirstTimeAndOneAgain) {
  EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
  EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_FALSE);
  CoUninitialize();
  CoUninitialize();
}

TEST(CoInitializeEx, RefusesAnotherMode) {
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  EXPECT_EQ(code(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)), 0x80010106U);
  CoUninitialize();
}

TEST(CoInitializeEx, RefusesAReservedPointer) {
  int something = 0;
  EXPECT_EQ(code(CoInitializeEx(&something, COINIT_MULTITHREADED)),
            contract::butUnderWine(0x80070057U, 0U, "Wine ignores the pointer"));
  if (contract::kUnderWine) {
    CoUninitialize();
  }
}

TEST(CoInitializeEx, IsForEachThread) {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  HRESULT other = -1;
  contract::OtherThread([&] {
    other = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
    CoUninitialize();
  }).join();
  EXPECT_EQ(other, S_OK);
  CoUninitialize();
}

TEST(CoUninitialize, LetsAnotherModeBeBegun) {
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  CoUninitialize();
  EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
  CoUninitialize();
}

TEST(CoUninitialize, OnceTooOftenIsSurvived) {
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  CoUninitialize();
  CoUninitialize();
  EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), S_OK);
  CoUninitialize();
}

HRESULT setSecurity() {
  return CoInitializeSecurity(nullptr, -1, nullptr, nullptr, RPC_C_AUTHN_LEVEL_PKT_PRIVACY,
                              RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, 0, nullptr);
}

constexpr char kNoSecurity[] = "Wine's call looks at nothing and succeeds";

TEST(CoInitializeSecurity, NeedsComOnTheThread) {
  EXPECT_EQ(code(setSecurity()), contract::butUnderWine(0x800401F0U, 0U, kNoSecurity));
}

TEST(CoInitializeSecurity, SucceedsOnce) {
  const contract::Com com;
  EXPECT_EQ(setSecurity(), S_OK);
  EXPECT_EQ(code(setSecurity()), contract::butUnderWine(0x80010119U, 0U, kNoSecurity));
}

HRESULT create(REFCLSID classId, REFIID iid) {
  void* object = &object;
  const HRESULT result = CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, iid, &object);
  EXPECT_EQ(object == nullptr, FAILED(result));
  if (object != nullptr) {
    static_cast<IUnknown*>(object)->Release();
  }
  return result;
}

TEST(CoCreateInstance, BeforeComHasBegunFails) {
  EXPECT_EQ(code(create(CLSID_TaskScheduler, IID_ITaskService)), 0x800401F0U);
}

TEST(CoCreateInstance, MakesTheSchedulersService) {
  const contract::Com com;
  EXPECT_EQ(create(CLSID_TaskScheduler, IID_ITaskService), S_OK);
}

TEST(CoCreateInstance, OfAnUnknownClassFails) {
  const contract::Com com;
  EXPECT_EQ(code(create(IID_ITaskService, IID_ITaskService)), 0x80040154U);
}

TEST(CoCreateInstance, OfAnInterfaceThatTheClassLacksFails) {
  const contract::Com com;
  EXPECT_EQ(code(create(CLSID_TaskScheduler, IID_IExecAction)), 0x80004002U);
}

TEST(SysAllocString, CopiesTheTextWithItsLength) {
  const BSTR text = SysAllocString(L"abc");
  EXPECT_EQ(std::wstring(text), L"abc");
  EXPECT_EQ(SysStringLen(text), 3U);
  SysFreeString(text);
}

TEST(SysAllocString, OfNoTextGivesNone) {
  EXPECT_EQ(SysAllocString(nullptr), nullptr);
  EXPECT_EQ(SysStringLen(nullptr), 0U);
}

TEST(SysFreeString, TakesNull) {
  SysFreeString(nullptr);
  EXPECT_EQ(GetLastError(), contract::kUntouched);
}

TEST(VariantInit, LeavesTheVariantEmpty) {
  VARIANT variant;
  variant.vt = VT_BSTR;
  VariantInit(&variant);
  EXPECT_EQ(variant.vt, VT_EMPTY);
}

}  // namespace
