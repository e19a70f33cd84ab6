#include "VUSL/Support/DebugLogOutlet.h"

#include <string>
#include <vector>

#include "tests/support/MachineTest.h"

namespace {

using DebugLogOutletTest = host::MachineTest;

TEST_F(DebugLogOutletTest, writesTheWholeLineWithItsLineEnd) {
  DebugLogOutlet outlet;
  outlet.Log(L"stamp ", L"tag: ", L"[TPM] Started.", 2);
  EXPECT_EQ(host::machine().debugOutput,
            std::vector<std::wstring>{L"stamp tag: [INF] [TPM] Started.\r\n"});
}

TEST_F(DebugLogOutletTest, isOneCallForEachLine) {
  DebugLogOutlet outlet;
  outlet.Dump(L"a");
  outlet.Dump(L"b");
  EXPECT_EQ(journal().names(),
            (std::vector<std::string>{"OutputDebugStringW", "OutputDebugStringW"}));
}

TEST_F(DebugLogOutletTest, doesNothingWhenReopened) {
  DebugLogOutlet outlet;
  outlet.reopen();
  EXPECT_TRUE(journal().names().empty());
}

}  // namespace
