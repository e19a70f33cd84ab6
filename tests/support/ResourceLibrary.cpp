#include "tests/support/ResourceLibrary.h"

#include <cstdint>
#include <vector>

namespace host {
namespace {

constexpr std::uint32_t kAddress = 0x1000;  // where the section is loaded
constexpr std::size_t kPlace = 0x200;       // where it lies in the file
constexpr std::uint32_t kTable = 0x80000000U;
constexpr std::uint32_t kTableSize = 16;
constexpr std::uint32_t kEntrySize = 8;
constexpr std::uint32_t kDataEntrySize = 16;
constexpr UINT kInBlock = 16;

void put16(std::string& bytes, std::uint32_t value) {
  bytes += static_cast<char>(value & 0xFFU);
  bytes += static_cast<char>(value >> 8U & 0xFFU);
}

void put32(std::string& bytes, std::uint32_t value) {
  put16(bytes, value & 0xFFFFU);
  put16(bytes, value >> 16U);
}

void putZeros(std::string& bytes, std::size_t upTo) {
  bytes.resize(upTo, '\0');
}

void putTable(std::string& bytes, std::size_t entries) {
  putZeros(bytes, bytes.size() + 14);
  put16(bytes, static_cast<std::uint32_t>(entries));
}

// The blocks of sixteen strings, by number and language.
using Blocks = std::map<UINT, std::map<LANGID, std::string>>;

Blocks blocksOf(const std::map<LANGID, StringTable>& tables) {
  Blocks blocks;
  for (const auto& [language, strings] : tables) {
    for (const auto& [id, unused] : strings) {
      std::string& block = blocks[id / kInBlock + 1][language];
      if (!block.empty()) {
        continue;
      }
      for (UINT i = id / kInBlock * kInBlock; i < id / kInBlock * kInBlock + kInBlock; ++i) {
        const auto found = strings.find(i);
        const std::u16string text = found == strings.end() ? u"" : found->second;
        put16(block, static_cast<std::uint32_t>(text.size()));
        for (const char16_t unit : text) {
          put16(block, unit);
        }
      }
    }
  }
  return blocks;
}

// Tables of types, of blocks, of each block's languages; then the places of the data, then these.
std::string sectionOf(const Blocks& blocks) {
  const auto blockCount = static_cast<std::uint32_t>(blocks.size());
  std::uint32_t languageCount = 0;
  for (const auto& [number, languages] : blocks) {
    languageCount += static_cast<std::uint32_t>(languages.size());
  }
  const std::uint32_t typeTable = kTableSize + kEntrySize;
  const std::uint32_t languageTables = typeTable + kTableSize + blockCount * kEntrySize;
  const std::uint32_t places =
      languageTables + blockCount * kTableSize + languageCount * kEntrySize;

  std::string bytes;
  putTable(bytes, 1);
  put32(bytes, 6);
  put32(bytes, kTable | typeTable);
  putTable(bytes, blocks.size());
  std::uint32_t next = languageTables;
  for (const auto& [number, languages] : blocks) {
    put32(bytes, number);
    put32(bytes, kTable | next);
    next += kTableSize + static_cast<std::uint32_t>(languages.size()) * kEntrySize;
  }
  next = places;
  for (const auto& [number, languages] : blocks) {
    putTable(bytes, languages.size());
    for (const auto& [language, unused] : languages) {
      put32(bytes, language);
      put32(bytes, next);
      next += kDataEntrySize;
    }
  }
  for (const auto& [number, languages] : blocks) {
    for (const auto& [language, data] : languages) {
      put32(bytes, kAddress + next);
      put32(bytes, static_cast<std::uint32_t>(data.size()));
      put32(bytes, 0);
      put32(bytes, 0);
      next += static_cast<std::uint32_t>(data.size());
    }
  }
  for (const auto& [number, languages] : blocks) {
    for (const auto& [language, data] : languages) {
      bytes += data;
    }
  }
  return bytes;
}

}  // namespace

std::string resourceLibrary(const std::map<LANGID, StringTable>& tables) {
  const std::string section = sectionOf(blocksOf(tables));
  const auto size = static_cast<std::uint32_t>(section.size());
  std::string bytes = "MZ";
  putZeros(bytes, 0x3C);
  put32(bytes, 0x40);
  bytes += "PE";
  putZeros(bytes, 0x44);
  put16(bytes, 0x8664);  // x86-64
  put16(bytes, 1);       // one section
  putZeros(bytes, 0x54);
  put16(bytes, 240);  // the optional header's size
  put16(bytes, 0x2022);
  put16(bytes, 0x20B);
  putZeros(bytes, 0x58 + 108);
  put32(bytes, 16);  // directories, the third of which is that of resources
  putZeros(bytes, 0x58 + 112 + 2 * 8);
  put32(bytes, kAddress);
  put32(bytes, size);
  putZeros(bytes, 0x58 + 240);
  bytes += ".rsrc";
  putZeros(bytes, 0x148 + 8);
  put32(bytes, size);
  put32(bytes, kAddress);
  put32(bytes, size);
  put32(bytes, kPlace);
  putZeros(bytes, kPlace);
  return bytes + section;
}

std::string resourceLibrary(const StringTable& strings) {
  return resourceLibrary(std::map<LANGID, StringTable>{{LANGID{0x0409}, strings}});
}

}  // namespace host
