#include "tests/seam/StyleRules.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/seam/Checkout.h"
#include "tests/seam/CodeBlocks.h"

// Each rule is shown a tree that breaks it, so that a rule which cannot fail is noticed.

namespace {

using seam::Checkout;
using testing::ElementsAre;
using testing::IsEmpty;

std::string lines(int count) {
  std::string text;
  for (int i = 0; i < count; ++i) {
    text += "  f();\n";
  }
  return text;
}

TEST(StyleRulesTest, LongFunctionsAreReported) {
  const Checkout checkout;
  checkout.write("client/A.cpp", "namespace a {\n\nvoid fits(int x,\n          int y) {\n" +
                                     lines(67) + "}\n\nvoid doesNot() {\n" + lines(69) +
                                     "}\n\n}  // namespace a\n");
  checkout.write("client/B.h", "class B {\n public:\n  B() : a_{1}, b_(2) {\n" + lines(69) +
                                   "  }\n  int a_ = 0;\n};\n");
  checkout.write("client/C.cpp",
                 "const int table[] = {\n" + lines(90) + "};\nTEST(C, D) {\n" + lines(69) + "}\n");
  EXPECT_THAT(seam::longFunctions(checkout.product()),
              ElementsAre("client/A.cpp:74: the function has 71 lines, 70 are allowed",
                          "client/B.h:3: the function has 71 lines, 70 are allowed",
                          "client/C.cpp:93: the function has 71 lines, 70 are allowed"));
}

TEST(StyleRulesTest, BracesInTextsAndPreprocessorLinesAreNone) {
  const Checkout checkout;
  checkout.write(
      "client/A.cpp",
      "void a() {\n  f(\"}\", '{', R\"x(}}}{\n})x\");\n#if 0\n#define X {{\\\n{\n#endif\n" +
          lines(62) + "}\nvoid b() {\n" + lines(69) + "}\n");
  EXPECT_THAT(seam::longFunctions(checkout.product()),
              ElementsAre("client/A.cpp:71: the function has 71 lines, 70 are allowed"));
}

TEST(StyleRulesTest, CallsByNarrowNamesAreReported) {
  const Checkout checkout;
  checkout.write("platform/host/windows/Files.h",
                 "HANDLE CreateFileW(const wchar_t* name);\nBOOL CloseHandle(HANDLE handle);\n");
  checkout.write(
      "client/A.cpp",
      "void a() {\n  CreateFileW(L\"x\");\n  CloseHandle(h);\n  x = CreateFileA(\"x\");\n"
      "  ::CreateFile(\"x\");\n  mine.CreateFile(1);\n  mine::CreateFile(1);\n"
      "  CreateFileAgain(1);  // CreateFileA(\n  RegSetValueExA(k);\n}\n");
  checkout.write("client/B.h", "inline void b() {\n  CreateFile(\"x\");\n}\n");
  EXPECT_THAT(seam::narrowPlatformCalls(checkout.product(),
                                        seam::readTree(checkout.root(), {"platform/host/windows"})),
              ElementsAre("client/A.cpp:4: CreateFile is not called by its wide name",
                          "client/A.cpp:5: CreateFile is not called by its wide name",
                          "client/A.cpp:9: RegSetValueEx is not called by its wide name",
                          "client/B.h:2: CreateFile is not called by its wide name"));
}

TEST(StyleRulesTest, UndocumentedHeadersAreReported) {
  const Checkout checkout;
  checkout.write("client/A.h", R"(#pragma once

class Bare {
 public:
  // Makes one.
  explicit Bare(int size);
  ~Bare();

  void alone();
  int size() const { return size_; }

  // Both of these do something.
  void first();
  void second(int a,
              int b);

 private:
  void inside();
  int size_ = 0;
};

// Does something.
void told();

void untold();

enum class Untold { kOne, kTwo };

inline constexpr int kNumber = 3;
)");
  EXPECT_THAT(seam::undocumented(checkout.product()),
              ElementsAre("client/A.h:3: no comment on: class Bare ",
                          "client/A.h:9: no comment on: void alone()",
                          "client/A.h:25: no comment on: void untold()",
                          "client/A.h:27: no comment on: enum class Untold {}"));
}

TEST(StyleRulesTest, TextsThatStandTwiceAreReported) {
  const Checkout checkout;
  checkout.write("client/A.cpp",
                 "#include \"client/AnotherHeader.h\"\nf(\"Eight si\");\nf(\"Seven s\");\n");
  checkout.write("client/B.cpp",
                 "#include \"client/AnotherHeader.h\"\ng(L\"Eight \"\n  \"si\");\n"
                 "f(\"Seven s\");\n// \"Eight si\"\n");
  EXPECT_THAT(seam::textsTwice(checkout.product()),
              ElementsAre("client/B.cpp:2: \"Eight si\" stands at client/A.cpp:2 already"));
}

// What a checker is told is put together here, so that this file itself has no exception.
TEST(StyleRulesTest, ExceptionsWithoutAReasonAreReported) {
  const Checkout checkout;
  const std::string next =
      "// NO"
      "LINTNEXTLINE(a-check)";
  const std::string cppcheck =
      "// cpp"
      "check-suppress aCheck";
  checkout.write("client/A.cpp", next + ": it has a reason\nf();\n// A reason for both.\n" +
                                     cppcheck + "\n" + next + "\nf();\n\n" + next + "\nf();\n");
  checkout.write("client/B.cpp",
                 "f();  // NO"
                 "LINT\n// Why.\n// NO"
                 "LINTBEGIN(a-check)\nf();\n"
                 "// NO"
                 "LINTEND(a-check)\n" +
                     cppcheck + "\nf();\n");
  checkout.write(".clang-tidy",
                 "Checks:\n  - '-*'\n  - 'a-*'\n  # Why.\n  - '-a-one'\n"
                 "  - '-a-two'\n");
  EXPECT_THAT(
      seam::exceptionsWithoutReason(seam::readTree(checkout.root(), {".clang-tidy", "client"})),
      ElementsAre(".clang-tidy:6: passed over without a reason beside it",
                  "client/A.cpp:8: passed over without a reason beside it",
                  "client/B.cpp:1: passed over without a reason beside it",
                  "client/B.cpp:6: passed over without a reason beside it"));
}

TEST(StyleRulesTest, DeclarationsAreToldApart) {
  const Checkout checkout;
  checkout.write("client/A.h",
                 "struct S {\n  int a = 1;\n private:\n  void hidden();\n};\nint v = f(1);\n"
                 "bool operator==(const S& left, const S& right);\nusing F = int (*)(int);\n");
  const auto tree = checkout.product();
  std::vector<std::string> functions;
  for (const auto& declaration : seam::declarationsOf(tree.at("client/A.h"))) {
    if (declaration.kind == seam::Declaration::Kind::kFunction) {
      functions.push_back(declaration.text + (declaration.isPublic ? "" : " (hidden)"));
    }
  }
  EXPECT_THAT(functions, ElementsAre("void hidden() (hidden)",
                                     "bool operator==(const S& left, const S& right)"));
}

}  // namespace
