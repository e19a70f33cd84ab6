// What the model's Task Scheduler asks of the process that it is in. Over the model that is the
// journal, the turns and the account of references; here nobody reads them.

#include "platform/host/Call.h"
#include "platform/host/ComObject.h"
#include "platform/host/Ledger.h"
#include "platform/host/Machine.h"
#include "platform/host/TaskRuns.h"

// The platform's own strings: whoever gets one frees it with the platform's call. Their shapes are
// those of the platform; the model's headers declare others of these names.
wchar_t* allocatePlatformString(const wchar_t* text, unsigned length) __asm__("SysAllocStringLen");
unsigned platformStringLength(const wchar_t* text) __asm__("SysStringLen");

namespace host {
namespace {

// No method changes the last error of the program's own.
thread_local DWORD theLastError = 0;

}  // namespace

Machine& machine() {
  static Machine only;
  return only;
}

TaskRuns& TaskRuns::instance() {
  static TaskRuns only;
  return only;
}

void setLastError(DWORD error) {
  theLastError = error;
}

DWORD lastError() {
  return theLastError;
}

std::string journalText(const wchar_t* /*text*/) {
  return {};
}

std::string journalText(const char* /*text*/) {
  return {};
}

void Call::enter() {}
void Call::finish() {}
Call::~Call() = default;

Scheduler::Guard::Guard() = default;
Scheduler::Guard::~Guard() = default;

BSTR makeString(const std::wstring& text, const char* /*maker*/) {
  return allocatePlatformString(text.data(), static_cast<unsigned>(text.size()));
}

bool readString(BSTR text, const char* /*call*/, std::wstring& result) {
  result.assign(text == nullptr ? L"" : text, text == nullptr ? 0 : platformStringLength(text));
  return true;
}

}  // namespace host
