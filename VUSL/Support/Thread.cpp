#include "VUSL/Support/Thread.h"

#include <cstdint>
#include <utility>

#include "VUSL/Support/Exception.h"
#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/LogTag.h"
#include "VUSL/Support/SharedTexts.h"
#include "VUSL/Support/win32/ThreadNaming.h"

namespace vusl {

namespace {

constexpr char kEntryLocation[] = "theThreadFunc";

}  // namespace

Thread::Thread(const std::string& threadName) : name(threadName, 0, kMaxNameLength) {
  ResetEvent(startedEvent.handle());
  LogItem() << LogAddress(this) << "Thread " << name << " created";
}

Thread::~Thread() {
  if (threadHandle != nullptr && threadHandle != INVALID_HANDLE_VALUE) {
    CloseHandle(threadHandle);
  }
  reportUnfetchedException();
  LogItem() << LogAddress(this) << "Thread " << name << " deleted";
}

void Thread::reportUnfetchedException() {
  if (pendingException == nullptr) {
    return;
  }
  try {
    std::rethrow_exception(pendingException);
  } catch (const std::exception& e) {
    LogItem().fatal() << LogAddress(this)
                      << "There was an unhandled in-flight excepion in the thread being destroyed "
                         "(was it ever joined?). Ex was:"
                      << e.what();
  } catch (...) {
    LogItem().fatal() << LogAddress(this)
                      << "There was an unhandled unrecognized in-flight excepion in the thread "
                         "being destroyed (was it ever joined?)";
  }
}

WaitResult Thread::Lock(uint32_t timeoutMs) {
  if (completed.load(std::memory_order_relaxed)) {
    LogItem() << "Initial Complete";
    return WaitResult::kDone;
  }
  LogItem() << "WaitForSingleObject";
  const WaitResult result = waitForHandle(threadHandle, timeoutMs);
  if (result == WaitResult::kError) {
    LogItem().error() << LogAddress(this) << kWaitFailed;
  }
  return result;
}

WaitResult Thread::Unlock() {
  return WaitResult::kDone;
}

void Thread::Start() {
  ResetEvent(startedEvent.handle());
  threadHandle = CreateThread(nullptr, 0, theThreadFunc, this, 0, &threadId);
  if (threadHandle == nullptr) {
    const DWORD error = GetLastError();
    throw Exception("Thread::Start")
        << "CreateThreadfailed, error " << error << " thread " << static_cast<const void*>(this);
  }
  NameThreadForDebugger(threadId, name);
}

void Thread::Wait() {
  LogItem() << LogAddress(this) << "Entering wait ...";
  const WaitResult result = Lock(kInfiniteMs);
  if (result == WaitResult::kError) {
    throw Exception("Thread::Wait")
        << "The wait function failed for:" << static_cast<const void*>(this);
  }
  if (result == WaitResult::kTimeout) {
    LogItem() << LogAddress(this) << "The thread has not completed within the specified timeout "
              << kInfiniteMs << "(ms)";
    return;
  }
  if (pendingException != nullptr) {
    std::rethrow_exception(std::exchange(pendingException, nullptr));
  }
  LogItem() << LogAddress(this) << "The thread completed.";
}

DWORD WINAPI Thread::theThreadFunc(LPVOID parameter) {
  if (parameter == nullptr) {
    LogItem(kEntryLocation).fatal() << "Thread::theThreadFunc - NULL data";
    return 0;
  }
  auto* const thread = static_cast<Thread*>(parameter);
  const std::string threadName = thread->name;
  thread->runBody();
  // An owner who sees that the body has ended may destroy the object: from here on only its address
  // is used.
  LogItem() << "Thread completed. Name: " << threadName << ", ptr: 0x" << LogBase::kHexadecimal
            << reinterpret_cast<uintptr_t>(thread);
  return 0;
}

void Thread::runBody() {
  try {
    LogItem() << "Thread started. Name: " << name;
    startedEvent.signal();
    bodyRunning.store(true, std::memory_order_relaxed);
    Run();
  } catch (const std::exception& e) {
    LogItem(kEntryLocation).fatal() << "Thread terminated due to exception: " << e.what();
    pendingException = std::current_exception();
  } catch (...) {
    LogItem(kEntryLocation).fatal() << "Thread terminated due to unrecognized exception.";
    pendingException = std::current_exception();
  }
  bodyRunning.store(false, std::memory_order_relaxed);
}

}  // namespace vusl
