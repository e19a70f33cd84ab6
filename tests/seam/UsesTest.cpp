#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

#include "tests/seam/SeamRules.h"

// What stands ready in the product and is not used, and what is used in one place alone. It shows
// in no run, so each line of the product that names it is told here.

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Lines = std::vector<std::string>;

std::string trimmed(const std::string& line) {
  const std::size_t first = line.find_first_not_of(' ');
  return first == std::string::npos ? "" : line.substr(first);
}

// The lines of code in which the pattern is found, includes left out: "service/A.cpp: <the line>".
Lines linesWith(const std::string& pattern, const seam::SourceTree& files) {
  const std::regex expression(pattern);
  Lines lines;
  for (const auto& [name, file] : files) {
    for (const std::string& line : file.code) {
      if (line.find("#include") == std::string::npos && std::regex_search(line, expression)) {
        lines.push_back(name + ": " + trimmed(line));
      }
    }
  }
  return lines;
}

// Read once: the tests of one process change nothing in it.
const seam::SourceTree& product() {
  static const seam::SourceTree tree = seam::readTree(SOURCE_ROOT, seam::kProductRooms);
  return tree;
}

Lines productLinesWith(const std::string& pattern) {
  return linesWith(pattern, product());
}

Lines linesOf(const std::string& name, const std::string& pattern) {
  return linesWith(pattern, {{name, product().at(name)}});
}

TEST(UsesTest, NobodySetsTheKeyType) {
  EXPECT_THAT(
      productLinesWith("\\bsetKeyType\\b"),
      ElementsAre("client/ItalsClientCaller.h: virtual void setKeyType(std::uint32_t type) = 0;",
                  "client/talsClientCaller.cpp: "
                  "void talsClientCaller::setKeyType(std::uint32_t type) {",
                  "client/talsClientCaller.h: void setKeyType(std::uint32_t type) override;"));
}

TEST(UsesTest, TheEnvironmentIsReadByOneCall) {
  EXPECT_THAT(productLinesWith("getenv|dupenv|environ\\b|Environment(Strings|Variable)"),
              ElementsAre("VUSL/Support/EnvironmentPath.cpp: "
                          "const errno_t error = _dupenv_s(&text, &size, row->second);"));
}

TEST(UsesTest, NobodyThrowsTheRefusalOfAFilesAccess) {
  EXPECT_THAT(
      productLinesWith("\\bFileACLException\\b"),
      ElementsAre("VUSL/Support/FileACLException.h: class FileACLException : public Exception {",
                  "VUSL/Support/FileACLException.h: FileACLException() = default;",
                  "VUSL/Support/FileACLException.h: "
                  "explicit FileACLException(const std::string& location) : Exception(location) {}",
                  "service/wmain.cpp: } catch (const FileACLException& refused) {"));
}

TEST(UsesTest, TheClientCallerIsTheOnlyThread) {
  EXPECT_THAT(
      productLinesWith("\\b(class|struct)\\b.*[:,]\\s*((public|protected|private|virtual)\\s+)*"
                       "(vusl::)?Thread\\b(?!::)"),
      ElementsAre("client/talsClientCaller.h: "
                  "class talsClientCaller : public vusl::Thread, "
                  "public ItalsClientCaller {"));
  EXPECT_THAT(
      productLinesWith("\\b(CreateThread|_beginthread(ex)?)\\b|std::(jthread|thread|async)\\b"),
      ElementsAre("VUSL/Support/Thread.cpp: threadHandle = "
                  "CreateThread(nullptr, 0, theThreadFunc, this, 0, &threadId);"));
}

TEST(UsesTest, OnlyTheClientLoaderHasLoadersOfLibraries) {
  seam::SourceTree others = product();
  others.erase("VUSL/Support/win32/SOloader.cpp");
  others.erase("VUSL/Support/win32/SOloader.h");
  EXPECT_THAT(linesWith("\\bSOloader\\b", others),
              ElementsAre("client/TalsClientLoader.h: std::optional<SOloader> clientLibrary;",
                          "client/TalsClientLoader.h: std::optional<SOloader> proxyLibrary;"));
}

TEST(UsesTest, TheLimitsOfTheLogFilesAreReadAndHandedToNobody) {
  const std::string kLogSetup = "VUSL/Support/LogSetup.cpp";
  EXPECT_THAT(linesOf(kLogSetup, "\\bmaxFileSize\\b"),
              ElementsAre(kLogSetup + ": int32_t maxFileSize = 0;",
                          kLogSetup + ": config.getInt(settings::kMaxFileSize, &maxFileSize, "
                                      "nullptr, &settings::kDefaultMaxFileSize);"));
  EXPECT_THAT(linesOf(kLogSetup, "\\bmaxArchiveNumber\\b"),
              ElementsAre(kLogSetup + ": int32_t maxArchiveNumber = 0;",
                          kLogSetup + ": config.getInt(settings::kMaxArchiveNumber, "
                                      "&maxArchiveNumber, nullptr,"));
  EXPECT_THAT(linesOf(kLogSetup, "setMax"), IsEmpty());
}

TEST(UsesTest, TheConsoleOutletOfTheProgramIsMadeWithoutAConsole) {
  EXPECT_THAT(linesOf("service/wmain.cpp", "\\bConsoleLogOutlet\\b"),
              ElementsAre("service/wmain.cpp: "
                          "[[maybe_unused]] const ConsoleLogOutlet console(false);"));
}

// The compiler fills in the line of the throw; a number written by hand would soon be another
// line's.
TEST(UsesTest, ThePlaceOfAnOperationThatIsNotSupportedIsTheCompilers) {
  const std::string kMemory = "VUSL/Support/ConfigMemory.cpp";
  EXPECT_THAT(linesOf(kMemory, "source_location|\\bplace\\b|\\bnotSupported\\b"),
              ElementsAre(kMemory + ": Exception notSupported(std::source_location place = "
                                    "std::source_location::current()) {",
                          kMemory + ": Exception exception(\"VUSL\\\\Support\\\\ConfigMemory:\" + "
                                    "std::to_string(place.line()));",
                          kMemory + ": throw notSupported();", kMemory + ": throw notSupported();",
                          kMemory + ": throw notSupported();"));
}

}  // namespace
