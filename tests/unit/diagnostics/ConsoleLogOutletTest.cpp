#include "VUSL/Support/ConsoleLogOutlet.h"

#include <gtest/gtest.h>

#include <cstring>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

#include "tests/unit/runtime/SlotOrder.h"

namespace {

using namespace std::string_literals;

// Takes what is written to the wide standard output.
class ConsoleLogOutletTest : public ::testing::Test {
 protected:
  ConsoleLogOutletTest() : original(std::wcout.rdbuf(&console)) {}
  ~ConsoleLogOutletTest() override {
    std::wcout.rdbuf(original);  // which makes the stream a good one again
    ConsoleLogOutlet::level = 1;
  }

  struct Console : std::wstringbuf {
    std::streamsize xsputn(const wchar_t* text, std::streamsize count) override {
      return broken ? 0 : std::wstringbuf::xsputn(text, count);
    }
    int sync() override {
      flushed.push_back(str());
      return 0;
    }
    std::vector<std::wstring> flushed;  // what stood there at each flush
    bool broken = false;
  };

  Console console;

 private:
  std::wstreambuf* original;
};

int strip(std::wstring& text) {
  return ConsoleLogOutlet::stripColourTag(text);
}

TEST_F(ConsoleLogOutletTest, writesALineWithoutStampAndTagWhereNoPrefixIsWanted) {
  ConsoleLogOutlet outlet(false);
  outlet.Log(L"stamp ", L"tag: ", L"[TPM] Started.", 2);
  EXPECT_EQ(console.str(), L"[INF] [TPM] Started.\n");
}

TEST_F(ConsoleLogOutletTest, writesStampAndTagWhereThePrefixIsWanted) {
  ConsoleLogOutlet outlet(true);
  outlet.Log(L"stamp ", L"tag: ", L"[TPM] Started.", 2);
  EXPECT_EQ(console.str(), L"stamp tag: [INF] [TPM] Started.\n");
}

TEST_F(ConsoleLogOutletTest, flushesEachLineWithItsEnd) {
  ConsoleLogOutlet outlet(false);
  outlet.Dump(L"a");
  outlet.Dump(L"b");
  EXPECT_EQ(console.flushed, (std::vector<std::wstring>{L"a\n", L"a\nb\n"}));
}

TEST_F(ConsoleLogOutletTest, neverShowsTheTagNorColours) {
  ConsoleLogOutlet outlet(false);
  outlet.Dump(L"a[RED]b");
  outlet.Dump(L"[GREEN]c");
  EXPECT_EQ(console.str(), L"ab\nc\n");
}

TEST_F(ConsoleLogOutletTest, losesTheRedTagAndKeepsTheGreenOne) {
  ConsoleLogOutlet outlet(false);
  outlet.Dump(L"[GREEN]a[RED]b");
  EXPECT_EQ(console.str(), L"[GREEN]ab\n");
}

TEST_F(ConsoleLogOutletTest, losesTheFirstOfTwoRedTagsOnly) {
  ConsoleLogOutlet outlet(false);
  outlet.Dump(L"[RED]a[RED]b");
  EXPECT_EQ(console.str(), L"a[RED]b\n");
}

TEST_F(ConsoleLogOutletTest, tellsWhichTagItTook) {
  std::wstring red = L"x[RED]";
  std::wstring green = L"x[GREEN]";
  std::wstring none = L"x[BLUE]";
  EXPECT_EQ(strip(red), 2);
  EXPECT_EQ(red, L"x");
  EXPECT_EQ(strip(green), 1);
  EXPECT_EQ(green, L"x");
  EXPECT_EQ(strip(none), 0);
  EXPECT_EQ(none, L"x[BLUE]");
}

TEST_F(ConsoleLogOutletTest, looksAtTheCaseOfATag) {
  std::wstring text = L"[red]";
  EXPECT_EQ(strip(text), 0);
}

TEST_F(ConsoleLogOutletTest, findsNoTagInAnEmptyText) {
  std::wstring text;
  EXPECT_EQ(strip(text), 0);
  EXPECT_EQ(text, L"");
}

TEST_F(ConsoleLogOutletTest, leavesNothingOfATextThatIsATag) {
  std::wstring red = L"[RED]";
  std::wstring green = L"[GREEN]";
  EXPECT_EQ(strip(red), 2);
  EXPECT_EQ(red, L"");
  EXPECT_EQ(strip(green), 1);
  EXPECT_EQ(green, L"");
}

TEST_F(ConsoleLogOutletTest, leavesATagThatTheRemovalOfAnotherMakes) {
  std::wstring red = L"[R[RED]ED]";
  std::wstring green = L"[GRE[RED]EN]";
  EXPECT_EQ(strip(red), 2);
  EXPECT_EQ(red, L"[RED]");
  EXPECT_EQ(strip(green), 2);
  EXPECT_EQ(green, L"[GREEN]");
}

TEST_F(ConsoleLogOutletTest, losesTheFirstOfTwoGreenTagsOnly) {
  std::wstring text = L"a[GREEN]b[GREEN]";
  EXPECT_EQ(strip(text), 1);
  EXPECT_EQ(text, L"ab[GREEN]");
}

TEST_F(ConsoleLogOutletTest, takesATagBehindAZeroCharacter) {
  std::wstring text = L"a\0[RED]b"s;
  EXPECT_EQ(strip(text), 2);
  EXPECT_EQ(text, L"a\0b"s);
}

TEST_F(ConsoleLogOutletTest, leavesTheLineItIsGivenAsItIs) {
  ConsoleLogOutlet outlet(false);
  const std::wstring line = L"[RED]a";
  outlet.Dump(line);
  EXPECT_EQ(line, L"[RED]a");
}

TEST_F(ConsoleLogOutletTest, writesTheLineEndAloneWhereThereIsNoText) {
  ConsoleLogOutlet outlet(false);
  outlet.Dump(L"");
  EXPECT_EQ(console.str(), L"\n");
}

TEST_F(ConsoleLogOutletTest, writesZeroCharactersAndLoneSurrogatesAsTheyAre) {
  ConsoleLogOutlet outlet(false);
  const std::wstring lone(1, static_cast<wchar_t>(0xD800));
  outlet.Dump(L"a\0b"s + lone);
  EXPECT_EQ(console.str(), L"a\0b"s + lone + L"\n");
}

TEST_F(ConsoleLogOutletTest, writesALineOfAMillionCharactersWhole) {
  ConsoleLogOutlet outlet(false);
  outlet.Dump(std::wstring(1'000'000, L'x') + L"[RED]");
  EXPECT_TRUE(console.str() == std::wstring(1'000'000, L'x') + L"\n");
}

TEST_F(ConsoleLogOutletTest, leavesAWriteThatFailsToTheStreamsState) {
  ConsoleLogOutlet outlet(false);
  console.broken = true;
  EXPECT_NO_THROW(outlet.Dump(L"lost"));
  EXPECT_TRUE(std::wcout.bad());
  console.broken = false;
  outlet.Dump(L"lost too");
  EXPECT_EQ(console.str(), L"") << "the stream stays as it is until somebody clears it";
  std::wcout.clear();
  outlet.Dump(L"next");
  EXPECT_EQ(console.str(), L"next\n");
}

TEST_F(ConsoleLogOutletTest, startsWithTheThresholdOneAndDropsWhatIsBelow) {
  EXPECT_EQ(ConsoleLogOutlet::level, 1);
  ConsoleLogOutlet outlet(false);
  outlet.Log(L"", L"", L"verbose", 0);
  EXPECT_EQ(console.str(), L"");
  outlet.Log(L"", L"", L"debug", 1);
  EXPECT_EQ(console.str(), L"[DBG] debug\n");
}

TEST_F(ConsoleLogOutletTest, hasTheSlotsOfItsBaseAndOneField) {
  EXPECT_EQ(slotOf(&ConsoleLogOutlet::Log), 2U);
  EXPECT_EQ(slotOf(&ConsoleLogOutlet::wantsPrefix), 3U);
  EXPECT_EQ(slotOf(&ConsoleLogOutlet::reopen), 4U);
  EXPECT_EQ(slotOf(&ConsoleLogOutlet::Dump), 5U);
  for (const bool prefixed : {false, true}) {
    ConsoleLogOutlet outlet(prefixed);
    EXPECT_EQ(outlet.wantsPrefix(), prefixed);
    bool field = !prefixed;
    std::memcpy(&field, reinterpret_cast<const char*>(&outlet) + sizeof(void*), sizeof(field));
    EXPECT_EQ(field, prefixed);
  }
}

TEST_F(ConsoleLogOutletTest, writesNothingWhenReopened) {
  ConsoleLogOutlet outlet(true);
  outlet.reopen();
  EXPECT_EQ(console.str(), L"");
}

}  // namespace
