#include <cstdint>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "VUSL/Support/ConfigMgmt.h"
#include "VUSL/Support/CriticalSection.h"
#include "VUSL/Support/Event.h"
#include "VUSL/Support/Exception.h"
#include "VUSL/Support/Mutex.h"
#include "VUSL/Support/ScopedLock.h"
#include "VUSL/Support/Thread.h"
#include "VUSL/SupportCore/BufferWriter.h"
#include "VUSL/SupportCore/File.h"
#include "tests/support/LogRecorder.h"
#include "tests/support/MachineTest.h"

// Where the fields of the runtime's objects lie, as the native build lays them out: each object's
// memory is compared with what its fields must hold. The eight bytes of a class with virtual
// operations come first.

namespace {

class FieldOrderTest : public host::MachineTest {};

template <class Field, class Object>
Field fieldAt(const Object& object, std::size_t offset) {
  Field field{};
  std::memcpy(&field, reinterpret_cast<const unsigned char*>(&object) + offset, sizeof(field));
  return field;
}

// As the journal writes a handle.
template <class Object>
std::string handleAt(const Object& object, std::size_t offset) {
  return host::journalText(fieldAt<HANDLE>(object, offset));
}

static_assert(sizeof(vusl::Waitable) == 8);

TEST_F(FieldOrderTest, mutexAndEventHoldTheirHandleAlone) {
  const vusl::Mutex mutex;
  const vusl::Event event;
  EXPECT_EQ(sizeof(mutex), 16U);
  EXPECT_EQ(sizeof(event), 16U);
  EXPECT_EQ(handleAt(mutex, 8), journal().calls("CreateMutexW").at(0).result);
  EXPECT_EQ(handleAt(event, 8), journal().calls("CreateEventW").at(0).result);
}

TEST_F(FieldOrderTest, criticalSectionHoldsThePlatformsOwnInside) {
  static_assert(sizeof(vusl::CriticalSection) == 8 + sizeof(CRITICAL_SECTION));
  const vusl::CriticalSection section;
  const auto platforms = reinterpret_cast<std::uintptr_t>(&section) + 8;
  EXPECT_TRUE(ledger().isOpen("section", platforms));
}

TEST_F(FieldOrderTest, scopedLockHoldsTheReferenceAlone) {
  static_assert(sizeof(vusl::ScopedLock) == 8);
  vusl::CriticalSection section;
  const vusl::ScopedLock lock(section);
  EXPECT_EQ(fieldAt<const void*>(lock, 0), &section);
}

class Failing : public vusl::Thread {
 public:
  Failing() : Thread("layout") {}
  void Run() override {
    runningAt40 = fieldAt<bool>(*static_cast<vusl::Thread*>(this), 40);
    throw std::runtime_error("x");
  }
  void complete() { completed = true; }

  bool runningAt40 = false;
};

TEST_F(FieldOrderTest, threadHasItsSevenFieldsInOrder) {
  static_assert(sizeof(vusl::Thread) == 56 + sizeof(std::string));
  Failing failing;
  const vusl::Thread& thread = failing;
  EXPECT_EQ(fieldAt<HANDLE>(thread, 8), nullptr);
  EXPECT_FALSE(fieldAt<bool>(thread, 16));
  EXPECT_FALSE(fieldAt<bool>(thread, 40));
  EXPECT_EQ(fieldAt<std::uint32_t>(thread, 44), 0U);
  EXPECT_EQ(fieldAt<void*>(thread, 48), nullptr);

  failing.Start();
  failing.Lock(vusl::kInfiniteMs);
  failing.complete();
  EXPECT_EQ(handleAt(thread, 8), journal().calls("CreateThread").at(0).result);
  EXPECT_TRUE(fieldAt<bool>(thread, 16));
  EXPECT_EQ(handleAt(thread, 24 + 8), journal().calls("CreateEventW").at(0).result);
  EXPECT_TRUE(failing.runningAt40);
  EXPECT_FALSE(fieldAt<bool>(thread, 40));
  EXPECT_EQ(fieldAt<std::uint32_t>(thread, 44), journal().calls("SetEvent").at(0).thread);
  EXPECT_NE(fieldAt<void*>(thread, 48), nullptr);
  EXPECT_EQ(std::string(fieldAt<const char*>(thread, 56), 6), "layout");
  EXPECT_THROW(failing.Wait(), std::runtime_error);
  EXPECT_EQ(fieldAt<void*>(thread, 48), nullptr);
}

// What only a hand in the object's memory can show.

class Renaming : public vusl::Thread {
 public:
  Renaming() : Thread("before") {}
  void Run() override {
    std::memcpy(fieldAt<char*>(*static_cast<vusl::Thread*>(this), 56), "behind", 6);
  }
};

TEST_F(FieldOrderTest, threadsClosingLineHasTheNameAsItWasWhenTheThreadBegan) {
  LogRecorder log;
  Renaming thread;
  vusl::Thread::theThreadFunc(static_cast<vusl::Thread*>(&thread));
  EXPECT_TRUE(log.contains("Thread completed. Name: before, ptr: 0x"));
}

class Handled : public vusl::Thread {
 public:
  explicit Handled(HANDLE handle) : Thread("handled") {
    auto* const bytes = reinterpret_cast<unsigned char*>(static_cast<vusl::Thread*>(this));
    std::memcpy(bytes + 8, &handle, sizeof(handle));
  }
  void Run() override {}
};

TEST_F(FieldOrderTest, threadDoesNotCloseAHandleThatTheMachineCallsInvalid) {
  { const Handled thread(INVALID_HANDLE_VALUE); }
  // The one handle closed is that of the started event.
  EXPECT_EQ(journal().namesOf({"SetEvent", "CloseHandle"}),
            (std::vector<std::string>{"SetEvent", "CloseHandle"}));
}

TEST_F(FieldOrderTest, fileHasNameAndHandle) {
  static_assert(sizeof(vusl::File) == 40 + sizeof(HANDLE));
  vusl::File file(L"C:\\a");
  EXPECT_EQ(std::wstring(fieldAt<const wchar_t*>(file, 8), 4), L"C:\\a");
  EXPECT_EQ(fieldAt<HANDLE>(file, 40), nullptr);
  file.open(GENERIC_READ, FILE_BEGIN);
  EXPECT_EQ(handleAt(file, 40), journal().calls("CreateFileW").at(0).result);
}

TEST_F(FieldOrderTest, closedFileHoldsNoHandleWhateverTheClosingCameTo) {
  vusl::File file(L"C:\\a");
  file.open(GENERIC_READ, FILE_BEGIN);
  file.close();
  EXPECT_EQ(fieldAt<HANDLE>(file, 40), nullptr);
  file.open(GENERIC_READ, FILE_BEGIN);
  faults().failOnce("CloseHandle", 6);
  EXPECT_THROW(file.close(), Exception);
  EXPECT_EQ(fieldAt<HANDLE>(file, 40), nullptr);
}

TEST_F(FieldOrderTest, bufferHasBlockAndSize) {
  static_assert(sizeof(Buffer) == 16);
  Buffer buffer;
  buffer.Alloc(5);
  EXPECT_EQ(fieldAt<unsigned char*>(buffer, 0), buffer.data());
  EXPECT_EQ(fieldAt<std::uint32_t>(buffer, 8), 5U);
}

TEST_F(FieldOrderTest, bufferWriterHasTargetPositionAndCapacity) {
  static_assert(sizeof(BufferWriter) == 16);
  char target[5] = {};
  BufferWriter writer(target, 5);
  writer.writeRaw("ab", 2);
  EXPECT_EQ(fieldAt<char*>(writer, 0), target);
  EXPECT_EQ(fieldAt<std::uint32_t>(writer, 8), 2U);
  EXPECT_EQ(fieldAt<std::uint32_t>(writer, 12), 5U);
}

TEST_F(FieldOrderTest, configFileHasSilenceAndNameBehindTheSettingsInMemory) {
  constexpr std::size_t kSettingsEnd = 8 + sizeof(std::map<std::string, std::string>);
  static_assert(sizeof(ConfigMemory) == kSettingsEnd);
  static_assert(sizeof(ConfigMgmt) == kSettingsEnd + 8 + sizeof(std::string));
  const ConfigMgmt silent;
  ASSERT_EQ(fieldAt<unsigned char>(silent, kSettingsEnd), 1U);
  host::machine().drive.write(L"C:\\x.conf", "");
  const ConfigMgmt traced("C:\\x.conf", false);
  ASSERT_EQ(fieldAt<unsigned char>(traced, kSettingsEnd), 0U);
  EXPECT_STREQ(fieldAt<const char*>(traced, kSettingsEnd + 8), "C:\\x.conf");
}

}  // namespace
