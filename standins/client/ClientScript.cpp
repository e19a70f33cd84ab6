#include "standins/client/ClientScript.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "standins/client/ClientPlatform.h"

namespace client_standin {

namespace {

constexpr char kScriptName[] = "talsClient.script";
constexpr char kEntryWithCallback[] = "talsUsePermit";
constexpr char kBlanks[] = " \t\r\n";

[[noreturn]] void refuse(const std::string& path, std::size_t line, const char* reason) {
  std::fprintf(stderr, "%s:%zu: %s\n", path.c_str(), line, reason);
  std::fflush(stderr);
  std::abort();
}

std::vector<std::string> wordsOf(const std::string& text) {
  std::vector<std::string> words;
  std::size_t begin = text.find_first_not_of(kBlanks);
  while (begin != std::string::npos) {
    const std::size_t end = text.find_first_of(kBlanks, begin);
    words.push_back(text.substr(begin, end - begin));
    begin = text.find_first_not_of(kBlanks, end);
  }
  return words;
}

bool readNumber(const std::string& word, long long least, long long greatest, long long& number) {
  char* end = nullptr;
  errno = 0;
  number = std::strtoll(word.c_str(), &end, 10);
  return errno == 0 && end != word.c_str() && *end == '\0' && number >= least && number <= greatest;
}

// The words of an answer, taken one after the other.
class Words {
 public:
  explicit Words(const std::string& text) : words_(wordsOf(text)) {}

  bool atEnd() const { return at_ == words_.size(); }

  // Takes the next word if it is this one.
  bool take(const char* word) {
    if (atEnd() || words_[at_] != word) return false;
    ++at_;
    return true;
  }

  // Takes the next word if it is a number in this range.
  bool takeNumber(long long least, long long greatest, long long& number) {
    if (atEnd() || !readNumber(words_[at_], least, greatest, number)) return false;
    ++at_;
    return true;
  }

  // Takes "<number> ms". The greatest number means an endless sleep, which is what "never" is for.
  bool takeTime(std::uint32_t& milliseconds) {
    long long number = 0;
    if (!takeNumber(0, kGreatest - 1, number) || !take("ms")) return false;
    milliseconds = static_cast<std::uint32_t>(number);
    return true;
  }

  static constexpr long long kGreatest = std::numeric_limits<std::uint32_t>::max();

 private:
  std::vector<std::string> words_;
  std::size_t at_ = 0;
};

// Each reader returns the reason for which the text is malformed, null when it is not.
const char* readKind(Words& words, Answer& answer) {
  long long number = 0;
  if (words.take("throw")) {
    answer.kind = words.take("int") ? Answer::Kind::kThrowInt : Answer::Kind::kThrow;
  } else if (words.take("crash")) {
    answer.kind = Answer::Kind::kCrash;
  } else if (words.take("never")) {
    answer.kind = Answer::Kind::kNever;
  } else if (words.takeNumber(std::numeric_limits<std::int32_t>::min(),
                              std::numeric_limits<std::int32_t>::max(), number)) {
    answer.status = static_cast<std::int32_t>(number);
  } else {
    return "the answer is neither a 32-bit status nor throw, throw int, crash or never";
  }
  return nullptr;
}

// What follows the word "progress".
const char* readProgress(Words& words, const std::string& entry, Progress& progress) {
  if (entry != kEntryWithCallback) return "only talsUsePermit is handed somebody to report to";
  long long number = 0;
  while (words.takeNumber(0, Words::kGreatest, number)) {
    progress.states.push_back(static_cast<std::uint32_t>(number));
  }
  if (progress.states.empty()) return "there are no steps after the word progress";
  if (words.take("every") && !words.takeTime(progress.everyMs)) {
    return "the time between two steps is no number of milliseconds";
  }
  return nullptr;
}

const char* readAnswer(const std::string& text, const std::string& entry, Answer& answer) {
  Words words(text);
  if (words.atEnd()) return "there is no answer after the =";
  if (const char* const reason = readKind(words, answer)) return reason;
  if (words.take("progress")) {
    if (const char* const reason = readProgress(words, entry, answer.progress)) return reason;
  }
  if (words.take("after") && !words.takeTime(answer.delayMs)) {
    return "the time is no number of milliseconds";
  }
  if (!words.atEnd()) return "an answer may only be followed by: after <number> ms";
  return nullptr;
}

bool isKnown(const std::vector<const char*>& knownEntries, const std::string& entry) {
  for (const char* const known : knownEntries) {
    if (entry == known) return true;
  }
  return false;
}

const char* readLine(const std::string& text, const std::vector<const char*>& knownEntries,
                     ScriptLine& line) {
  const std::size_t equals = text.find('=');
  if (equals == std::string::npos) return "there is no =";
  const std::vector<std::string> names = wordsOf(text.substr(0, equals));
  if (names.size() != 1) return "there must be one entry before the =";
  if (!isKnown(knownEntries, names[0])) return "the client library has no such entry";
  line.entry = names[0];
  return readAnswer(text.substr(equals + 1), line.entry, line.answer);
}

// False for a line that is blank or nothing but a comment.
bool hasContent(std::string& text) {
  text.resize(std::strcspn(text.c_str(), "#"));
  return !wordsOf(text).empty();
}

// Returns false at the end of the file.
bool readText(std::FILE* file, std::string& text) {
  text.clear();
  int character = std::fgetc(file);
  if (character == EOF) return false;
  while (character != EOF && character != '\n') {
    text.push_back(static_cast<char>(character));
    character = std::fgetc(file);
  }
  return true;
}

}  // namespace

const char* scriptFault(std::string text, const std::vector<const char*>& knownEntries) {
  ScriptLine unused;
  return hasContent(text) ? readLine(text, knownEntries, unused) : nullptr;
}

Script loadScript(const std::vector<const char*>& knownEntries) {
  std::string path = kScriptName;
  std::FILE* const file = openBesideLibrary(kScriptName, path);
  if (file == nullptr && errno == ENOENT) return {};
  if (file == nullptr) refuse(path, 0, std::strerror(errno));

  Script script;
  std::string text;
  for (std::size_t number = 1; readText(file, text); ++number) {
    if (!hasContent(text)) continue;
    ScriptLine line;
    const char* const reason = readLine(text, knownEntries, line);
    if (reason != nullptr) refuse(path, number, reason);
    script.push_back(line);
  }
  std::fclose(file);
  return script;
}

Answer answerOf(const Script& script, const char* entry, std::size_t call) {
  Answer answer;
  std::size_t seen = 0;
  for (const ScriptLine& line : script) {
    if (line.entry != entry) continue;
    answer = line.answer;
    if (seen++ == call) break;
  }
  return answer;
}

}  // namespace client_standin
