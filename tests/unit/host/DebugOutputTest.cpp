// The debug output and its listener.

#include "tests/support/MachineTest.h"

namespace {

using Lines = std::vector<std::wstring>;

class DebugOutputTest : public host::MachineTest {
 protected:
  DebugOutputTest() { host::setLastError(77); }

  static const Lines& heard() { return host::machine().debugOutput; }
};

TEST_F(DebugOutputTest, ReachesTheListenerAndLeavesTheLastErrorAlone) {
  Lines seen;
  host::machine().onDebugOutput = [&](const std::wstring& line) { seen.push_back(line); };
  OutputDebugStringW(L"line\r\n");
  EXPECT_EQ(heard(), Lines{L"line\r\n"});
  EXPECT_EQ(seen, Lines{L"line\r\n"});
  EXPECT_EQ(host::lastError(), 77U);
}

TEST_F(DebugOutputTest, WithoutAListenerIsLostAndLeavesLastError2) {
  host::machine().debugListener = false;
  OutputDebugStringW(L"line");
  EXPECT_EQ(host::lastError(), 2U);
  EXPECT_TRUE(heard().empty());
}

TEST_F(DebugOutputTest, IsHeardFromWhenTheListenerComesUntilItGoes) {
  host::machine().debugListener = false;
  OutputDebugStringW(L"before");
  host::machine().debugListener = true;
  host::setLastError(77);
  OutputDebugStringW(L"while");
  EXPECT_EQ(host::lastError(), 77U);
  host::machine().debugListener = false;
  OutputDebugStringW(L"after");
  EXPECT_EQ(host::lastError(), 2U);
  EXPECT_EQ(heard(), Lines{L"while"});
}

TEST_F(DebugOutputTest, IsCutToTheListenersBuffer) {
  OutputDebugStringW(std::wstring(4091, L'x').c_str());
  OutputDebugStringW((std::wstring(4091, L'x') + L"\r\n").c_str());
  EXPECT_EQ(heard(), (Lines{std::wstring(4091, L'x'), std::wstring(4091, L'x')}));
}

TEST_F(DebugOutputTest, IsCutBetweenCharacters) {
  OutputDebugStringW((std::wstring(4090, L'x') + L"\u20AC").c_str());
  OutputDebugStringW((std::wstring(4088, L'x') + L"\u20AC!").c_str());
  EXPECT_EQ(heard(), (Lines{std::wstring(4090, L'x'), std::wstring(4088, L'x') + L"\u20AC"}));
}

TEST_F(DebugOutputTest, OfNoTextIsEmpty) {
  OutputDebugStringW(nullptr);
  OutputDebugStringW(L"");
  EXPECT_EQ(heard(), (Lines{L"", L""}));
}

TEST_F(DebugOutputTest, CanBeToldToFail) {
  faults().failOnce("OutputDebugStringW", 8);
  OutputDebugStringW(L"line");
  EXPECT_EQ(host::lastError(), 8U);
  EXPECT_TRUE(heard().empty());
}

}  // namespace
