// The resource section of libraries.

#include "platform/host/ResourceFile.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "tests/support/ResourceLibrary.h"

namespace {

using host::ResourceFile;
using host::resourceLibrary;

struct Found {
  std::wstring text;
  DWORD error = 0;
};

Found stringIn(const std::string& bytes, UINT id, LANGID user = 0x0409) {
  Found found;
  const auto file = ResourceFile::parse(bytes);
  if (!file) {
    found.error = 193;
    return found;
  }
  if (const auto text = file->string(id, user, &found.error)) {
    return {*text, 0};
  }
  return found;
}

std::string builtLibrary() {
  std::ifstream file(LANGUAGES_DIR "/VUSL_de-DE.dll", std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

TEST(ResourceFileTest, AStringIsFoundByItsId) {
  const std::string bytes = resourceLibrary({{101, u"a"}, {102, u"bc"}, {325, u"d"}});
  EXPECT_EQ(stringIn(bytes, 101).text, L"a");
  EXPECT_EQ(stringIn(bytes, 102).text, L"bc");
  EXPECT_EQ(stringIn(bytes, 325).text, L"d");
}

TEST(ResourceFileTest, TheFirstAndTheLastIdHaveStrings) {
  const std::string bytes = resourceLibrary({{0, u"first"}, {0xFFFF, u"last"}});
  EXPECT_EQ(stringIn(bytes, 0).text, L"first");
  EXPECT_EQ(stringIn(bytes, 0xFFFF).text, L"last");
}

TEST(ResourceFileTest, OfAnIdOnlySixteenBitsCount) {
  EXPECT_EQ(stringIn(resourceLibrary({{101, u"a"}}), 0x10000 + 101).text, L"a");
}

TEST(ResourceFileTest, AMissingStringGives1814) {
  const std::string bytes = resourceLibrary({{101, u"a"}});
  EXPECT_EQ(stringIn(bytes, 100).error, 1814U);
  EXPECT_EQ(stringIn(bytes, 102).error, 1814U);
  EXPECT_EQ(stringIn(bytes, 325).error, 1814U);
}

TEST(ResourceFileTest, ALibraryWithoutStringsGives1813) {
  std::string bytes = resourceLibrary({{101, u"a"}});
  bytes.at(0x200 + 16) = 5;  // the type: dialogs
  EXPECT_EQ(stringIn(bytes, 101).error, 1813U);
}

TEST(ResourceFileTest, ALibraryWithoutResourcesGives1812) {
  std::string bytes = resourceLibrary({{101, u"a"}});
  bytes.at(0x58 + 112 + 16 + 1) = 0;  // the directory's address
  EXPECT_EQ(stringIn(bytes, 101).error, 1812U);
}

TEST(ResourceFileTest, ALibraryWithTwoDirectoriesHasNoResources) {
  std::string bytes = resourceLibrary({{101, u"a"}});
  bytes.at(0x58 + 108) = 2;
  EXPECT_EQ(stringIn(bytes, 101).error, 1812U);
}

TEST(ResourceFileTest, WhatIsNoLibraryIsRefused) {
  EXPECT_FALSE(ResourceFile::parse(""));
  EXPECT_FALSE(ResourceFile::parse("MZ and no more"));
  EXPECT_FALSE(ResourceFile::parse("text"));
  EXPECT_FALSE(ResourceFile::parse(std::string(4096, '\xFF')));
  EXPECT_FALSE(ResourceFile::parse("MZ" + std::string(4094, '\0')));
}

TEST(ResourceFileTest, TheUsersLanguageIsTakenThenNoneThenEnglishThenTheFirst) {
  const std::map<LANGID, host::StringTable> all = {
      {0x0000, {{101, u"none"}}}, {0x0407, {{101, u"de"}}}, {0x0409, {{101, u"en"}}}};
  EXPECT_EQ(stringIn(resourceLibrary(all), 101, 0x0407).text, L"de");
  EXPECT_EQ(stringIn(resourceLibrary(all), 101, 0x0415).text, L"none");
  const std::map<LANGID, host::StringTable> two = {{0x0407, {{101, u"de"}}},
                                                   {0x0409, {{101, u"en"}}}};
  EXPECT_EQ(stringIn(resourceLibrary(two), 101, 0x0415).text, L"en");
  const std::map<LANGID, host::StringTable> others = {{0x0407, {{101, u"de"}}},
                                                      {0x0416, {{101, u"pt"}}}};
  EXPECT_EQ(stringIn(resourceLibrary(others), 101, 0x0415).text, L"de");
}

TEST(ResourceFileTest, ZeroCharactersInAStringAreKept) {
  const std::u16string text = {u'a', u'\0', u'b'};
  EXPECT_EQ(stringIn(resourceLibrary({{101, text}}), 101).text, std::wstring(L"a\0b", 3));
}

TEST(ResourceFileTest, APairBecomesOneCharacterAndALoneHalfStays) {
  const std::u16string text = {0xD83D, 0xDE00, 0xD83D, u'x', 0xDE00, 0xD83D};
  const std::wstring expected = {wchar_t{0x1F600}, wchar_t{0xD83D}, L'x', wchar_t{0xDE00},
                                 wchar_t{0xD83D}};
  EXPECT_EQ(stringIn(resourceLibrary({{101, text}}), 101).text, expected);
}

TEST(ResourceFileTest, AStringThatReachesBeyondItsBlockIsNotThere) {
  std::string bytes = resourceLibrary({{111, u"abcd"}});
  ASSERT_EQ(stringIn(bytes, 111).text, L"abcd");
  bytes.at(bytes.size() - 10) = 5;  // the length of the last string, one too many
  EXPECT_EQ(stringIn(bytes, 111).error, 1814U);
}

TEST(ResourceFileTest, AShortenedLibraryGivesTheStringOrNothing) {
  const std::string whole = builtLibrary();
  ASSERT_GE(whole.size(), 1024U);
  ASSERT_EQ(stringIn(whole, 101).text, L"Unbekannter Systemfehler: ");
  std::size_t refused = 0;
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const Found found = stringIn(whole.substr(0, size), 101);
    EXPECT_TRUE(found.text.empty() || found.text == L"Unbekannter Systemfehler: ") << size;
    EXPECT_TRUE(!found.text.empty() || found.error == 193 || found.error >= 1812) << size;
    refused += found.error == 193 ? 1 : 0;
  }
  EXPECT_GT(refused, 0U);
}

TEST(ResourceFileTest, ALibraryWithAnyBitFlippedIsReadOrRefused) {
  const std::string whole = builtLibrary();
  ASSERT_GE(whole.size(), 1024U);
  std::size_t refused = 0;
  for (std::size_t bit = 0; bit < whole.size() * 8; ++bit) {
    std::string spoilt = whole;
    spoilt[bit / 8] = static_cast<char>(spoilt[bit / 8] ^ (1 << (bit % 8)));
    const auto file = ResourceFile::parse(spoilt);
    if (!file) {
      ++refused;
      continue;
    }
    for (const UINT id : {0U, 101U, 325U}) {
      DWORD error = 0;
      const auto text = file->string(id, 0x0407, &error);
      EXPECT_TRUE(text ? !text->empty() : error >= 1812 && error <= 1814) << bit;
    }
  }
  // Those of the two signatures and of the place of the second alone are more.
  EXPECT_GT(refused, 64U);
}

}  // namespace
