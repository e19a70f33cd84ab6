#include "platform/host/ResourceFile.h"

#include <cstring>

namespace host {
namespace {

// Offsets in the headers.
constexpr std::size_t kHeaderPlace = 0x3C;
constexpr std::size_t kSectionCount = 6;
constexpr std::size_t kOptionalSize = 20;
constexpr std::size_t kOptional = 24;
constexpr std::size_t kDirectories32 = 96;
constexpr std::size_t kDirectories64 = 112;
constexpr std::size_t kDirectorySize = 8;
constexpr std::size_t kResourceDirectory = 2;
constexpr std::uint16_t kMagic32 = 0x10B;
constexpr std::uint16_t kMagic64 = 0x20B;
constexpr std::uint32_t kSignature = 0x00004550;  // "PE" and two zeros
constexpr std::uint16_t kDosSignature = 0x5A4D;   // "MZ"

// In the table of sections.
constexpr std::size_t kSectionSize = 40;
constexpr std::size_t kSectionAddress = 12;
constexpr std::size_t kSectionRawSize = 16;
constexpr std::size_t kSectionRawPlace = 20;

// In the resource section: a table, its entries, and the place of data.
constexpr std::size_t kTableNames = 12;
constexpr std::size_t kTableIds = 14;
constexpr std::size_t kTableSize = 16;
constexpr std::size_t kEntrySize = 8;
constexpr std::uint32_t kHighBit = 0x80000000U;
constexpr std::size_t kDataSize = 4;

constexpr std::uint32_t kStringType = 6;
constexpr UINT kStringsInBlock = 16;
constexpr LANGID kEnglish = 0x0409;

constexpr DWORD kErrorDataNotFound = 1812;
constexpr DWORD kErrorTypeNotFound = 1813;

bool isHalf(char16_t unit, char16_t first) {
  constexpr char16_t kHalves = 0xFC00;
  return (unit & kHalves) == first;
}

std::wstring wide(const std::u16string& units) {
  constexpr char16_t kHigh = 0xD800;
  constexpr char16_t kLow = 0xDC00;
  constexpr char32_t kFirstOfTwo = 0x10000;
  std::wstring text;
  for (std::size_t i = 0; i < units.size(); ++i) {
    if (isHalf(units[i], kHigh) && i + 1 < units.size() && isHalf(units[i + 1], kLow)) {
      const char32_t high = units[i] - kHigh;
      const char32_t low = units[i + 1] - kLow;
      text += static_cast<wchar_t>(kFirstOfTwo + (high << 10U) + low);
      ++i;
    } else {
      text += static_cast<wchar_t>(units[i]);
    }
  }
  return text;
}

}  // namespace

template <class Number>
std::optional<Number> ResourceFile::at(std::size_t offset) const {
  Number number{};
  if (offset > bytes_.size() || bytes_.size() - offset < sizeof number) {
    return std::nullopt;
  }
  std::memcpy(&number, bytes_.data() + offset, sizeof number);
  return number;
}

std::optional<ResourceFile> ResourceFile::parse(std::string bytes) {
  ResourceFile file;
  file.bytes_ = std::move(bytes);
  if (file.at<std::uint16_t>(0) != kDosSignature) {
    return std::nullopt;
  }
  const auto header = file.at<std::uint32_t>(kHeaderPlace);
  if (!header || file.at<std::uint32_t>(*header) != kSignature) {
    return std::nullopt;
  }
  const auto sections = file.at<std::uint16_t>(*header + kSectionCount);
  const auto optionalSize = file.at<std::uint16_t>(*header + kOptionalSize);
  const std::size_t optional = std::size_t{*header} + kOptional;
  const auto magic = file.at<std::uint16_t>(optional);
  if (!magic || (magic != kMagic32 && magic != kMagic64)) {
    return std::nullopt;
  }
  file.sections_ = optional + *optionalSize;
  file.sectionCount_ = *sections;
  if (file.sections_ + file.sectionCount_ * kSectionSize > file.bytes_.size()) {
    return std::nullopt;
  }
  const std::size_t directories = optional + (magic == kMagic32 ? kDirectories32 : kDirectories64);
  const std::size_t place = directories + kResourceDirectory * kDirectorySize;
  // The number of directories stands right before the first one.
  const auto directoryCount = file.at<std::uint32_t>(directories - sizeof(std::uint32_t));
  const auto address = file.at<std::uint32_t>(place);
  if (directoryCount.value_or(0) > kResourceDirectory && place + kDirectorySize <= file.sections_ &&
      address.value_or(0) != 0) {
    file.resources_ = file.offsetOf(*address).value_or(0);
  }
  return file;
}

std::optional<std::size_t> ResourceFile::offsetOf(std::uint32_t address) const {
  for (std::size_t i = 0; i < sectionCount_; ++i) {
    const std::size_t section = sections_ + i * kSectionSize;
    const auto begin = at<std::uint32_t>(section + kSectionAddress);
    const auto size = at<std::uint32_t>(section + kSectionRawSize);
    const auto place = at<std::uint32_t>(section + kSectionRawPlace);
    if (begin && size && place && address >= *begin && address - *begin < *size) {
      return std::size_t{*place} + (address - *begin);
    }
  }
  return std::nullopt;
}

std::size_t ResourceFile::entries(std::size_t table) const {
  const auto names = at<std::uint16_t>(table + kTableNames);
  const auto ids = at<std::uint16_t>(table + kTableIds);
  return names && ids ? std::size_t{*names} + *ids : 0;
}

std::optional<ResourceFile::Entry> ResourceFile::entryAt(std::size_t table,
                                                         std::size_t index) const {
  const std::size_t place = table + kTableSize + index * kEntrySize;
  const auto id = at<std::uint32_t>(place);
  const auto target = at<std::uint32_t>(place + sizeof(std::uint32_t));
  if (!id || !target) {
    return std::nullopt;
  }
  return Entry{*id, *target & ~kHighBit, (*target & kHighBit) != 0};
}

std::optional<ResourceFile::Entry> ResourceFile::find(std::size_t table, std::uint32_t id) const {
  const std::size_t count = entries(table);
  for (std::size_t i = 0; i < count; ++i) {
    const auto entry = entryAt(table, i);
    if (!entry) {
      break;
    }
    if (entry->id == id) {
      return entry;
    }
  }
  return std::nullopt;
}

std::optional<ResourceFile::Entry> ResourceFile::findLanguage(std::size_t table,
                                                              LANGID user) const {
  for (const LANGID language : {user, LANGID{0}, kEnglish}) {
    if (const auto entry = find(table, language)) {
      return entry;
    }
  }
  return entries(table) > 0 ? entryAt(table, 0) : std::nullopt;
}

std::optional<std::u16string> ResourceFile::inBlock(std::size_t block, std::size_t end,
                                                    UINT index) const {
  std::size_t place = block;
  for (UINT i = 0;; ++i) {
    const auto length = at<std::uint16_t>(place);
    const std::size_t begin = place + sizeof(std::uint16_t);
    if (!length || begin > end || end - begin < *length * sizeof(char16_t)) {
      return std::nullopt;
    }
    if (i == index) {
      std::u16string text(*length, u'\0');
      std::memcpy(text.data(), bytes_.data() + begin, *length * sizeof(char16_t));
      return text;
    }
    place = begin + *length * sizeof(char16_t);
  }
}

std::optional<std::wstring> ResourceFile::string(UINT id, LANGID user, DWORD* error) const {
  *error = kErrorDataNotFound;
  if (resources_ == 0 || !at<std::uint16_t>(resources_ + kTableIds)) {
    return std::nullopt;
  }
  const auto type = find(resources_, kStringType);
  if (!type || !type->isTable) {
    *error = kErrorTypeNotFound;
    return std::nullopt;
  }
  *error = ERROR_RESOURCE_NAME_NOT_FOUND;
  // Ids are 16 bits wide; blocks count from 1.
  const auto block = find(resources_ + type->target, (id & 0xFFFFU) / kStringsInBlock + 1);
  if (!block || !block->isTable) {
    return std::nullopt;
  }
  const auto language = findLanguage(resources_ + block->target, user);
  if (!language || language->isTable) {
    return std::nullopt;
  }
  const std::size_t data = resources_ + language->target;
  const auto address = at<std::uint32_t>(data);
  const auto size = at<std::uint32_t>(data + kDataSize);
  const auto place = address ? offsetOf(*address) : std::nullopt;
  if (!place || !size || *place > bytes_.size() || bytes_.size() - *place < *size) {
    return std::nullopt;
  }
  const auto text = inBlock(*place, *place + *size, id % kStringsInBlock);
  return text && !text->empty() ? std::optional(wide(*text)) : std::nullopt;
}

}  // namespace host
