// What a seed stands for. Whatever is drawn here is written down in the case's text: nothing but
// that text, its order of threads included, decides what happens.

#include <array>

#include "platform/host/Choices.h"
#include "tools/simulate/Case.h"

namespace simulate {
namespace {

constexpr std::string_view kEvent = "Global\\TpmEnrollmentEvent";
constexpr std::string_view kFirstPlace = "C:\\Program Files\\Orvix\\tALS Client";
constexpr std::string_view kOtherPlace = "D:\\Orvix\\tALS Client";
constexpr std::uint32_t kSecond = 1000;
constexpr std::uint32_t kHour = 3600 * kSecond;

// Where a stop or a signal is put when it is put at something that happens.
constexpr std::array<std::string_view, 13> kLines = {
    "Service started.",
    "Registering STOP event completed!",
    "Starting talsInit...",
    "Running Init for method: 1",
    "Running Init for method: 2",
    "tALS init status",
    "Registering to TPM Event...",
    "Next try in 5 sec.",
    "Scheduling VTM Task ...",
    "Waiting for signaled event",
    "Waiting over.",
    "Tpm event signaled.",
    "OrvixVTMEKRecertification has been started.",
};
constexpr std::array<std::string_view, 12> kCalls = {"SetServiceStatus",
                                                     "CreateEventW",
                                                     "OpenEventW",
                                                     "WaitForSingleObject",
                                                     "Sleep",
                                                     "WaitForMultipleObjects",
                                                     "CreateProcessW",
                                                     "LoadLibraryExW",
                                                     "FreeLibrary",
                                                     "SetEvent",
                                                     "CloseHandle",
                                                     "OutputDebugStringW"};
constexpr std::array<std::string_view, 3> kStates = {"START_PENDING", "RUNNING", "STOP_PENDING"};

class Draw {
 public:
  Draw(std::uint64_t seed, std::uint64_t longSpanMs)
      : choices_(seed * 2 + 1), seed_(seed), longSpanMs_(longSpanMs) {}

  Case whole();

 private:
  bool oneIn(std::uint32_t count) { return choices_.pick(count) == count - 1; }
  std::uint32_t below(std::uint32_t count) { return choices_.pick(count); }
  template <class Rows>
  std::string among(const Rows& rows) {
    return std::string(rows[choices_.pick(static_cast<std::uint32_t>(rows.size()))]);
  }

  std::string order();
  std::string life(unsigned number);
  std::string machine();
  std::string stack(bool hasMoved);
  std::string client();
  std::string answers(std::string_view entry);
  std::string answer();
  std::string config();
  std::string script();
  std::string moment();
  std::string time();
  std::string happening();
  std::string aimedHappenings();
  std::string longScript();

  host::Choices choices_;
  std::uint64_t seed_;
  std::uint64_t longSpanMs_;
  bool isLong_ = false;
  bool isSpinning_ = false;
  bool isPublished_ = false;
  std::uint64_t limitMs_ = 0;
  std::string place_;
};

std::string Draw::order() {
  constexpr std::array<std::string_view, 6> kOrders = {"uniform",  "uniform", "sticky",
                                                       "priority", "starve",  "stall"};
  return among(kOrders);
}

// A scenario's numbers have 32 bits, which is 49 days of milliseconds.
std::string ms(std::uint64_t number) {
  constexpr std::uint64_t kDay = 24 * std::uint64_t{kHour};
  const std::string days = number < kDay ? "" : std::to_string(number / kDay) + " days ";
  return days + std::to_string(number % kDay) + " ms";
}

std::string Draw::time() {
  switch (below(4)) {
    case 0:
      return ms(1 + below(1 * kSecond));
    case 1:
      return ms(1 + below(60 * kSecond));
    case 2:
      // Together with the tries for the event and the handler's polls.
      return ms(5 * kSecond * (1 + below(12)));
    default:
      return ms(1 +
                below(static_cast<std::uint32_t>(std::min<std::uint64_t>(limitMs_, kHour)) - 1));
  }
}

// One draw after the other: which operand of a sum comes first is the compiler's choice.
std::string Draw::moment() {
  switch (below(4)) {
    case 0:
      return "at " + time() + ": ";
    case 1: {
      const std::string nth = std::to_string(1 + below(3));
      return "on log " + nth + " \"" + among(kLines) + "\": ";
    }
    case 2: {
      const std::string call = among(kCalls);
      return "before " + call + " " + std::to_string(1 + below(oneIn(4) ? 60 : 6)) + ": ";
    }
    default:
      return "on status " + among(kStates) + ": ";
  }
}

std::string Draw::happening() {
  switch (below(12)) {
    case 0:
    case 1:
    case 2:
      return "signal " + std::string(kEvent);
    case 3:
      return "publish " + std::string(kEvent);
    case 4:
      return "withdraw " + std::string(kEvent);
    case 5:
      return oneIn(2) ? "network gone" : "network back";
    case 6:
      return oneIn(2) ? "power batteries" : "power mains";
    case 7:
      return "event System Microsoft-Windows-TPM-WMI " + std::string(oneIn(2) ? "1025" : "1026");
    case 8:
      return "suspend " + ms(1 + below(oneIn(2) ? 20 * kSecond : 2 * kHour));
    case 9: {
      const std::string direction = oneIn(2) ? "clock +" : "clock -";
      return direction + ms(1 + below(48 * kHour));
    }
    case 10:
      return oneIn(3) ? "control 4" : "delete " + place_ + "\\OrvixVTMEkRecertification.exe";
    default:
      return "write " + place_ + "\\..\\conf\\TPMEnrollmentService.conf: LogLevel = \"DEBUG\"\\n" +
             (oneIn(2) ? "TCBRepeaterTime = \"7\"\\n" : "");
  }
}

std::string Draw::script() {
  std::string text = "[script]\n";
  for (std::uint32_t left = below(4); left > 0; --left) {
    const std::string when = moment();
    text += when + happening() + "\n";
  }
  // What most lives need in order to end.
  if (!oneIn(4)) {
    text += "at " + time() + ": signal " + std::string(kEvent) + "\n";
  }
  for (std::uint32_t left = oneIn(2) ? 1 + below(2) : 0; left > 0; --left) {
    text += moment() + "stop\n";
  }
  if (oneIn(24)) {
    text += moment() + "end process\n";
  }
  return text + aimedHappenings();
}

// What random moments hardly ever come to.
std::string Draw::aimedHappenings() {
  std::string text;
  if (oneIn(8)) {
    text += "on log " + std::to_string(1 + below(10)) + " \"Next try in 5 sec.\": stop\n";
  }
  if (oneIn(8)) {
    for (const char* nth : {"1", "2", "3"}) {
      text += std::string("on log ") + nth + " \"Waiting for signaled event\": signal " +
              std::string(kEvent) + "\n";
    }
  }
  if (oneIn(6)) {
    text +=
        "at " + ms(kHour + below(kHour / 2)) + ": event System Microsoft-Windows-TPM-WMI 1025\n";
  }
  // While the service is still there to be seen.
  if (oneIn(6)) {
    text +=
        "on log \"Success! Task successfully registered.\": event System "
        "Microsoft-Windows-TPM-WMI 1026\n";
  }
  if (oneIn(12)) {
    text += "[faults]\nfail CreateProcessW " + std::to_string(1 + below(2)) + " with 5\n";
  }
  return text;
}

std::string Draw::longScript() {
  const std::string end = "at " + ms(limitMs_ - 2 * kHour) + ": ";
  return "[script]\n" + end + (oneIn(2) ? "stop" : "signal " + std::string(kEvent)) + "\nat " +
         ms(limitMs_ - kHour) + ": stop\n";
}

std::string Draw::answer() {
  constexpr std::array<std::string_view, 8> kAnswers = {"8",     "8",         "8", "8",
                                                        "throw", "throw int", "0", "any"};
  // The statuses that there are, and one that there is not.
  constexpr std::uint32_t kStatuses = 25;
  const bool isDelayed = oneIn(3);
  const std::string kind = among(kAnswers);
  const std::string text = kind == "any" ? std::to_string(below(kStatuses)) : kind;
  return text +
         (isDelayed && !text.starts_with("t") ? " after " + ms(1 + below(20 * kSecond)) : "");
}

std::string Draw::answers(std::string_view entry) {
  const std::string begin = std::string(entry) + " = ";
  std::string text;
  for (std::uint32_t left = oneIn(2) ? below(4) : 0; left > 0; --left) {
    text += begin + answer() + "\n";
  }
  if (isLong_ && oneIn(3)) {
    return text + begin + "8\n";
  }
  if (oneIn(60)) {
    return text + begin + (oneIn(2) ? "crash" : "never") + "\n";
  }
  const bool isDelayed = oneIn(3);
  return text + begin + "0" + (isDelayed ? " after " + ms(1 + below(9 * kSecond)) : "") + "\n";
}

std::string Draw::client() {
  const std::string late = oneIn(6) ? "talsInitHUB = 8\n" : "";
  const std::string first = late + answers("talsInitHUB");
  const std::string open = oneIn(6) ? "talsInitQX1 = 8\ntalsInitQX1 = 8\n" : "";
  return "[client]\n" + first + open + answers("talsInitQX1");
}

std::string Draw::machine() {
  isPublished_ = isLong_ || oneIn(2);
  std::string text = "[machine]\n";
  if (isPublished_) {
    text += "event = " + std::string(kEvent) + "\n";
  }
  if (oneIn(24)) {
    text += "windows = 6.1.7601\n";
  }
  if (oneIn(8)) {
    text += "network = no\n";
  }
  if (oneIn(8)) {
    text += "on batteries = yes\n";
  }
  if (oneIn(8)) {
    text += "task program exit codes = 1 1 0\n";
  }
  return text;
}

std::string Draw::stack(bool hasMoved) {
  place_ = hasMoved ? kOtherPlace : kFirstPlace;
  std::string text = "[stack]\ndirectory = " + place_ + "\n";
  if (oneIn(16)) {
    text += "recertification program = no\n";
  } else if (oneIn(8)) {
    text += "recertification program = crashes\n";
  }
  if (oneIn(60)) {
    text += oneIn(2) ? "client library = none\n" : "client library = talsClientNoInitHUB\n";
  }
  return text;
}

// Nothing for a machine that keeps what it has, or has none.
std::string Draw::config() {
  const std::string begin =
      "[file " + place_.substr(0, place_.rfind('\\')) + "\\conf\\TPMEnrollmentService.conf]\n";
  if (oneIn(40)) {
    return "";
  }
  if (oneIn(40)) {
    return begin + "LogLevel = \"DEBUG\"\nthis is no setting\n";
  }
  std::string text = begin + "LogLevel = \"DEBUG\"\n";
  if (isSpinning_) {
    return text + "TCBRepeaterTime = \"0\"\n";
  }
  if (isLong_) {
    return text;
  }
  constexpr std::array<std::string_view, 8> kTimes = {"2",  "5",   "30", "60",
                                                      "60", "300", "-1", "soon"};
  if (oneIn(5)) {
    return text;
  }
  return text + "TCBRepeaterTime = \"" + (oneIn(24) ? "4294968" : among(kTimes)) + "\"\n";
}

std::string Draw::life(unsigned number) {
  isLong_ = seed_ % 16 == 15 && number == 0;
  isSpinning_ = !isLong_ && oneIn(100);
  limitMs_ = isLong_ ? 3 * kHour + longSpanMs_ : isSpinning_ ? 60 : 2 * kHour;
  std::string text = "[scenario]\nabout = Life " + std::to_string(number + 1) + " of seed " +
                     std::to_string(seed_) + ".\nlimit = " + ms(limitMs_) + "\nend = exit 0\n";
  if (isSpinning_) {
    text += "endless loop = expected\n";
  }
  text += machine();
  const bool hasMoved = number > 0 && oneIn(2);
  // The task starts the program that stands beside the service's own.
  if (hasMoved || oneIn(3)) {
    text += "service program = " + std::string(hasMoved ? kOtherPlace : kFirstPlace) +
            "\\TPMEnrollmentService.exe\n";
  }
  text += stack(hasMoved);
  text += client();
  if (number == 0 || hasMoved || oneIn(2)) {
    text += config();
  }
  return text + (isSpinning_ ? "[script]\nat 20 ms: stop\n" : isLong_ ? longScript() : script());
}

Case Draw::whole() {
  Case one;
  one.seed = seed_ + 1;
  one.order = order();
  const unsigned lives = oneIn(4) ? 2 : 1;
  for (unsigned number = 0; number < lives; ++number) {
    one.lives.push_back(life(number));
  }
  return one;
}

}  // namespace

Case caseOfSeed(std::uint64_t seed, std::uint64_t longSpanMs) {
  return Draw(seed, longSpanMs).whole();
}

}  // namespace simulate
