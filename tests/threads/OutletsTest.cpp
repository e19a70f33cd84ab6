#include <atomic>
#include <cstdint>
#include <iostream>
#include <string>

#include "VUSL/Support/ConsoleLogOutlet.h"
#include "VUSL/Support/DebugLogOutlet.h"
#include "VUSL/Support/EtwLogOutlet.h"
#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/LogSink.h"
#include "VUSL/Support/LogTag.h"
#include "VUSL/Support/RollingDateFileLogOutlet.h"
#include "VUSL/Support/RollingFileLogOutlet.h"
#include "VUSL/Support/TraceProvider.h"
#include "tests/threads/FreeRunTest.h"

namespace {

constexpr int kThreads = 4;
constexpr int kLines = 100;
constexpr std::size_t kAllLines = 400;

// Takes the wide output's characters and counts the line ends. It orders no threads.
class CountingBuffer : public std::wstreambuf {
 public:
  CountingBuffer() : before_(std::wcout.rdbuf(this)) {}
  ~CountingBuffer() override { std::wcout.rdbuf(before_); }

  std::atomic<std::size_t> lines{0};

 protected:
  int_type overflow(int_type character) override {
    if (character == L'\n') lines.fetch_add(1, std::memory_order_relaxed);
    return traits_type::not_eof(character);
  }
  std::streamsize xsputn(const wchar_t* /*text*/, std::streamsize size) override { return size; }

 private:
  std::wstreambuf* before_;
};

std::size_t countOf(const std::string& part, const std::string& text) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
    ++count;
  }
  return count;
}

class OutletsTest : public FreeRunTest {
 protected:
  OutletsTest() {
    host::machine().drive.createFolder(L"C:\\logs");
    etw_.registerProvider(provider_);
  }
  ~OutletsTest() override { LogSink::process().detachAll(); }

  void attachAll() {
    LogSink& sink = LogSink::process();
    for (LogOutlet* outlet : {static_cast<LogOutlet*>(&debug_), static_cast<LogOutlet*>(&etw_),
                              static_cast<LogOutlet*>(&file_), static_cast<LogOutlet*>(&dated_)}) {
      outlet->reopen();
      sink.attach(outlet, LogSink::kOutletChannel);
    }
    sink.attach(&console_, LogSink::kConsoleChannel);
  }

  // Every thread logs its lines through all outlets.
  static void logTogether() {
    runTogether(kThreads, [](int number) {
      const int object = number;
      for (int i = 0; i < kLines; ++i) {
        LogItem().info() << LogAddress(&object) << "thread " << number << " line " << i << " end";
      }
    });
  }

  static std::string content(const std::wstring& name) {
    return host::machine().drive.read(L"C:\\logs\\" + name).value_or("");
  }

  TraceProvider* const provider_ = FindTraceProvider("TPMEnrollmentService.log");
  CountingBuffer wide_;
  ConsoleLogOutlet console_{true};
  DebugLogOutlet debug_;
  EtwLogOutlet etw_;
  RollingFileLogOutlet file_{"C:\\logs\\numbered.log"};
  RollingDateFileLogOutlet dated_{"C:\\logs\\dated.log"};
};

TEST_F(OutletsTest, linesOfSeveralThreadsReachEveryOutletWhole) {
  attachAll();
  logTogether();
  EXPECT_EQ(host::machine().debugOutput.size(), kAllLines);
  EXPECT_EQ(wide_.lines.load(), kAllLines);
  const std::string written = content(L"dated.log");
  EXPECT_EQ(countOf(" end\r\n", written), kAllLines);
  EXPECT_EQ(countOf(" TPMEnrollmentService: [INF] [TPM] [0x", written), kAllLines);
}

TEST_F(OutletsTest, fileRollsUnderSeveralThreadsAndLosesNoLine) {
  file_.setMaxFileSize(8192);
  attachAll();
  logTogether();
  std::string written = content(L"numbered.log");
  EXPECT_LT(written.size(), 8193U);
  for (int archive = 0; archive < 10; ++archive) {
    written += content(L"numbered.log." + std::to_wstring(archive));
  }
  EXPECT_EQ(countOf(" end\r\n", written), kAllLines);
}

TEST_F(OutletsTest, outletsOfOneFileShareTheLock) {
  // Nothing but the lock guards what the outlets count together. Each line rolls.
  static std::size_t rolls = 0;
  struct Counting : RollingFileLogOutlet {
    using RollingFileLogOutlet::RollingFileLogOutlet;
    void roll(const vusl::string_t& /*path*/, unsigned int /*index*/) override { ++rolls; }
  };
  Counting first("C:\\logs\\shared.log");
  Counting second("C:\\logs\\shared.log");
  first.setMaxFileSize(0);
  second.setMaxFileSize(0);
  runTogether(kThreads, [&](int number) {
    Counting& outlet = number % 2 == 0 ? first : second;
    for (int i = 0; i < kLines; ++i) outlet.Dump(L"line");
  });
  EXPECT_EQ(rolls, kAllLines);
  // The file is opened anew for each, so that none is written over another.
  EXPECT_EQ(countOf("line\r\n", content(L"shared.log")), kAllLines);
}

// A session comes and goes on a thread of the platform's own, at any time.
TEST_F(OutletsTest, traceSessionComesAndGoesWhileThreadsLog) {
  attachAll();
  std::atomic<bool> done{false};
  PlatformThread session([&] {
    for (unsigned round = 0; !done.load(std::memory_order_relaxed); ++round) {
      const auto level = static_cast<UCHAR>(round % 6);
      TraceProvider::OnEnable(nullptr, 1, level, ~0ULL, 0, nullptr, provider_);
      TraceProvider::OnEnable(nullptr, 0, 0, 0, 0, nullptr, provider_);
      letOthersRun();
    }
  });
  logTogether();
  done.store(true, std::memory_order_relaxed);
  session.join();
  EXPECT_EQ(host::machine().debugOutput.size(), kAllLines);
}

// All that may change while others log is told by the outlets; outlets and thresholds change
// between such times.
TEST_F(OutletsTest, logIsSetUpAnewBetweenTwoTimesOfLogging) {
  attachAll();
  logTogether();
  LogSink::process().detachAll();
  OutletBase<DebugLogOutlet>::level = LogLevel::kError;
  OutletBase<ConsoleLogOutlet>::level = LogLevel::kInfo;
  attachAll();
  logTogether();
  EXPECT_EQ(host::machine().debugOutput.size(), kAllLines);
  EXPECT_EQ(wide_.lines.load(), 2 * kAllLines);
  EXPECT_EQ(countOf(" end\r\n", content(L"dated.log")), 2 * kAllLines);
}

}  // namespace
