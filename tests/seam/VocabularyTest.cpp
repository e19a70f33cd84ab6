#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <map>
#include <set>
#include <utility>

#include "tests/seam/SeamRules.h"

// Each word by which the system is configured stands once, in the settings, and no other product
// file spells it.

namespace {

constexpr char kSettings[] = "VUSL/Support/Settings.h";

// Words that may stand in no text at all.
const std::set<std::string> kKeysAndVariables = {
    "TCBRepeaterTime",
    "LogLevel",
    "MaxFileSize",
    "MaxArchiveNumber",
    "TALS_LOGDIR_PATH",
    "TALS_CONFDIR_PATH",
    "TALS_X509_CERT_PATH",
    "TALS_EPID_LEGACY_CERT_PATH",
    "TALS_CACERT_PATH",
    "TALS_EPID1_PARAMCERT_PATH",
    "TALS_EPID2_PARAMCERT_PATH",
    "TALS_PROXY_CONF_PATH",
    "TALS_VTM_CONF_PATH",
    "TALS_TPM_ENROLLMENT_SERVICE_CONF_PATH",
    "TALS_VTM_RECERT_LOG_PATH",
    "TALS_CLIENT_LOG_PATH",
    "TALS_PROXY_LOG_PATH",
    "TALS_TPM_ENROLLMENT_SERVICE_CONF_LOG",
};

// Words that may be no whole text. Inside of others they are words of a sentence, or parts of names
// that have a meaning of their own.
const std::set<std::string> kNames = {
    "DEBUG",     "INFO",  "ERROR",
    "FATAL",     "NONE",  "talsClient",
    "talsProxy", "conf",  "OrvixVTMEKRecertification",
    "log",       ".conf", "TPMEnrollmentService",
    ".log",      ".dll",  "\\\\",
};

// Names made of two of those words. Nobody spells them, the settings no more than the others.
const std::set<std::string> kJoinedNames = {
    "talsClient.dll",
    "talsProxy.dll",
    "talsProxy.conf",
    "OrvixVTMEKRecertification.conf",
    "TPMEnrollmentService.conf",
    "OrvixVTMEKRecertification.log",
    "talsClient.log",
    "talsProxy.log",
    "TPMEnrollmentService.log",
};

// The same text with another meaning.
const std::set<std::pair<std::string, std::string>> kOtherMeanings = {
    // The root folder of the scheduled tasks; no path of files.
    {"task/TaskConnection.cpp", "\\\\"},
};

// The texts between quotes of a line of code, as they are written; includes have none.
std::vector<std::string> textsOf(const std::string& code) {
  std::vector<std::string> texts;
  if (code.starts_with("#include")) {
    return texts;
  }
  bool inside = false;
  for (std::size_t at = 0; at < code.size(); ++at) {
    const bool isQuote = code[at] == '"';
    if (!inside && isQuote) {
      const bool isCharacter = at > 0 && code[at - 1] == '\'';
      inside = !isCharacter;
      if (inside) {
        texts.emplace_back();
      }
    } else if (inside && isQuote) {
      inside = false;
    } else if (inside) {
      texts.back() += code[at];
      if (code[at] == '\\' && at + 1 < code.size()) {
        texts.back() += code[++at];
      }
    }
  }
  return texts;
}

bool isPartOfWord(char character) {
  return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '_';
}

bool containsWord(const std::string& text, const std::string& word) {
  for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) {
    const std::size_t end = at + word.size();
    if ((at == 0 || !isPartOfWord(text[at - 1])) &&
        (end == text.size() || !isPartOfWord(text[end]))) {
      return true;
    }
  }
  return false;
}

bool spells(const std::string& file, const std::string& text) {
  if (kNames.contains(text) || kJoinedNames.contains(text)) {
    return !kOtherMeanings.contains({file, text});
  }
  return std::any_of(kKeysAndVariables.begin(), kKeysAndVariables.end(),
                     [&text](const std::string& word) { return containsWord(text, word); });
}

seam::Findings spelledElsewhere(const seam::SourceTree& product) {
  seam::Findings findings;
  for (const auto& [name, file] : product) {
    for (std::size_t index = 0; name != kSettings && index < file.code.size(); ++index) {
      for (const std::string& text : textsOf(file.code[index])) {
        if (spells(name, text)) {
          findings.push_back(name + ":" + std::to_string(index + 1) + ": spells \"" + text + "\"");
        }
      }
    }
  }
  return findings;
}

seam::Findings spelledBy(const std::string& code, const std::string& name = "service/A.cpp") {
  seam::SourceFile file;
  file.name = name;
  file.code = {code};
  return spelledElsewhere({{name, file}});
}

seam::SourceTree product() {
  return seam::readTree(SOURCE_ROOT, seam::kProductRooms);
}

TEST(VocabularyTest, NoOtherProductFileSpellsAWord) {
  EXPECT_THAT(spelledElsewhere(product()), ::testing::IsEmpty());
}

TEST(VocabularyTest, TheSettingsHoldEachWordOnceAndNoOther) {
  std::map<std::string, int> counts;
  const std::vector<std::string> code = product().at(kSettings).code;
  for (const std::string& line : code) {
    for (const std::string& text : textsOf(line)) {
      ++counts[text];
    }
  }
  std::set<std::string> words = kKeysAndVariables;
  words.insert(kNames.begin(), kNames.end());
  for (const auto& [word, count] : counts) {
    EXPECT_EQ(count, 1) << word;
    EXPECT_TRUE(words.contains(word)) << word;
  }
  for (const std::string& word : words) {
    EXPECT_TRUE(counts.contains(word)) << word;
  }
}

TEST(VocabularyTest, KeysAndVariablesAreFoundInsideOfTexts) {
  EXPECT_THAT(spelledBy("f(\"the LogLevel is\");"),
              ::testing::ElementsAre("service/A.cpp:1: spells \"the LogLevel is\""));
  EXPECT_THAT(spelledBy("f(L\"TALS_LOGDIR_PATH=x\");"), ::testing::SizeIs(1));
  EXPECT_THAT(spelledBy("f(\"parseLogLevels\");"), ::testing::IsEmpty());
}

TEST(VocabularyTest, NamesAreFoundAsWholeTexts) {
  EXPECT_THAT(spelledBy("f(L\"talsProxy\", \"\\\\\");"), ::testing::SizeIs(2));
  EXPECT_THAT(spelledBy("f(\"talsProxy.conf\", \"OrvixVTMEKRecertification.conf\");"),
              ::testing::SizeIs(2));
  EXPECT_THAT(spelledBy("f(\"talsClient.log\", \"talsProxy.log\");"), ::testing::SizeIs(2));
  EXPECT_THAT(spelledBy("f(\"Closing talsClient access layer\");"), ::testing::IsEmpty());
  EXPECT_THAT(spelledBy("#include \"log\""), ::testing::IsEmpty());
}

TEST(VocabularyTest, TheSameTextWithAnotherMeaningStandsInItsOnePlace) {
  EXPECT_THAT(spelledBy("f(L\"\\\\\");", "task/TaskConnection.cpp"), ::testing::IsEmpty());
  EXPECT_THAT(spelledBy("f(L\"log\");", "task/TaskConnection.cpp"), ::testing::SizeIs(1));
}

}  // namespace
