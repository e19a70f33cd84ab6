#pragma once

#include <map>
#include <string>

#include "platform/win32.h"

namespace host {

using StringTable = std::map<UINT, std::u16string>;

// The bytes of a library of the platform that holds these strings and nothing else, by language.
// Written here by hand, so that the model's reader is not tested against itself.
std::string resourceLibrary(const std::map<LANGID, StringTable>& tables);

// The same in English alone.
std::string resourceLibrary(const StringTable& strings);

}  // namespace host
