// The lines of [script] and [faults]: when something happens, and what.

#include <algorithm>
#include <array>

#include "platform/host/CallNames.h"
#include "platform/host/FaultTable.h"
#include "platform/host/ScenarioText.h"
#include "platform/host/Text.h"
#include "platform/host/windows/Services.h"

namespace host::scenario {
namespace {

// A call that is misspelt would never come, and the scenario would say nothing.
Reason checkCallName(std::string_view name, std::span<const std::string_view> known) {
  if (std::find(known.begin(), known.end(), name) != known.end()) {
    return std::nullopt;
  }
  return inQuotes(name) + " is no name of a platform call" + hintFor(name, known);
}

// "<name> [<n>]", n being 1 if it is absent.
Reason readNameAndCount(std::string_view text, const char* what, Moment& moment) {
  const std::vector<std::string_view> words = wordsOf(text);
  if (words.empty() || words.size() > 2) {
    return "there must be " + std::string(what) + ", and at most a number behind it";
  }
  moment.name = words[0];
  return words.size() == 2 ? readCount(words[1], moment.nth) : std::nullopt;
}

Reason readAt(std::string_view text, Moment& moment) {
  moment.kind = Moment::Kind::kAt;
  return readDuration(text, moment.at);
}

Reason readCall(std::string_view text, Moment& moment) {
  if (Reason reason = readNameAndCount(text, "a platform call's name", moment)) {
    return reason;
  }
  return checkCallName(moment.name, platformCalls());
}

Reason readBefore(std::string_view text, Moment& moment) {
  moment.kind = Moment::Kind::kBeforeCall;
  return readCall(text, moment);
}

Reason readInside(std::string_view text, Moment& moment) {
  moment.kind = Moment::Kind::kInsideCall;
  return readCall(text, moment);
}

Reason readOnStatus(std::string_view text, Moment& moment) {
  moment.kind = Moment::Kind::kOnStatus;
  if (Reason reason = readNameAndCount(text, "a state of the service", moment)) {
    return reason;
  }
  DWORD state = 0;
  return readState(moment.name, state);
}

// "[<n>] "<text>""; the closing quote is the last character.
Reason readOnLog(std::string_view text, Moment& moment) {
  moment.kind = Moment::Kind::kOnLog;
  const std::size_t begin = text.find('"');
  const std::string_view count = trimmed(text.substr(0, begin));
  if (!count.empty()) {
    if (Reason reason = readCount(count, moment.nth)) {
      return reason;
    }
  }
  if (begin == std::string_view::npos || text.size() < begin + 2 || text.back() != '"') {
    return "the text of the log line must stand in double quotes";
  }
  moment.name = text.substr(begin + 1, text.size() - begin - 2);
  if (moment.name.empty()) {
    return "the text of the log line is empty";
  }
  return std::nullopt;
}

struct MomentRow {
  std::string_view name;
  std::string_view end;  // what stands between the moment and its action
  Reason (*read)(std::string_view text, Moment& moment);
};
constexpr std::array kMoments = {
    MomentRow{"at", ":", readAt},
    MomentRow{"before", ":", readBefore},
    MomentRow{"inside", ":", readInside},
    MomentRow{"on log", "\":", readOnLog},
    MomentRow{"on status", ":", readOnStatus},
};

// "\n", "\r", "\t" and "\\" in the text of a file.
Reason unescape(std::string_view text, std::string& result) {
  constexpr std::string_view kLetters = "nrt\\";
  constexpr std::string_view kCharacters = "\n\r\t\\";
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      result += text[i];
      continue;
    }
    const std::size_t found = ++i < text.size() ? kLetters.find(text[i]) : std::string_view::npos;
    if (found == std::string_view::npos) {
      return "a backslash in a file's text must be followed by n, r, t or another backslash";
    }
    result += kCharacters[found];
  }
  return std::nullopt;
}

Reason readNothing(std::string_view text, Action& /*action*/) {
  return text.empty() ? std::nullopt : Reason("nothing may follow the action");
}

Reason readEventName(std::string_view text, Action& action) {
  return readName(text, action.subject);
}

Reason readStop(std::string_view text, Action& action) {
  action.number = SERVICE_CONTROL_STOP;
  return readNothing(text, action);
}

Reason readControl(std::string_view text, Action& action) {
  return readNumber(text, 255, action.number);
}

Reason readWrite(std::string_view text, Action& action) {
  constexpr std::size_t kAfterDrive = 2;
  const std::size_t colon = text.find(':', kAfterDrive);
  if (colon == std::string_view::npos) {
    return "the path must be followed by a colon and the file's text";
  }
  if (Reason reason = readFilePath(trimmed(text.substr(0, colon)), action.subject)) {
    return reason;
  }
  std::string_view content = text.substr(colon + 1);
  if (content.starts_with(' ')) {
    content.remove_prefix(1);
  }
  return unescape(content, action.text);
}

Reason readDelete(std::string_view text, Action& action) {
  return readPath(text, action.subject);
}

// "<log> <provider> <id>"; the provider's name may have blanks.
Reason readLogEvent(std::string_view text, Action& action) {
  const std::size_t first = text.find(' ');
  const std::size_t last = text.rfind(' ');
  if (first == last || first == std::string_view::npos) {
    return "there must be a log, a provider and an id (as in \"event System Some-Provider 1025\")";
  }
  action.text = text.substr(0, first);
  action.subject = toWide(trimmed(text.substr(first, last - first)));
  return readNumber(text.substr(last + 1), UINT16_MAX, action.number);
}

// "<session> [<level>]"
Reason readEnableTrace(std::string_view text, Action& action) {
  const std::vector<std::string_view> words = wordsOf(text);
  if (words.empty() || words.size() > 2) {
    return "there must be a trace session's name, and at most a level behind it";
  }
  action.subject = toWide(words[0]);
  action.number = Action::kOwnLevel;
  return words.size() == 2 ? readNumber(words[1], UINT8_MAX, action.number) : std::nullopt;
}

Reason readChoice(std::string_view text, std::string_view no, std::string_view yes,
                  Action& action) {
  if (text != no && text != yes) {
    return inQuotes(text) + " is neither " + inQuotes(yes) + " nor " + inQuotes(no);
  }
  action.number = text == yes ? 1 : 0;
  return std::nullopt;
}

Reason readPower(std::string_view text, Action& action) {
  return readChoice(text, "mains", "batteries", action);
}

Reason readNetwork(std::string_view text, Action& action) {
  return readChoice(text, "gone", "back", action);
}

Reason readSuspension(std::string_view text, Action& action) {
  return readDuration(text, action.span);
}

Reason readClockStep(std::string_view text, Action& action) {
  const bool isSigned = text.starts_with('+') || text.starts_with('-');
  if (!isSigned || readDuration(text.substr(1), action.span)) {
    return inQuotes(text) + " is no step of the clock (as in \"+1 h\" or \"-2 days\")";
  }
  if (text.front() == '-') {
    action.span = -action.span;
  }
  return std::nullopt;
}

struct ActionRow {
  std::string_view name;
  Action::Kind kind;
  Reason (*read)(std::string_view text, Action& action);
};
constexpr std::array kActions = {
    ActionRow{"signal", Action::Kind::kSignalEvent, readEventName},
    ActionRow{"publish", Action::Kind::kPublishEvent, readEventName},
    ActionRow{"withdraw", Action::Kind::kWithdrawEvent, readEventName},
    ActionRow{"stop", Action::Kind::kControl, readStop},
    ActionRow{"control", Action::Kind::kControl, readControl},
    ActionRow{"write", Action::Kind::kWriteFile, readWrite},
    ActionRow{"delete", Action::Kind::kDeleteFile, readDelete},
    ActionRow{"event", Action::Kind::kLogEvent, readLogEvent},
    ActionRow{"enable trace", Action::Kind::kEnableTrace, readEnableTrace},
    ActionRow{"disable trace", Action::Kind::kDisableTrace, readEventName},
    ActionRow{"attach listener", Action::Kind::kAttachListener, readNothing},
    ActionRow{"detach listener", Action::Kind::kDetachListener, readNothing},
    ActionRow{"power", Action::Kind::kPower, readPower},
    ActionRow{"network", Action::Kind::kNetwork, readNetwork},
    ActionRow{"suspend", Action::Kind::kSuspend, readSuspension},
    ActionRow{"clock", Action::Kind::kClock, readClockStep},
    ActionRow{"end process", Action::Kind::kEndProcess, readNothing},
};

// The row whose name `text` begins with, as whole words; `text` loses the name.
template <class Rows>
auto takeRow(const Rows& rows, std::string_view& text) -> decltype(rows.data()) {
  for (const auto& row : rows) {
    const std::string_view rest = text.substr(std::min(row.name.size(), text.size()));
    if (text.starts_with(row.name) && (rest.empty() || rest.front() == ' ')) {
      text = trimmed(rest);
      return &row;
    }
  }
  return nullptr;
}

template <class Rows>
std::string hintAmong(const Rows& rows, std::string_view text) {
  std::vector<std::string_view> names;
  for (const auto& row : rows) {
    names.push_back(row.name);
  }
  const std::vector<std::string_view> words = wordsOf(text);
  return words.empty() ? "" : hintFor(words[0], names);
}

Reason readAction(std::string_view text, Action& action) {
  std::string_view rest = text;
  const ActionRow* row = takeRow(kActions, rest);
  if (row == nullptr) {
    return inQuotes(text) + " is no action" + hintAmong(kActions, text);
  }
  action.kind = row->kind;
  return row->read(rest, action);
}

// Where the end of a moment stands; the two colons inside a method's name are none.
std::size_t endOfMoment(std::string_view text, std::string_view end) {
  std::size_t found = text.find(end);
  while (found != std::string_view::npos && text.substr(found).starts_with("::")) {
    found = text.find(end, found + 2);
  }
  return found;
}

}  // namespace

Reason readStep(std::string_view line, Step& step) {
  std::string_view rest = line;
  const MomentRow* row = takeRow(kMoments, rest);
  if (row == nullptr) {
    return inQuotes(line) +
           " does not begin with a moment (at, before, inside, on log, on status)" +
           hintAmong(kMoments, line);
  }
  const std::size_t end = endOfMoment(rest, row->end);
  if (end == std::string_view::npos) {
    return "a moment ends in " + std::string(row->end) + " and is followed by an action";
  }
  const std::size_t colon = end + row->end.size() - 1;
  if (Reason reason = row->read(trimmed(rest.substr(0, colon)), step.moment)) {
    return reason;
  }
  std::string_view action = rest.substr(colon + 1);
  action.remove_prefix(std::min(action.find_first_not_of(' '), action.size()));
  return readAction(action, step.action);
}

Reason readFault(std::string_view line, InjectedFault& fault) {
  // fail <call> [from] <n> with <error> [after its work]
  constexpr std::array<std::string_view, 3> kDone = {"after", "its", "work"};
  std::vector<std::string_view> words = wordsOf(line);
  if (words.size() > kDone.size() && std::equal(kDone.begin(), kDone.end(), words.end() - 3)) {
    fault.isDone = true;
    words.resize(words.size() - kDone.size());
  }
  if (words.size() == 6 && words[2] == "from") {
    fault.lasting = true;
    words.erase(words.begin() + 2);
  }
  if (words.size() != 5 || words[0] != "fail" || words[3] != "with") {
    return inQuotes(line) +
           " is no fault (as in \"fail CreateEventW 2 with 5\" or "
           "\"fail CreateEventW from 2 with 5\")";
  }
  if (Reason reason = checkCallName(words[1], callsThatCanFail())) {
    return reason;
  }
  fault.call = words[1];
  if (Reason reason = readCount(words[2], fault.nth)) {
    return reason;
  }
  if (fault.isDone && faultRowOf(fault.call)->errorsWhenDone.empty()) {
    return inQuotes(fault.call) + " does not fail after its work";
  }
  return readCode(words[4], fault.error);
}

}  // namespace host::scenario
