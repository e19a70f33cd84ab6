#pragma once

#include <sstream>
#include <string>

// An address as the standard stream prints a pointer.
inline std::string pointerText(const void* pointer) {
  std::ostringstream text;
  text << pointer;
  return text.str();
}
