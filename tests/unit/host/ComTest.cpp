// COM's life in the process, strings, variants, and the references to objects.

#include "tests/unit/host/ComFixture.h"

namespace host {
namespace {

using Texts = std::vector<std::string>;

TEST_F(ComTest, TheFirstBeginningOfAThreadAnswersZeroAndAnotherOne) {
  EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), 0);
  EXPECT_EQ(CoInitializeEx(nullptr, COINIT_MULTITHREADED), 1);
}

TEST_F(ComTest, AnotherModeIsRefusedAndDoesNotCount) {
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  EXPECT_EQ(code(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)), 0x80010106U);
  CoUninitialize();
  EXPECT_EQ(ledger().open("com"), 0U);
  EXPECT_EQ(ledger().violations(), Texts{});
}

TEST_F(ComTest, AThreadThatEndedComMayBeginItInAnotherMode) {
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  CoUninitialize();
  EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), 0);
}

TEST_F(ComTest, EachThreadBeginsComForItself) {
  CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
  HRESULT other = -1;
  TestThread([&] { other = CoInitializeEx(nullptr, COINIT_MULTITHREADED); }).join();
  EXPECT_EQ(other, 0);
}

TEST_F(ComTest, AReservedPointerIsRefused) {
  int something = 0;
  EXPECT_EQ(code(CoInitializeEx(&something, COINIT_MULTITHREADED)), 0x80070057U);
}

TEST_F(ComTest, OneEndTooManyIsNoted) {
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  CoUninitialize();
  CoUninitialize();
  EXPECT_EQ(ledger().violations(), Texts{"CoUninitialize: the thread has not begun COM"});
}

TEST_F(ComTest, ABeginningWithoutEndIsStillOpen) {
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  CoUninitialize();
  EXPECT_EQ(ledger().open("com"), 1U);
}

HRESULT initializeSecurity() {
  return CoInitializeSecurity(nullptr, -1, nullptr, nullptr, 6, 3, nullptr, 0, nullptr);
}

TEST_F(ComTest, SecurityNeedsComOnTheThread) {
  EXPECT_EQ(code(initializeSecurity()), 0x800401F0U);
}

TEST_F(ComTest, SecurityIsSetOnce) {
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  EXPECT_EQ(initializeSecurity(), 0);
  EXPECT_EQ(code(initializeSecurity()), 0x80010119U);
}

TEST_F(ComTest, AfterTheLastEndSecurityMayBeSetAnew) {
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  initializeSecurity();
  CoUninitialize();
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  EXPECT_EQ(initializeSecurity(), 0);
}

TEST_F(ComTest, AMachineCanKeepTheSecurityForTheProcess) {
  machine().com.securityEndsWithLastThread = false;
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  initializeSecurity();
  CoUninitialize();
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  EXPECT_EQ(code(initializeSecurity()), 0x80010119U);
}

HRESULT create(REFCLSID classId, REFIID iid, DWORD context = CLSCTX_INPROC_SERVER) {
  void* object = &object;
  const HRESULT result = CoCreateInstance(classId, nullptr, context, iid, &object);
  EXPECT_EQ(object == nullptr, FAILED(result));
  if (object != nullptr) {
    static_cast<IUnknown*>(object)->Release();
  }
  return result;
}

TEST_F(ComTest, NothingIsMadeBeforeComHasBegun) {
  EXPECT_EQ(code(create(CLSID_TaskScheduler, IID_ITaskService)), 0x800401F0U);
}

TEST_F(ComTest, OnlyTheSchedulersClassIsKnown) {
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  EXPECT_EQ(create(CLSID_TaskScheduler, IID_ITaskService), 0);
  EXPECT_EQ(code(create(IID_ITaskService, IID_ITaskService)), 0x80040154U);
  EXPECT_EQ(code(create(CLSID_TaskScheduler, IID_ITaskService, CLSCTX_LOCAL_SERVER)), 0x80040154U);
}

TEST_F(ComTest, AnInterfaceThatTheClassLacksIsRefused) {
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  EXPECT_EQ(code(create(CLSID_TaskScheduler, IID_IExecAction)), 0x80004002U);
}

TEST_F(ComTest, AThreadMayUseTheMultithreadedApartmentOfAnother) {
  CoInitializeEx(nullptr, COINIT_MULTITHREADED);
  HRESULT other = -1;
  TestThread([&] { other = create(CLSID_TaskScheduler, IID_ITaskService); }).join();
  EXPECT_EQ(other, 0);
}

TEST_F(ComTest, CallsAnswerWithTheErrorThatTheyAreToldAndKeepTheLastError) {
  setLastError(2);
  faults().failOnce("CoInitializeEx", 0x80070005);
  EXPECT_EQ(code(CoInitializeEx(nullptr, COINIT_MULTITHREADED)), 0x80070005U);
  EXPECT_EQ(lastError(), 2U);
  EXPECT_EQ(ledger().open("com"), 0U);
}

// Strings

TEST_F(ComTest, AStringIsACopyWithItsLength) {
  const BSTR text = SysAllocString(L"abc");
  EXPECT_EQ(std::wstring(text), L"abc");
  EXPECT_EQ(SysStringLen(text), 3U);
  EXPECT_EQ(ledger().open("bstr"), 1U);
  SysFreeString(text);
  EXPECT_EQ(ledger().open("bstr"), 0U);
}

TEST_F(ComTest, AStringOfAGivenLengthMayHoldZeros) {
  const BSTR text = SysAllocStringLen(L"a\0b", 3);
  EXPECT_EQ(SysStringLen(text), 3U);
  EXPECT_EQ(std::wstring(text, 3), std::wstring(L"a\0b", 3));
  SysFreeString(text);
}

TEST_F(ComTest, NoTextGivesNoStringAndNoStringMayBeFreed) {
  EXPECT_EQ(SysAllocString(nullptr), nullptr);
  SysFreeString(nullptr);
  EXPECT_EQ(SysStringLen(nullptr), 0U);
  EXPECT_EQ(ledger().violations(), Texts{});
}

TEST_F(ComTest, AStringThatIsFreedTwiceIsNoted) {
  const BSTR text = SysAllocString(L"abc");
  SysFreeString(text);
  SysFreeString(text);
  ASSERT_EQ(ledger().violations().size(), 1U);
  EXPECT_TRUE(ledger().violations()[0].starts_with("SysFreeString: bstr "));
}

TEST_F(ComTest, ThereMayBeNoMemoryForAString) {
  faults().failOnce("SysAllocString", 8);
  EXPECT_EQ(SysAllocString(L"abc"), nullptr);
  EXPECT_EQ(ledger().open("bstr"), 0U);
}

TEST_F(ComTest, ClearingAVariantFreesItsString) {
  VARIANT variant = textVariant(SysAllocString(L"abc"));
  EXPECT_EQ(VariantClear(&variant), 0);
  EXPECT_EQ(variant.vt, VT_EMPTY);
  EXPECT_EQ(ledger().open("bstr"), 0U);
}

// References

class ReferenceTest : public TaskServiceTest {};

TEST_F(ReferenceTest, AReferenceIsCountedUpAndDown) {
  const auto task = newTask();
  EXPECT_EQ(task->AddRef(), 2U);
  EXPECT_EQ(task->Release(), 1U);
}

TEST_F(ReferenceTest, AnObjectIsOpenUntilItsLastRelease) {
  const std::size_t before = ledger().open("reference");
  ITaskDefinition* task = nullptr;
  service->NewTask(0, &task);
  task->AddRef();
  task->Release();
  EXPECT_EQ(ledger().open("reference"), before + 1);
  task->Release();
  EXPECT_EQ(ledger().open("reference"), before);
}

TEST_F(ReferenceTest, AnObjectAfterItsLastBreathAnswersWithAnErrorAndIsNoted) {
  ITaskDefinition* task = nullptr;
  service->NewTask(0, &task);
  task->Release();
  ITaskSettings* settings = nullptr;
  EXPECT_EQ(code(task->get_Settings(&settings)), 0x80010108U);
  EXPECT_EQ(settings, nullptr);
  EXPECT_EQ(ledger().violations(),
            Texts{"ITaskDefinition::get_Settings: the ITaskDefinition was released before"});
}

TEST_F(ReferenceTest, AUseAfterTheLastBreathIsNotedAlsoIfTheCallIsToldToFail) {
  ITaskDefinition* task = nullptr;
  service->NewTask(0, &task);
  task->Release();
  faults().failOnce("ITaskDefinition::get_Settings", 0x80004005);
  ITaskSettings* settings = nullptr;
  EXPECT_EQ(code(task->get_Settings(&settings)), 0x80004005U);
  EXPECT_EQ(ledger().violations(),
            Texts{"ITaskDefinition::get_Settings: the ITaskDefinition was released before"});
}

TEST_F(ReferenceTest, ADeadArgumentIsNotedAlsoIfTheCallIsToldToFail) {
  ITaskDefinition* task = nullptr;
  service->NewTask(0, &task);
  task->Release();
  faults().failOnce("ITaskFolder::RegisterTaskDefinition", 0x80004005);
  EXPECT_EQ(code(put(L"Some Task", *task)), 0x80004005U);
  EXPECT_EQ(ledger().violations(), Texts{"ITaskFolder::RegisterTaskDefinition: the "
                                         "ITaskDefinition was released before"});
}

TEST_F(ReferenceTest, AReleaseTooManyIsNotedAndSurvived) {
  ITaskDefinition* task = nullptr;
  service->NewTask(0, &task);
  task->Release();
  EXPECT_EQ(task->Release(), 0U);
  EXPECT_EQ(ledger().violations(),
            Texts{"IUnknown::Release: the ITaskDefinition was released before"});
}

TEST_F(ReferenceTest, TheSettingsHoldTheIdleSettingsAfterTheProgramReleasedThem) {
  const auto task = newTask();
  const auto settings = settingsOf(*task);
  IIdleSettings* idle = nullptr;
  settings->get_IdleSettings(&idle);
  idle->Release();
  EXPECT_EQ(settings->put_IdleSettings(idle), 0);
  EXPECT_EQ(ledger().violations(), Texts{});
}

TEST_F(ReferenceTest, WhatADefinitionHoldsGoesWithIt) {
  ITaskDefinition* task = nullptr;
  service->NewTask(0, &task);
  ITaskSettings* settings = nullptr;
  task->get_Settings(&settings);
  IIdleSettings* idle = nullptr;
  settings->get_IdleSettings(&idle);
  idle->Release();
  settings->Release();
  task->Release();
  EXPECT_EQ(code(idle->put_StopOnIdleEnd(VARIANT_TRUE)), 0x80010108U);
  EXPECT_EQ(ledger().violations(),
            Texts{"IIdleSettings::put_StopOnIdleEnd: the IIdleSettings was released before"});
}

TEST_F(ReferenceTest, APartOutlivesItsDefinitionForWhoHoldsIt) {
  ITaskDefinition* task = nullptr;
  service->NewTask(0, &task);
  const auto settings = settingsOf(*task);
  task->Release();
  EXPECT_EQ(settings->put_Priority(3), 0);
  EXPECT_EQ(ledger().violations(), Texts{});
}

TEST_F(ReferenceTest, AReleaseNamesItsInterfaceInTheJournal) {
  const auto task = newTask();
  journal().clear();
  { const auto exec = addProgram(*task, L"C:\\x.exe"); }
  Texts released;
  for (const JournalEntry& entry : journal().calls("IUnknown::Release")) {
    released.push_back(entry.args + " " + entry.result);
  }
  EXPECT_EQ(released, (Texts{"IAction 0", "IActionCollection 0", "IExecAction 0"}));
}

TEST_F(ReferenceTest, AMethodAnswersWithTheErrorThatItIsTold) {
  faults().failOnce("ITaskService::NewTask", 0x8007000E);
  ITaskDefinition* task = nullptr;
  EXPECT_EQ(code(service->NewTask(0, &task)), 0x8007000EU);
  EXPECT_EQ(task, nullptr);
  EXPECT_EQ(journal().calls("ITaskService::NewTask")[0].result, "0x8007000e");
}

// As Windows does now and then: a registration that stored the task may answer 0x0004131B.
TEST_F(ReferenceTest, AMethodThatIsToldANumberThatIsNoFailureDoesItsWorkAndAnswersWithIt) {
  faults().failOnce("ITaskService::NewTask", 0x0004131B);
  ITaskDefinition* task = nullptr;
  EXPECT_EQ(code(service->NewTask(0, &task)), 0x0004131BU);
  EXPECT_EQ(journal().calls("ITaskService::NewTask")[0].result, "0x4131b");
  ASSERT_NE(task, nullptr);
  task->Release();
}

TEST_F(ReferenceTest, ANumberThatIsNoFailureHidesNoFailure) {
  faults().failOnce("ITaskService::NewTask", 1);
  faults().failOnce("ITaskService::GetFolder", 1);
  ITaskDefinition* task = nullptr;
  EXPECT_EQ(code(service->NewTask(1, &task)), 0x80070057U);
  ITaskService* const gone = service.get();
  service.release()->Release();
  ITaskFolder* folder = nullptr;
  EXPECT_EQ(code(gone->GetFolder(TestString(L"\\"), &folder)), 0x80010108U);
  EXPECT_EQ(folder, nullptr);
  EXPECT_EQ(
      ledger().violations(),
      std::vector<std::string>{"ITaskService::GetFolder: the ITaskService was released before"});
}

TEST_F(ReferenceTest, AStringThatWasFreedIsNoArgument) {
  const BSTR text = SysAllocString(L"x");
  SysFreeString(text);
  IRegisteredTask* task = nullptr;
  EXPECT_EQ(code(root->GetTask(text, &task)), 0x80070057U);
  ASSERT_EQ(ledger().violations().size(), 1U);
  EXPECT_TRUE(ledger().violations()[0].starts_with("ITaskFolder::GetTask: bstr "));
}

}  // namespace
}  // namespace host
