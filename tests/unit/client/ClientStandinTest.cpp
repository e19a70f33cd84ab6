#include <cstdlib>
#include <stdexcept>

#include "tests/unit/client/ClientTest.h"

namespace {

using client_test::Texts;
using client_test::textThrownBy;

// The stand-in for the client library, loaded as the product loads it.
class ClientStandinTest : public host::MachineTest {
 protected:
  ClientStandinTest() {
    client_test::installClient();
    reports.clear();
  }
  ~ClientStandinTest() override { unload(); }

  void unload() {
    if (library != nullptr) FreeLibrary(library);
    library = nullptr;
  }

  std::int32_t call(const char* entry, void* argument = nullptr) {
    return reinterpret_cast<std::int32_t (*)(void*)>(entryOf(entry))(argument);
  }

  std::int32_t callWithCallback() {
    using Entry = std::int32_t (*)(void*, const void*, std::uint32_t, void (*)(std::uint32_t));
    return reinterpret_cast<Entry>(entryOf("talsUsePermit"))(nullptr, nullptr, 0, &note);
  }

  struct Noted {
    std::uint32_t state;
    DWORD thread;
    std::int64_t timeMs;
  };
  static inline std::vector<Noted> reports;

  HMODULE library = nullptr;

 private:
  static void note(std::uint32_t state) {
    reports.push_back({state, GetCurrentThreadId(), clockMs()});
  }

  void (*entryOf(const char* entry))() {
    if (library == nullptr) {
      library = LoadLibraryExW(client_test::installed(L"talsClient").c_str(), nullptr,
                               LOAD_WITH_ALTERED_SEARCH_PATH);
    }
    return reinterpret_cast<void (*)()>(GetProcAddress(library, entry));
  }
};

TEST_F(ClientStandinTest, WithoutAScriptEveryEntryAnswersZero) {
  EXPECT_EQ(call("talsInit"), 0);
  EXPECT_EQ(call("talsCaidProtect"), 0);
}

TEST_F(ClientStandinTest, AnEntryWithoutLinesAnswersZero) {
  client_test::writeScript("talsInitHUB = 8\n");
  EXPECT_EQ(call("talsInit"), 0);
}

TEST_F(ClientStandinTest, EachCallTakesTheNextLineAndTheLastRepeats) {
  client_test::writeScript(
      "talsInitHUB = 8\ntalsInitQX1 = 5\ntalsInitHUB = -1\ntalsInitHUB = 24\n");
  EXPECT_EQ(call("talsInitHUB"), 8);
  EXPECT_EQ(call("talsInitHUB"), -1);
  EXPECT_EQ(call("talsInitHUB"), 24);
  EXPECT_EQ(call("talsInitHUB"), 24);
  EXPECT_EQ(call("talsInitQX1"), 5);
  EXPECT_EQ(call("talsInitQX1"), 5);
}

TEST_F(ClientStandinTest, CommentsBlanksAndEmptyLinesDoNotCount) {
  client_test::writeScript("# answers\r\n\r\n\t talsInitHUB=8 # at first\r\n");
  EXPECT_EQ(call("talsInitHUB"), 8);
}

TEST_F(ClientStandinTest, ALibraryLoadedAnewBeginsAnew) {
  client_test::writeScript("talsInitHUB = 8\ntalsInitHUB = 0\n");
  EXPECT_EQ(call("talsInitHUB"), 8);
  unload();
  EXPECT_EQ(call("talsInitHUB"), 8);
}

TEST_F(ClientStandinTest, AnAnswerCanTakeTimeOnTheMachinesClock) {
  client_test::writeScript("talsInitHUB = 8 after 300 ms\n");
  const std::int64_t before = clockMs();
  EXPECT_EQ(call("talsInitHUB"), 8);
  EXPECT_GE(clockMs() - before, 300);
  EXPECT_LT(clockMs() - before, 310);
}

TEST_F(ClientStandinTest, AnyAnswerCanTakeTime) {
  client_test::writeScript("talsInitHUB = throw int after 4294967294 ms\n");
  EXPECT_THROW(call("talsInitHUB"), int);
  EXPECT_GE(clockMs(), 4294967294);
}

TEST_F(ClientStandinTest, AnEntryCanWaitForEver) {
  client_test::writeScript("talsInitHUB = never\n");
  const auto waits = [this] {
    host::Scheduler::instance().setDeadlockHandler([](const std::string& report) {
      std::_Exit(report.find("waits for the client library") != std::string::npos ? 0 : 1);
    });
    call("talsInitHUB");
    std::_Exit(2);
  };
  EXPECT_EXIT(waits(), ::testing::ExitedWithCode(0), "");
}

TEST_F(ClientStandinTest, StepsAreReportedInTimeOnAThreadOfTheLibrarysOwn) {
  client_test::writeScript("talsUsePermit = 8 progress 3 4294967295 every 100 ms after 50 ms\n");
  EXPECT_EQ(callWithCallback(), 8);
  ASSERT_EQ(reports.size(), 2U);
  EXPECT_EQ(reports[0].state, 3U);
  EXPECT_EQ(reports[0].timeMs, 100);
  EXPECT_EQ(reports[1].state, 4294967295U);
  EXPECT_EQ(reports[1].timeMs, 200);
  EXPECT_EQ(reports[0].thread, reports[1].thread);
  EXPECT_NE(reports[0].thread, GetCurrentThreadId());
  EXPECT_EQ(clockMs(), 250);
}

TEST_F(ClientStandinTest, StepsAreReportedInRealTimeToo) {
  host::resetMachine(host::Scheduler::Mode::kReal);
  client_test::installClient();
  client_test::writeScript("talsUsePermit = 8 progress 1 2 3\n");
  EXPECT_EQ(callWithCallback(), 8);
  ASSERT_EQ(reports.size(), 3U);
  EXPECT_EQ(reports[2].state, 3U);
  EXPECT_NE(reports[2].thread, GetCurrentThreadId());
}

TEST_F(ClientStandinTest, WithoutStepsNothingIsReported) {
  EXPECT_EQ(callWithCallback(), 0);
  EXPECT_TRUE(reports.empty());
}

TEST_F(ClientStandinTest, AHandleIsGivenOutWithTheAnswerZeroAlone) {
  client_test::writeScript("talsCaidProtect = 2\ntalsCaidProtect = 0\n");
  void* handle = nullptr;
  EXPECT_EQ(call("talsCaidProtect", &handle), 2);
  EXPECT_EQ(handle, nullptr);
  EXPECT_EQ(call("talsCaidProtect", &handle), 0);
  EXPECT_NE(handle, nullptr);
}

TEST_F(ClientStandinTest, AnswersAreTakenIntoTheRunsReport) {
  client_test::writeScript("talsInitHUB = 8\n");
  call("talsInitHUB");
  call("talsInit");
  EXPECT_EQ(host::machine().clientAnswers, (Texts{"talsInitHUB 8", "talsInit 0"}));
}

TEST_F(ClientStandinTest, AnEntryCanThrow) {
  client_test::writeScript("talsInitHUB = throw\ntalsInitHUB = throw int\n");
  EXPECT_EQ(textThrownBy<std::runtime_error>([&] { call("talsInitHUB"); }),
            "thrown by talsInitHUB");
  EXPECT_THROW(call("talsInitHUB"), int);
}

TEST_F(ClientStandinTest, AnEntryCanCrash) {
  client_test::writeScript("talsInitHUB = crash\n");
  EXPECT_DEATH(call("talsInitHUB"), "");
}

TEST_F(ClientStandinTest, AMalformedLineEndsTheProcessWithItsReason) {
  const std::vector<std::pair<const char*, const char*>> rows = {
      {"talsInitHUB 8", "talsClient.script:1: there is no ="},
      {"\n= 8", "talsClient.script:2: there must be one entry before the ="},
      {"tals InitHUB = 8", "talsClient.script:1: there must be one entry before the ="},
      {"talsInitHub = 8", "talsClient.script:1: the client library has no such entry"},
      {"talsInitHUB = # 8", "talsClient.script:1: there is no answer after the ="},
      {"talsInitHUB = eight", "talsClient.script:1: the answer is neither a 32-bit status nor"},
      {"talsInitHUB = 2147483648", "talsClient.script:1: the answer is neither a 32-bit status"},
      {"talsInitHUB = crash now", "talsClient.script:1: an answer may only be followed by: after"},
      {"talsInitHUB = 8 after 3 s", "talsClient.script:1: the time is no number of milliseconds"},
      {"talsInitHUB = 8 after 3 ms 4", "talsClient.script:1: an answer may only be followed by"},
      {"talsInitHUB = 8 after 4294967295 ms",
       "talsClient.script:1: the time is no number of milliseconds"},
      {"talsInitHUB = 8 progress 1", "talsClient.script:1: only talsUsePermit is handed somebody"},
      {"talsUsePermit = 8 progress", "talsClient.script:1: there are no steps after the word"},
      {"talsUsePermit = 8 progress -1", "talsClient.script:1: there are no steps after the word"},
      {"talsUsePermit = 8 progress 1 4294967296",
       "talsClient.script:1: an answer may only be followed by"},
      {"talsUsePermit = 8 progress 1 every s",
       "talsClient.script:1: the time between two steps is no number of milliseconds"},
      {"talsInitHUB = 8 after x ms", "talsClient.script:1: the time is no number of milliseconds"},
      {"talsInitHUB = 8 after -1 ms", "talsClient.script:1: the time is no number of milliseconds"},
  };
  for (const auto& [line, reason] : rows) {
    client_test::writeScript(line);
    EXPECT_DEATH(call("talsInit"), reason) << line;
  }
}

}  // namespace
