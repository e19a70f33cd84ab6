#include "VUSL/Support/DebugLogOutlet.h"

#include <string>
#include <vector>

#include "tests/support/MachineTest.h"
#include "tests/unit/runtime/SlotOrder.h"

namespace {

using namespace std::string_literals;
using Lines = std::vector<std::wstring>;

class DebugLogOutletTest : public host::MachineTest {
 protected:
  ~DebugLogOutletTest() override { DebugLogOutlet::level = 1; }

  static const Lines& heard() { return host::machine().debugOutput; }
  // What the platform was handed, whoever listens.
  static std::vector<std::string> handedOver() {
    std::vector<std::string> texts;
    for (const host::JournalEntry& call : journal().calls("OutputDebugStringW")) {
      texts.push_back(call.args);
    }
    return texts;
  }

  DebugLogOutlet outlet;
};

TEST_F(DebugLogOutletTest, writesTheWholeLineWithItsLineEnd) {
  outlet.Log(L"stamp ", L"tag: ", L"[TPM] Started.", 2);
  EXPECT_EQ(heard(), Lines{L"stamp tag: [INF] [TPM] Started.\r\n"});
}

TEST_F(DebugLogOutletTest, isOneCallForEachLine) {
  outlet.Dump(L"a");
  outlet.Dump(L"b");
  EXPECT_EQ(journal().names(),
            (std::vector<std::string>{"OutputDebugStringW", "OutputDebugStringW"}));
}

TEST_F(DebugLogOutletTest, wantsThePrefix) {
  EXPECT_TRUE(outlet.wantsPrefix());
}

TEST_F(DebugLogOutletTest, startsWithTheThresholdOneAndDropsWhatIsBelow) {
  EXPECT_EQ(DebugLogOutlet::level, 1);
  outlet.Log(L"", L"", L"verbose", 0);
  EXPECT_TRUE(journal().names().empty());
  outlet.Log(L"", L"", L"debug", 1);
  EXPECT_EQ(heard(), Lines{L"[DBG] debug\r\n"});
}

TEST_F(DebugLogOutletTest, writesTheLineEndAloneWhereThereIsNoText) {
  outlet.Dump(L"");
  EXPECT_EQ(heard(), Lines{L"\r\n"});
}

TEST_F(DebugLogOutletTest, endsTheLineAtAZeroCharacterAndLosesItsEnd) {
  outlet.Dump(L"a\0b"s);
  EXPECT_EQ(heard(), Lines{L"a"});
}

TEST_F(DebugLogOutletTest, passesALoneSurrogateAsItIs) {
  const std::wstring lone = {L'x', static_cast<wchar_t>(0xD800)};
  outlet.Dump(lone);
  EXPECT_EQ(heard(), Lines{lone + L"\r\n"});
}

TEST_F(DebugLogOutletTest, handsOverALineOfAMillionCharactersWholeAndTheListenerCutsIt) {
  outlet.Dump(std::wstring(1'000'000, L'x'));
  EXPECT_EQ(handedOver(), std::vector<std::string>{std::string(1'000'000, 'x') + "\r\n"});
  EXPECT_EQ(heard(), Lines{std::wstring(4091, L'x')});
}

TEST_F(DebugLogOutletTest, writesOnWhereNobodyListensAndLeavesTheErrorOfThat) {
  host::machine().debugListener = false;
  host::setLastError(77);
  outlet.Dump(L"lost");
  EXPECT_EQ(handedOver(), std::vector<std::string>{"lost\r\n"});
  EXPECT_EQ(host::lastError(), 2U);
  host::machine().debugListener = true;
  outlet.Dump(L"heard");
  EXPECT_EQ(heard(), Lines{L"heard\r\n"});
}

TEST_F(DebugLogOutletTest, ignoresThatThePlatformFails) {
  faults().failOnce("OutputDebugStringW", 8);
  EXPECT_NO_THROW(outlet.Dump(L"lost"));
  outlet.Dump(L"next");
  EXPECT_EQ(heard(), Lines{L"next\r\n"});
}

TEST_F(DebugLogOutletTest, doesNothingWhenReopened) {
  outlet.reopen();
  EXPECT_TRUE(journal().names().empty());
}

TEST_F(DebugLogOutletTest, hasTheSlotsOfItsBaseAndNoFields) {
  EXPECT_EQ(slotOf(&DebugLogOutlet::Log), 2U);
  EXPECT_EQ(slotOf(&DebugLogOutlet::wantsPrefix), 3U);
  EXPECT_EQ(slotOf(&DebugLogOutlet::reopen), 4U);
  EXPECT_EQ(slotOf(&DebugLogOutlet::Dump), 5U);
  EXPECT_EQ(sizeof(DebugLogOutlet), sizeof(void*));
}

}  // namespace
