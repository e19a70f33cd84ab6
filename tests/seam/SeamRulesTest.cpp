#include "tests/seam/SeamRules.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/seam/Checkout.h"

// Each rule is shown a tree that breaks it, so that a rule which cannot fail is noticed.

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using seam::Checkout;

TEST(SeamRulesTest, AllowedArrowsAreNotReported) {
  const Checkout checkout;
  checkout.write("service/A.cpp",
                 "#include \"service/A.h\"\n#include <string>\n#include \"VUSL/Support/B.h\"\n"
                 "#include \"client/C.h\"\n#include \"platform/win32.h\"\n#include \"task/D.h\"\n");
  checkout.write("client/C.h", "#include \"VUSL/Support/B.h\"\n#include \"client/E.h\"\n");
  checkout.write("task/D.h", "#include \"VUSL/SupportCore/F.h\"\n");
  checkout.write("VUSL/Support/LogSetup.cpp", "#include \"client/C.h\"\n");
  EXPECT_THAT(seam::forbiddenArrows(checkout.product()), IsEmpty());
}

TEST(SeamRulesTest, ArrowsUpwardsAreReported) {
  const Checkout checkout;
  checkout.write("VUSL/Support/B.cpp", "\n#include \"client/C.h\"\n");
  checkout.write("VUSL/Support/LogSetup.cpp", "#include \"service/A.h\"\n");
  checkout.write("client/C.cpp", "#include \"task/D.h\"\n");
  checkout.write("task/D.cpp", "#include \"client/C.h\"\n#include \"service/A.h\"\n");
  EXPECT_THAT(seam::forbiddenArrows(checkout.product()),
              ElementsAre("VUSL/Support/B.cpp:2: VUSL may not include \"client/C.h\"",
                          "VUSL/Support/LogSetup.cpp:1: VUSL may not include \"service/A.h\"",
                          "client/C.cpp:1: client may not include \"task/D.h\"",
                          "task/D.cpp:1: task may not include \"client/C.h\"",
                          "task/D.cpp:2: task may not include \"service/A.h\""));
}

TEST(SeamRulesTest, IncludesThatDoNotStartAtTheRootAreReported) {
  const Checkout checkout;
  checkout.write("client/C.cpp", "#include \"C.h\"\n#include \"../task/D.h\"\n");
  EXPECT_THAT(
      seam::forbiddenArrows(checkout.product()),
      ElementsAre("client/C.cpp:1: \"C.h\" is not a product file by its path from the root",
                  "client/C.cpp:2: \"../task/D.h\" is not a product file by its path from the "
                  "root"));
}

TEST(SeamRulesTest, OtherDoorsToThePlatformAreReported) {
  const Checkout checkout;
  checkout.write("service/A.cpp",
                 "#include <windows.h>\n#include <vector>\n#include <sys/stat.h>\n"
                 "#  include \"platform/host/Machine.h\"\n#include \"platform/wine/W.h\"\n"
                 "#include \"platform/win32.h\"\n");
  EXPECT_THAT(seam::otherDoorsToThePlatform(checkout.product()),
              ElementsAre("service/A.cpp:1: reaches \"windows.h\" past platform/win32.h",
                          "service/A.cpp:3: reaches \"sys/stat.h\" past platform/win32.h",
                          "service/A.cpp:4: reaches \"platform/host/Machine.h\" past "
                          "platform/win32.h",
                          "service/A.cpp:5: reaches \"platform/wine/W.h\" past platform/win32.h"));
}

TEST(SeamRulesTest, WindowsHeaderOutsideTheDoorIsReported) {
  const Checkout checkout;
  checkout.write("platform/win32.h", "#include <windows.h>\n");
  checkout.write("platform/host/H.cpp", "#include \"platform/host/windows/windows.h\"\n");
  checkout.write("tools/S.cpp", "#include <Windows.h>\n");
  EXPECT_THAT(seam::windowsHeaderElsewhere(seam::readTree(checkout.root(), {"platform", "tools"})),
              ElementsAre("tools/S.cpp:1: windows.h is included in platform/win32.h only"));
}

TEST(SeamRulesTest, CirclesAreReportedOnceWithTheirWay) {
  const Checkout checkout;
  checkout.write("VUSL/Support/A.h", "#include \"VUSL/SupportCore/B.h\"\n");
  checkout.write("VUSL/SupportCore/B.h", "#include \"VUSL/Support/C.h\"\n");
  checkout.write("VUSL/Support/C.h", "#include \"VUSL/Support/A.h\"\n");
  checkout.write("client/User.cpp", "#include \"VUSL/Support/C.h\"\n");
  EXPECT_THAT(seam::circles(checkout.product()),
              ElementsAre("VUSL/Support/A.h:1: included in a circle: VUSL/Support/A.h -> "
                          "VUSL/SupportCore/B.h -> VUSL/Support/C.h -> VUSL/Support/A.h"));
}

TEST(SeamRulesTest, FilesThatMeetAgainWithoutACircleAreNotReported) {
  const Checkout checkout;
  checkout.write("VUSL/Support/A.h",
                 "#include \"VUSL/Support/B.h\"\n#include \"VUSL/Support/C.h\"");
  checkout.write("VUSL/Support/B.h", "#include \"VUSL/Support/D.h\"\n");
  checkout.write("VUSL/Support/C.h", "#include \"VUSL/Support/D.h\"\n");
  checkout.write("VUSL/Support/D.h", "// #include \"VUSL/Support/A.h\"\n");
  EXPECT_THAT(seam::circles(checkout.product()), IsEmpty());
}

TEST(SeamRulesTest, ForeignFilesInProductRoomsAreReported) {
  const Checkout checkout;
  checkout.write("client/notes.txt", "later\n");
  checkout.write("client/CMakeLists.txt", "");
  checkout.write("client/lists.cmake", "");
  checkout.write("service/ATest.cpp", "#include <gtest/gtest.h>\n");
  checkout.write("task/D.cpp", "#include \"tests/support/MachineTest.h\"\n");
  EXPECT_THAT(seam::foreignFiles(checkout.product()),
              ElementsAre("client/notes.txt:1: is neither source nor build list",
                          "service/ATest.cpp:1: is a test in a product room",
                          "service/ATest.cpp:1: uses the tests' \"gtest/gtest.h\"",
                          "task/D.cpp:1: uses the tests' \"tests/support/MachineTest.h\""));
}

TEST(SeamRulesTest, ProductSourcesThatNobodyCompilesAreReported) {
  const Checkout checkout;
  checkout.write("client/Listed.cpp", "");
  checkout.write("client/Left.cpp", "");
  checkout.write("client/Left.h", "");
  EXPECT_THAT(seam::productNotCompiled(checkout.product(), checkout.root(),
                                       {checkout.path("client/Listed.cpp")}),
              ElementsAre("client/Left.cpp:1: is compiled nowhere: it misses in its room's list"));
}

TEST(SeamRulesTest, TestFilesThatRunNothingAreReported) {
  const Checkout checkout;
  checkout.write("tests/unit/sources.cmake",
                 "list(APPEND s ${CMAKE_CURRENT_LIST_DIR}/GoodTest.cpp)\n"
                 "list(APPEND s EmptyTest.cpp LonelyTest.cpp)\n# UnlistedTest.cpp\n");
  checkout.write("tests/unit/EmptyTest.cpp", "// TEST(Empty, A) {}\n/*\nTEST(Empty, B) {}\n*/\n");
  checkout.write("tests/unit/GoodTest.cpp", "TEST_F(GoodTest, A) {}\n");
  checkout.write("tests/unit/LonelyTest.cpp", "TEST(LonelyTest, A) {}\n");
  checkout.write("tests/unit/UnlistedTest.cpp", "TYPED_TEST(UnlistedTest, A) {}\n");
  checkout.write("tests/unit/sub/OtherTest.cpp", "TEST_P(OtherTest, A) {}\n");
  checkout.write("tests/whole/CMakeLists.txt", "add_executable(whole\n  WholeTest.cpp)\n");
  checkout.write("tests/whole/WholeTest.cpp", "TEST(WholeTest, A) {}\n");
  const std::vector<std::string> compiled = {
      checkout.path("tests/unit/EmptyTest.cpp"), checkout.path("tests/unit/GoodTest.cpp"),
      checkout.path("tests/unit/UnlistedTest.cpp"), checkout.path("tests/unit/sub/OtherTest.cpp"),
      checkout.path("tests/whole/WholeTest.cpp")};
  EXPECT_THAT(
      seam::idleTestFiles(checkout.tests(), checkout.root(), compiled),
      ElementsAre(
          "tests/unit/EmptyTest.cpp:1: contains no test",
          "tests/unit/LonelyTest.cpp:1: is compiled nowhere: nothing takes in its folder's list",
          "tests/unit/UnlistedTest.cpp:1: stands in no build list of its folder",
          "tests/unit/sub/OtherTest.cpp:1: stands in no build list of its folder"));
}

TEST(SeamRulesTest, LongFilesAndLongLinesAreReported) {
  const Checkout checkout;
  std::string fiveHundred;
  for (int line = 0; line < 500; ++line) {
    fiveHundred += "\n";
  }
  checkout.write("client/Fits.cpp", fiveHundred);
  checkout.write("client/Long.cpp", fiveHundred + "\n");
  // The second line has 100 characters, one of which takes two bytes.
  checkout.write("client/Wide.cpp", std::string(101, 'x') + "\n" + std::string(99, 'x') +
                                        "\xC3\xA9\n" + std::string(100, 'x') + "\n");
  EXPECT_THAT(seam::tooLong(checkout.product(), {}),
              ElementsAre("client/Long.cpp:501: the file has 501 lines, 500 are allowed",
                          "client/Wide.cpp:1: the line has 101 columns, 100 are allowed"));
}

TEST(SeamRulesTest, LongScriptsAreReportedUnlessTheyAreKnown) {
  const Checkout checkout;
  std::string tooMany;
  for (int line = 0; line < 501; ++line) {
    tooMany += "\n";
  }
  checkout.write("dev", tooMany);
  checkout.write("tests/known_test.sh", tooMany);
  checkout.write("tests/short_test.sh", std::string(101, 'x') + "\n");
  checkout.write("tests/CMakeLists.txt", tooMany);
  checkout.write("tests/help.c", std::string(101, 'x') + "\n");
  checkout.write("tests/table.txt", tooMany);
  EXPECT_THAT(seam::tooLong(seam::readTree(checkout.root(), {"dev", "tests"}),
                            {"tests/known_test.sh", "tests/short_test.sh"}),
              ElementsAre("dev:501: the file has 501 lines, 500 are allowed",
                          "tests/CMakeLists.txt:501: the file has 501 lines, 500 are allowed",
                          "tests/help.c:1: the line has 101 columns, 100 are allowed",
                          "tests/short_test.sh:1: the file is not too long"));
}

TEST(SeamRulesTest, TestsThatLeaveThemselvesOutAreReportedUnlessTheyAreKnown) {
  const Checkout checkout;
  checkout.write("tests/ATest.cpp", "TEST(A, a) {\n  GTEST_SKIP() << \"later\";\n}\n");
  checkout.write("tests/BTest.cpp", "TEST(B, a) {\n  if (no) GTEST_SKIP();\n}\n");
  checkout.write("tests/CTest.cpp", "TEST(C, a) {}  // GTEST_SKIP()\n");
  EXPECT_THAT(seam::skippedTests(checkout.tests(), {"tests/BTest.cpp", "tests/CTest.cpp"}),
              ElementsAre("tests/ATest.cpp:2: a test leaves itself out",
                          "tests/CTest.cpp: no test leaves itself out"));
}

TEST(SeamRulesTest, ArrowsBesideTheProductAreReported) {
  const Checkout checkout;
  checkout.write("bench/B.cpp", "#include \"client/C.h\"\n#include \"tests/support/T.h\"\n");
  checkout.write("platform/host/H.cpp",
                 "#include \"platform/win32.h\"\n#include \"client/C.h\"\n"
                 "#include \"tools/T.h\"\n#include \"generated.h\"\n");
  checkout.write("standins/S.c", "#include \"standins/S.h\"\n#include \"task/D.h\"\n");
  checkout.write("tools/T.cpp",
                 "#include \"service/A.h\"\n#include \"tools/T.h\"\n"
                 "#include \"bench/B.h\"\n#include \"tests/support/T.h\"\n");
  EXPECT_THAT(seam::forbiddenArrowsBeside(
                  seam::readTree(checkout.root(), {"bench", "platform", "standins", "tools"})),
              ElementsAre("bench/B.cpp:2: bench may not include \"tests/support/T.h\"",
                          "platform/host/H.cpp:2: platform may not include \"client/C.h\"",
                          "platform/host/H.cpp:3: platform may not include \"tools/T.h\"",
                          "standins/S.c:2: standins may not include \"task/D.h\"",
                          "tools/T.cpp:3: tools may not include \"bench/B.h\"",
                          "tools/T.cpp:4: tools may not include \"tests/support/T.h\""));
}

TEST(SeamRulesTest, CommentsGoAndTextLiteralsStay) {
  EXPECT_EQ(seam::withoutComments("a(\"//x\"); // y\nb('\"'); /* c\nd */ e(1'000);\n"),
            "a(\"//x\"); \nb('\"'); \n e(1'000);\n");
  EXPECT_EQ(seam::withoutComments("f(R\"(\" // kept)\"); // gone"), "f(R\"(\" // kept)\"); ");
}

TEST(SeamRulesTest, CompiledFilesComeFromTheCompileDatabase) {
  const Checkout checkout;
  checkout.write("compile_commands.json",
                 "[{\n  \"command\": \"c++ -c /x/b.cpp\",\n  \"file\": \"/x/b.cpp\"\n},\n"
                 "{\n  \"file\": \"/x/a.cpp\"\n}]\n");
  EXPECT_THAT(seam::compiledFiles(checkout.root() / "compile_commands.json"),
              ElementsAre("/x/a.cpp", "/x/b.cpp"));
  EXPECT_THROW(seam::compiledFiles(checkout.root() / "missing.json"), std::runtime_error);
}

}  // namespace
