#include "tools/config-check/ConfigCheck.h"

#include <cstdint>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "VUSL/Support/ConfigMgmt.h"
#include "VUSL/Support/Exception.h"
#include "platform/host/DriveLimits.h"
#include "tests/support/MachineTest.h"

namespace {

constexpr char kInForceByDefault[] =
    "\nIn force:\n"
    "  TCBRepeaterTime   3600 s      default\n"
    "  LogLevel          INFO        default\n"
    "  MaxFileSize       4194304     default; read and not used\n"
    "  MaxArchiveNumber  10          default; read and not used\n";

class ConfigCheckTest : public host::MachineTest {
 protected:
  static void write(const std::wstring& name, const std::string& content) {
    host::machine().drive.write(L"C:\\conf\\" + name, content);
  }

  int check(const std::vector<std::string>& arguments) {
    out.str("");
    err.str("");
    return config_check::run(
        arguments, [](const std::string& name) { return "C:\\conf\\" + name; }, out, err);
  }

  int checkContent(const std::string& content) {
    write(L"x.conf", content);
    return check({"x.conf"});
  }

  std::ostringstream out;
  std::ostringstream err;
};

TEST_F(ConfigCheckTest, FileInOrderHasStatusZero) {
  EXPECT_EQ(checkContent("# mine\nLogLevel = \"DEBUG\"\nTCBRepeaterTime = \"60\"\n"), 0);
  EXPECT_EQ(out.str(),
            "x.conf\n"
            "  1  (comment)\n"
            "  2  LogLevel = \"DEBUG\"\n"
            "  3  TCBRepeaterTime = \"60\"\n"
            "\n"
            "In force:\n"
            "  TCBRepeaterTime   60 s        line 3\n"
            "  LogLevel          DEBUG       line 2\n"
            "  MaxFileSize       4194304     default; read and not used\n"
            "  MaxArchiveNumber  10          default; read and not used\n"
            "\n"
            "No warnings.\n");
  EXPECT_EQ(err.str(), "");
}

TEST_F(ConfigCheckTest, EmptyFileIsInOrder) {
  EXPECT_EQ(checkContent(""), 0);
  EXPECT_EQ(out.str(), "x.conf\n  (empty)\n" + std::string(kInForceByDefault) + "\nNo warnings.\n");
}

TEST_F(ConfigCheckTest, ValueOfNoUseIsAWarningAndTheDefaultNamesItsLine) {
  EXPECT_EQ(checkContent("TCBRepeaterTime = -5\nLogLevel = loud\nMaxFileSize = big\n"), 1);
  const std::string text = out.str();
  EXPECT_NE(text.find("  TCBRepeaterTime   3600 s      default, because of line 1\n"
                      "  LogLevel          (silent)    line 2\n"
                      "  MaxFileSize       4194304     default, because of line 3; read and not "
                      "used\n"
                      "  MaxArchiveNumber  10          default; read and not used\n"
                      "\n"
                      "3 warnings.\n"),
            std::string::npos)
      << text;
}

TEST_F(ConfigCheckTest, CorruptedFileLeavesTheDefaultsAndHasStatusTwo) {
  EXPECT_EQ(checkContent("LogLevel = DEBUG\nno setting\nTCBRepeatTime = 5\n"), 2);
  EXPECT_EQ(out.str(),
            "x.conf\n"
            "  1  LogLevel = \"DEBUG\"\n"
            "  2  \"no setting\"\n"
            "     error: there is no \"=\" in this line, so the service calls the whole file "
            "corrupted\n"
            "  3  TCBRepeatTime = \"5\"\n"
            "     warning: the service does not read this key; did you mean TCBRepeaterTime?\n" +
                std::string(kInForceByDefault) +
                "\n"
                "Corrupted: the service uses the defaults in its place. 1 warning.\n");
}

TEST_F(ConfigCheckTest, MissingFileIsAWarning) {
  EXPECT_EQ(check({"nowhere.conf"}), 1);
  EXPECT_EQ(out.str(),
            "nowhere.conf\n"
            "  warning: there is no such file, so the service uses its defaults\n" +
                std::string(kInForceByDefault) + "\n1 warning.\n");
}

TEST_F(ConfigCheckTest, FolderIsAWarningBecauseTheServiceDoesNotComplain) {
  host::machine().drive.createFolder(L"C:\\conf\\folder.conf");
  EXPECT_EQ(check({"folder.conf"}), 1);
  EXPECT_EQ(out.str(),
            "folder.conf\n"
            "  warning: this is a folder, in which the service sees an empty file\n" +
                std::string(kInForceByDefault) + "\n1 warning.\n");
}

TEST_F(ConfigCheckTest, FileThatMayNotBeReadIsCorrupted) {
  write(L"x.conf", "LogLevel = DEBUG\n");
  host::driveLimits().deny(L"C:\\conf\\x.conf");
  EXPECT_EQ(check({"x.conf"}), 2);
  EXPECT_EQ(out.str(),
            "x.conf\n"
            "  error: it cannot be read, so the service calls it corrupted: Error when opening "
            "file x.conf Last error: 5\n" +
                std::string(kInForceByDefault) +
                "\nCorrupted: the service uses the defaults in its place. No warnings.\n");
}

TEST_F(ConfigCheckTest, TwoFilesAreReadByOneReaderEach) {
  write(L"log.conf", "LogLevel = DEBUG\nTCBRepeaterTime = 7\n");
  write(L"own.conf", "TCBRepeaterTime = 4\n");
  EXPECT_EQ(check({"log.conf", "--moved", "own.conf"}), 1);
  EXPECT_EQ(out.str(),
            "File 1, read for the log: log.conf\n"
            "  1  LogLevel = \"DEBUG\"\n"
            "  2  TCBRepeaterTime = \"7\"\n"
            "     warning: the service reads this key from the other file\n"
            "\n"
            "File 2, read for the wait: own.conf\n"
            "  1  TCBRepeaterTime = \"4\"\n"
            "\n"
            "In force:\n"
            "  TCBRepeaterTime   4 s         file 2, line 1\n"
            "  LogLevel          DEBUG       file 1, line 1\n"
            "  MaxFileSize       4194304     default; read and not used\n"
            "  MaxArchiveNumber  10          default; read and not used\n"
            "\n"
            "1 warning.\n");
}

TEST_F(ConfigCheckTest, OneCorruptedFileOfTwoIsEnoughAndSpoilsOnlyItself) {
  write(L"log.conf", "LogLevel = DEBUG\n");
  write(L"own.conf", "TCBRepeaterTime = 4\nx\n");
  EXPECT_EQ(check({"log.conf", "--moved", "own.conf"}), 2);
  EXPECT_NE(out.str().find("  TCBRepeaterTime   3600 s      default\n"
                           "  LogLevel          DEBUG       file 1, line 1\n"),
            std::string::npos)
      << out.str();
}

TEST_F(ConfigCheckTest, WrongArgumentsAreSaidWithTheUsage) {
  EXPECT_EQ(check({}), 64);
  EXPECT_EQ(out.str(), "");
  EXPECT_EQ(err.str(),
            "config-check: no file is given\n"
            "Usage: config-check FILE [--moved FILE]\n"
            "       config-check --help\n");
}

TEST_F(ConfigCheckTest, HelpNamesEachOptionAndStatus) {
  EXPECT_EQ(check({"--help"}), 0);
  for (const char* piece :
       {"Usage: config-check FILE [--moved FILE]\n", "\n  --moved FILE  ", "\n  --help  ",
        "TALS_TPM_ENROLLMENT_SERVICE_CONF_PATH", "Exit status: 0 ", " 64 ", " 70 ", " 74 "}) {
    EXPECT_NE(out.str().find(piece), std::string::npos) << piece;
  }
}

TEST_F(ConfigCheckTest, WhatIsNoFileIsAWrongArgument) {
  const auto refuse = [](const std::string& name) -> std::string {
    throw config_check::NoConfigurationFile(name + " is no regular file");
  };
  EXPECT_EQ(config_check::run({"pipe"}, refuse, out, err), 64);
  EXPECT_TRUE(err.str().starts_with("config-check: pipe is no regular file\nUsage: ")) << err.str();
}

TEST_F(ConfigCheckTest, FailureOfTheCheckerItselfIsNoVerdictOnTheFile) {
  const auto fail = [](const std::string&) -> std::string { throw std::runtime_error("no drive"); };
  EXPECT_EQ(config_check::run({"x.conf"}, fail, out, err), 70);
  EXPECT_EQ(err.str(), "config-check: no drive\n");
}

TEST_F(ConfigCheckTest, OutputThatIsLostIsSaid) {
  write(L"x.conf", "");
  out.setstate(std::ios::badbit);
  EXPECT_EQ(check({"x.conf"}), 74);
  EXPECT_EQ(err.str(), "config-check: nothing can be written to the standard output\n");
}

// Lines of a few characters that matter to the reader, drawn by a generator of our own.
std::string drawnContent(std::uint64_t seed) {
  constexpr std::string_view kCharacters = "abcde======\"# \t\r\n\xEF";
  std::uint64_t state = seed;
  std::string content;
  for (int i = 0; i < 40; ++i) {
    state = state * 6364136223846793005U + 1442695040888963407U;
    content += kCharacters[(state >> 33U) % kCharacters.size()];
  }
  return content;
}

// The lines are explained one by one; the verdict comes from the product's reading of the file.
TEST_F(ConfigCheckTest, LinesAndVerdictAgreeOnAnyBytes) {
  int corrupted = 0;
  for (std::uint64_t seed = 1; seed <= 500; ++seed) {
    const int status = checkContent(drawnContent(seed));
    const bool hasErrors = out.str().find("\n     error: ") != std::string::npos ||
                           out.str().find("\n      error: ") != std::string::npos;
    EXPECT_EQ(status == 2, hasErrors) << out.str();
    corrupted += hasErrors ? 1 : 0;
  }
  EXPECT_GT(corrupted, 50);
  EXPECT_LT(corrupted, 450);
}

}  // namespace
