#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/host/Scenario.h"

// The small texts inside a line of a scenario. Used by the parser alone.
namespace host::scenario {

// What is wrong with a text; nothing if it is well-formed.
using Reason = std::optional<std::string>;

std::string inQuotes(std::string_view text);
std::vector<std::string_view> wordsOf(std::string_view text);

// A hint that names the known word that was probably meant, to be appended to a reason; empty if
// none is close.
std::string hintFor(std::string_view word, std::span<const std::string_view> known);

// Each reader leaves `result` alone if the text is malformed.

// Decimal, or hexadecimal after "0x".
Reason readNumber(std::string_view text, std::uint32_t greatest, std::uint32_t& result);
// As above, or a negative decimal number: "-1" is 0xFFFFFFFF.
Reason readCode(std::string_view text, std::uint32_t& result);
// How often something happened: 1 or more.
Reason readCount(std::string_view text, unsigned& result);
Reason readYesNo(std::string_view text, bool& result);
// "1 min 30 s"; units are ms, s, min, h and days.
Reason readDuration(std::string_view text, Nanoseconds& result);
// "+60 min": how far the local time is ahead of UTC.
Reason readZone(std::string_view text, int& minutes);
// "2026-01-02 03:04:05.006"; the milliseconds may be absent.
Reason readClock(std::string_view text, SYSTEMTIME& result);
// "10.0.19045"
Reason readVersion(std::string_view text, Scenario& scenario);
// An absolute path of the machine, such as "C:\x".
Reason readPath(std::string_view text, std::wstring& result);
// The same for a file, which has a name of its own: "C:\x\" has none.
Reason readFilePath(std::string_view text, std::wstring& result);
// A name of anything that must not be empty.
Reason readName(std::string_view text, std::wstring& result);
// Words as on a command line: separated by blanks, with double quotes around one that has blanks.
Reason readArguments(std::string_view text, std::vector<std::wstring>& result);
// A state of a service, "RUNNING".
Reason readState(std::string_view text, DWORD& state);

// One line of [script] and one of [faults].
Reason readStep(std::string_view line, Step& step);
Reason readFault(std::string_view line, InjectedFault& fault);

}  // namespace host::scenario
