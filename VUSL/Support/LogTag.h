#pragma once

#include <cstdint>

#include "VUSL/Support/LogItem.h"

// How a line that is logged on behalf of an object begins. Both leave the item in decimal.

// "[0x<address>] ", the address in lower-case hexadecimal.
struct LogAddress {
  explicit LogAddress(const void* tagged) : object(tagged) {}

  const void* object;
};

// "[0x<address>] [<method>] ".
struct LogTag {
  LogTag(const void* tagged, const char* taggedMethod) : object(tagged), method(taggedMethod) {}

  const void* object;
  const char* method;
};

// Writes the address as above, and gives the item.
inline LogItem& operator<<(LogItem& item, const LogAddress& tag) {
  return item << "[0x" << LogBase::kHexadecimal << reinterpret_cast<uintptr_t>(tag.object)
              << LogBase::kDecimal << "] ";
}

// Writes address and method as above, and gives the item.
inline LogItem& operator<<(LogItem& item, const LogTag& tag) {
  return item << LogAddress(tag.object) << "[" << tag.method << "] ";
}

// The same for an item that nobody has named.
inline LogItem& operator<<(LogItem&& item, const LogAddress& tag) {
  return item << tag;
}

// The same for an item that nobody has named.
inline LogItem& operator<<(LogItem&& item, const LogTag& tag) {
  return item << tag;
}
