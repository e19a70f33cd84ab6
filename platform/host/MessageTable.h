#pragma once

#include "platform/host/windows/Types.h"

namespace host {

// The language in which the system speaks to a user: the user's own where there is an edition in
// it, else that of a related edition, else English.
LANGID displayLanguage(LANGID user);

// The message of an error in that user's display language, without its line end; null for a code
// that the system does not know.
const wchar_t* systemMessage(DWORD id, LANGID language);

}  // namespace host
