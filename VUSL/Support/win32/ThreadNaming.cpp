#include "VUSL/Support/win32/ThreadNaming.h"

#include <array>
#include <cstdint>
#include <cstring>

namespace vusl {

namespace {

// The exception by which a debugger learns a thread's name; nobody else acts on it.
constexpr DWORD kNamingException = 0x406D1388;

// Its arguments, as they lie in memory.
struct ThreadName {
  uint32_t type;
  const char* name;
  uint32_t threadId;
  uint32_t flags;
};
constexpr uint32_t kThreadNameType = 0x1000;

using Arguments = std::array<ULONG_PTR, 3>;
static_assert(sizeof(ThreadName) == sizeof(Arguments));

#ifdef _MSC_VER

void RaiseAndIgnore(const Arguments& arguments) {
  __try {
    RaiseException(kNamingException, 0, static_cast<DWORD>(arguments.size()), arguments.data());
  } __except (EXCEPTION_EXECUTE_HANDLER) {
  }
}

#else

LONG CALLBACK ContinueAfterNaming(EXCEPTION_POINTERS* exception) {
  const bool isNaming = exception->ExceptionRecord->ExceptionCode == kNamingException;
  return isNaming ? EXCEPTION_CONTINUE_EXECUTION : EXCEPTION_CONTINUE_SEARCH;
}

// Compilers without structured exception handling: a handler for the whole process takes the
// exception for as long as it is raised.
void RaiseAndIgnore(const Arguments& arguments) {
  PVOID const handler = AddVectoredExceptionHandler(1, ContinueAfterNaming);
  if (handler == nullptr) {
    // Without the handler the exception would end the process; a nameless thread is the lesser
    // evil.
    return;
  }
  RaiseException(kNamingException, 0, static_cast<DWORD>(arguments.size()), arguments.data());
  RemoveVectoredExceptionHandler(handler);
}

#endif

}  // namespace

void NameThreadForDebugger(DWORD threadId, const std::string& name) {
  const ThreadName record{kThreadNameType, name.c_str(), threadId, 0};
  Arguments arguments{};
  std::memcpy(arguments.data(), &record, sizeof(record));
  RaiseAndIgnore(arguments);
}

}  // namespace vusl
