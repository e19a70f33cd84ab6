#include "platform/host/TaskRules.h"

#include <algorithm>
#include <array>
#include <charconv>

#include "platform/host/Text.h"

namespace host {
namespace {

constexpr std::size_t kLongestPath = 260;
constexpr std::size_t kMostActions = 32;
constexpr std::size_t kMostTriggers = 48;
constexpr double kMinute = 60;
constexpr double kDay = 86'400;

bool isDigit(char character) {
  return character >= '0' && character <= '9';
}

// Takes the digits that the text begins with; nothing if there are none.
std::optional<double> takeNumber(std::string_view& text) {
  double value = 0;
  const auto isEnd = [](char character) { return !isDigit(character); };
  const auto* const end = std::find_if(text.begin(), text.end(), isEnd);
  const auto length = static_cast<std::size_t>(end - text.begin());
  if (length == 0 || std::from_chars(text.begin(), end, value).ec != std::errc{}) {
    return std::nullopt;
  }
  text.remove_prefix(length);
  return value;
}

struct Unit {
  char letter;
  double seconds;
};

// "3H20M": each unit at most once and in this order. False if anything else stands there.
bool addUnits(std::string_view text, std::initializer_list<Unit> units, double& seconds) {
  const auto* next = units.begin();
  while (!text.empty()) {
    const auto number = takeNumber(text);
    if (!number || text.empty()) {
      return false;
    }
    next = std::find_if(next, units.end(),
                        [&](const Unit& unit) { return unit.letter == text.front(); });
    if (next == units.end()) {
      return false;
    }
    seconds += *number * next->seconds;
    ++next;
    text.remove_prefix(1);
  }
  return true;
}

// The seconds of a duration such as "P1DT12H"; a month counts 30 days.
}  // namespace

std::optional<double> durationSeconds(std::string_view text) {
  if (!text.starts_with('P') || text.size() < 2) {
    return std::nullopt;
  }
  text.remove_prefix(1);
  const std::size_t split = std::min(text.find('T'), text.size());
  double seconds = 0;
  const bool hasTime = split < text.size();
  if (!addUnits(text.substr(0, split), {{'Y', 365 * kDay}, {'M', 30 * kDay}, {'D', kDay}},
                seconds) ||
      (hasTime && split + 1 == text.size())) {
    return std::nullopt;
  }
  const std::string_view time = hasTime ? text.substr(split + 1) : std::string_view();
  if (!addUnits(time, {{'H', 60 * kMinute}, {'M', kMinute}, {'S', 1}}, seconds)) {
    return std::nullopt;
  }
  return seconds;
}

namespace {

bool isDuration(std::string_view text) {
  return durationSeconds(text).has_value();
}

bool isMinuteOrMore(std::string_view text) {
  return durationSeconds(text).value_or(0) >= kMinute;
}

bool isRestartInterval(std::string_view text) {
  return isMinuteOrMore(text) && *durationSeconds(text) <= 31 * kDay;
}

// Whether the text has the form of the pattern, in which "0" stands for any digit.
bool hasForm(std::string_view text, std::string_view pattern) {
  return std::equal(text.begin(), text.end(), pattern.begin(), pattern.end(),
                    [](char character, char wanted) {
                      return wanted == '0' ? isDigit(character) : character == wanted;
                    });
}

bool isMoment(std::string_view text) {
  constexpr std::string_view kForm = "0000-00-00T00:00:00";
  if (!hasForm(text.substr(0, std::min(kForm.size(), text.size())), kForm)) {
    return false;
  }
  const auto pair = [&](std::size_t at) { return (text[at] - '0') * 10 + (text[at + 1] - '0'); };
  const bool isInRange = pair(5) >= 1 && pair(5) <= 12 && pair(8) >= 1 && pair(8) <= 31 &&
                         pair(11) <= 23 && pair(14) <= 59 && pair(17) <= 59;
  std::string_view rest = text.substr(kForm.size());
  if (rest.starts_with('.')) {
    rest.remove_prefix(1);
    if (!takeNumber(rest)) {
      return false;
    }
  }
  return isInRange &&
         (rest.empty() || rest == "Z" || hasForm(rest, "+00:00") || hasForm(rest, "-00:00"));
}

bool isBoolean(std::string_view text) {
  return text == "true" || text == "false" || text == "1" || text == "0";
}

bool isNumberBetween(std::string_view text, int least, int most) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.begin(), text.end(), value);
  return error == std::errc{} && end == text.end() && value >= least && value <= most;
}

bool isPriority(std::string_view text) {
  return isNumberBetween(text, 0, 10);
}

bool isRestartCount(std::string_view text) {
  return isNumberBetween(text, 1, 255);
}

bool isInstancesPolicy(std::string_view text) {
  return text == "Parallel" || text == "Queue" || text == "IgnoreNew" || text == "StopExisting";
}

bool isRunLevel(std::string_view text) {
  return text == "LeastPrivilege" || text == "HighestAvailable";
}

bool isLogonType(std::string_view text) {
  return text == "S4U" || text == "Password" || text == "InteractiveToken" ||
         text == "InteractiveTokenOrPassword";
}

bool isNotEmpty(std::string_view text) {
  return !text.empty();
}

bool isPath(std::string_view text) {
  return !text.empty() && toWide(text).size() <= kLongestPath;
}

struct Rule {
  const char* path;
  bool (*holds)(std::string_view text);
};
constexpr std::array kTaskRules = {
    Rule{"RegistrationInfo/Date", isMoment},
    Rule{"Principals/Principal/UserId", isNotEmpty},
    Rule{"Principals/Principal/GroupId", isNotEmpty},
    Rule{"Principals/Principal/LogonType", isLogonType},
    Rule{"Principals/Principal/RunLevel", isRunLevel},
    Rule{"Settings/MultipleInstancesPolicy", isInstancesPolicy},
    Rule{"Settings/DisallowStartIfOnBatteries", isBoolean},
    Rule{"Settings/StopIfGoingOnBatteries", isBoolean},
    Rule{"Settings/AllowHardTerminate", isBoolean},
    Rule{"Settings/StartWhenAvailable", isBoolean},
    Rule{"Settings/RunOnlyIfNetworkAvailable", isBoolean},
    Rule{"Settings/IdleSettings/Duration", isMinuteOrMore},
    Rule{"Settings/IdleSettings/WaitTimeout", isMinuteOrMore},
    Rule{"Settings/IdleSettings/StopOnIdleEnd", isBoolean},
    Rule{"Settings/IdleSettings/RestartOnIdle", isBoolean},
    Rule{"Settings/AllowStartOnDemand", isBoolean},
    Rule{"Settings/Enabled", isBoolean},
    Rule{"Settings/Hidden", isBoolean},
    Rule{"Settings/RunOnlyIfIdle", isBoolean},
    Rule{"Settings/WakeToRun", isBoolean},
    Rule{"Settings/ExecutionTimeLimit", isDuration},
    Rule{"Settings/DeleteExpiredTaskAfter", isDuration},
    Rule{"Settings/Priority", isPriority},
    Rule{"Settings/RestartOnFailure/Interval", isRestartInterval},
    Rule{"Settings/RestartOnFailure/Count", isRestartCount},
};
constexpr std::array kTriggerRules = {
    Rule{"Enabled", isBoolean},       Rule{"StartBoundary", isMoment},
    Rule{"EndBoundary", isMoment},    Rule{"ExecutionTimeLimit", isDuration},
    Rule{"Subscription", isNotEmpty}, Rule{"Delay", isDuration},
};
constexpr std::array kExecRules = {
    Rule{"Command", isPath},
    Rule{"WorkingDirectory", isPath},
};

template <class Rules>
HRESULT checkValues(const TaskNode& node, const Rules& rules) {
  const bool allHold = std::all_of(rules.begin(), rules.end(), [&](const Rule& rule) {
    const auto text = node.value(rule.path);
    return !text || rule.holds(trimmed(*text));
  });
  return allHold ? S_OK : kTaskValueWrong;
}

HRESULT checkActions(const TaskNode& task) {
  const auto actions = task.child("Actions");
  if (actions == nullptr || actions->children.empty()) {
    return kTaskElementMissing;
  }
  for (const auto& action : actions->children) {
    if (action->name != "Exec") {
      continue;
    }
    if (!action->value("Command")) {
      return kTaskElementMissing;
    }
    if (const HRESULT result = checkValues(*action, kExecRules); FAILED(result)) {
      return result;
    }
  }
  return actions->children.size() <= kMostActions ? S_OK : kTaskValueWrong;
}

HRESULT checkTriggers(const TaskNode& task) {
  const auto triggers = task.child("Triggers");
  if (triggers == nullptr) {
    return S_OK;
  }
  for (const auto& trigger : triggers->children) {
    if (trigger->name == "EventTrigger" && !trigger->value("Subscription")) {
      return kTaskElementMissing;
    }
    if (const HRESULT result = checkValues(*trigger, kTriggerRules); FAILED(result)) {
      return result;
    }
  }
  return triggers->children.size() <= kMostTriggers ? S_OK : kTaskValueWrong;
}

HRESULT checkRestart(const TaskNode& task) {
  const bool hasInterval = task.value("Settings/RestartOnFailure/Interval").has_value();
  const bool hasCount = task.value("Settings/RestartOnFailure/Count").has_value();
  return hasInterval == hasCount ? S_OK : kTaskElementMissing;
}

bool isWritable(const TaskNode& node) {
  const auto cannotBeWritten = [](char character) {
    return character >= 0 && character < ' ' && character != '\t' && character != '\n' &&
           character != '\r';
  };
  return std::none_of(node.text.begin(), node.text.end(), cannotBeWritten) &&
         std::all_of(node.children.begin(), node.children.end(),
                     [](const auto& child) { return isWritable(*child); });
}

}  // namespace

HRESULT checkTask(const TaskNode& task) {
  if (!isWritable(task)) {
    return kTaskMalformed;
  }
  for (const HRESULT result : {checkValues(task, kTaskRules), checkRestart(task),
                               checkTriggers(task), checkActions(task)}) {
    if (FAILED(result)) {
      return result;
    }
  }
  return S_OK;
}

}  // namespace host
