#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <string>

#include "tests/machine/CheckerProcess.h"
#include "tests/machine/TemporaryFolder.h"

namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

// The program itself; what it says is tested where its parts are.
class ConfigCheckToolTest : public ::testing::Test {
 protected:
  void write(const std::string& name, const std::string& content) const {
    std::ofstream(folder_.path() / name, std::ios::binary) << content;
  }
  CheckerRun run(const std::string& script) const {
    return runCheckerScript(folder_.path(), script);
  }

  TemporaryFolder folder_;
};

TEST_F(ConfigCheckToolTest, FileOfThePersonsMachineIsReadAndLeftAsItIs) {
  write("x.conf", "LogLevel = ERROR\n");
  ASSERT_EQ(chmod((folder_.path() / "x.conf").c_str(), 0400), 0);
  const CheckerRun checked = run("config-check x.conf");
  EXPECT_EQ(checked.status, 0);
  EXPECT_EQ(checked.out,
            "x.conf\n"
            "  1  LogLevel = \"ERROR\"\n"
            "\n"
            "In force:\n"
            "  TCBRepeaterTime   3600 s      default\n"
            "  LogLevel          ERROR       line 1\n"
            "  MaxFileSize       4194304     default; read and not used\n"
            "  MaxArchiveNumber  10          default; read and not used\n"
            "\n"
            "No warnings.\n");
  EXPECT_EQ(checked.err, "");
  EXPECT_EQ(run("cat x.conf; ls").out, "LogLevel = ERROR\nx.conf\n");
}

TEST_F(ConfigCheckToolTest, AnyNameWillDo) {
  write("my \xC5\x82 file?", "a");
  const CheckerRun checked = run("config-check \"$PWD/my \xC5\x82 file?\"");
  EXPECT_EQ(checked.status, 2) << checked.err;
  EXPECT_THAT(checked.out, HasSubstr("/my \xC5\x82 file?\n  1  \"a\"\n     error: "));
}

TEST_F(ConfigCheckToolTest, TwoFilesWithTheSameNameAreTwoFiles) {
  const CheckerRun checked =
      run("mkdir a b; echo LogLevel=FATAL >a/x.conf; echo TCBRepeaterTime=9 >b/x.conf\n"
          "config-check a/x.conf --moved b/x.conf");
  EXPECT_EQ(checked.status, 0) << checked.out;
  EXPECT_THAT(checked.out, HasSubstr("  TCBRepeaterTime   9 s         file 2, line 1\n"
                                     "  LogLevel          FATAL       file 1, line 1\n"));
}

TEST_F(ConfigCheckToolTest, WhatIsNotThereIsAWarning) {
  for (const char* script : {"config-check nowhere.conf", "config-check no/folder/x.conf",
                             "ln -s loop loop; config-check loop"}) {
    const CheckerRun checked = run(script);
    EXPECT_EQ(checked.status, 1) << script;
    EXPECT_THAT(checked.out, HasSubstr("\n  warning: there is no such file")) << script;
  }
}

TEST_F(ConfigCheckToolTest, FolderIsSaid) {
  const CheckerRun checked = run("config-check .");
  EXPECT_EQ(checked.status, 1);
  EXPECT_THAT(checked.out, StartsWith(".\n  warning: this is a folder"));
}

TEST_F(ConfigCheckToolTest, PipesAndDevicesAreNoFiles) {
  for (const char* script : {"mkfifo pipe; config-check pipe", "config-check /dev/zero"}) {
    const CheckerRun checked = run(script);
    EXPECT_EQ(checked.status, 64) << script;
    EXPECT_EQ(checked.out, "") << script;
    EXPECT_THAT(checked.err, HasSubstr(" is no regular file\nUsage: config-check FILE"));
  }
}

TEST_F(ConfigCheckToolTest, WrongArgumentsAreSaidWithTheUsage) {
  const CheckerRun checked = run("config-check --moved x.conf");
  EXPECT_EQ(checked.status, 64);
  EXPECT_EQ(checked.out, "");
  EXPECT_EQ(checked.err,
            "config-check: no file is given\n"
            "Usage: config-check FILE [--moved FILE]\n"
            "       config-check --help\n");
}

TEST_F(ConfigCheckToolTest, BytesOfAProgramAreExplainedLineByLine) {
  const CheckerRun checked = run("config-check /bin/sh");
  EXPECT_EQ(checked.status, 2);
  EXPECT_THAT(checked.out, StartsWith("/bin/sh\n"));
  EXPECT_THAT(checked.out, HasSubstr("<0x7F>ELF<0x02>"));
  EXPECT_EQ(checked.err, "");
}

TEST_F(ConfigCheckToolTest, LinesOfAMebibyteAreCut) {
  write("long.conf", "a = \"" + std::string(1 << 20, 'x') + "\"\n" + std::string(1 << 20, '#') +
                         "\n" + std::string(1 << 20, 'y'));
  const CheckerRun checked = run("config-check long.conf");
  EXPECT_EQ(checked.status, 2);
  EXPECT_LT(checked.out.size(), 1500U);
  EXPECT_THAT(checked.out, HasSubstr("... (1048576 bytes)\"\n"));
}

TEST_F(ConfigCheckToolTest, OutputThatIsLostIsSaid) {
  write("x.conf", "LogLevel = ERROR\n");
  for (const char* arguments : {"x.conf", "--help"}) {
    const CheckerRun checked = run("config-check " + std::string(arguments) + " >/dev/full");
    EXPECT_EQ(checked.status, 74) << arguments;
    EXPECT_EQ(checked.err, "config-check: nothing can be written to the standard output\n");
  }
}

TEST_F(ConfigCheckToolTest, PlaceForTheDriveThatCannotBeMadeIsSaid) {
  const CheckerRun checked = run("TMPDIR=/dev/null/x config-check x.conf");
  EXPECT_EQ(checked.status, 70);
  EXPECT_THAT(checked.err, StartsWith("config-check: "));
}

}  // namespace
