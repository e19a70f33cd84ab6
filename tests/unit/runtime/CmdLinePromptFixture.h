#pragma once

#include <istream>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "VUSL/Support/CmdLineProc.h"
#include "VUSL/Support/ResourceLoader.h"
#include "tests/support/MachineTest.h"
#include "tests/support/ResourceLibrary.h"

// What tests of prompts share: a console, a library with the prompt's text, and a parser whose
// records are asked for on the test's streams.

// Keeps what is written, and notes the console's mode whenever something is.
class WatchedOutput : public std::stringbuf {
 public:
  std::vector<DWORD> modes;

 protected:
  std::streamsize xsputn(const char* text, std::streamsize count) override {
    modes.push_back(host::machine().inputMode);
    return std::stringbuf::xsputn(text, count);
  }
};

class CmdLinePromptFixture : public host::MachineTest {
 protected:
  using Standard = host::Machine::Standard;
  using Texts = std::vector<std::string>;

  static constexpr uint32_t kId = 1001;
  static constexpr DWORD kEchoOn = 0x1F7;
  static constexpr DWORD kEchoOff = 0x1F3;

  CmdLinePromptFixture() {
    ResourceLoader::resourceLibraries.clear();
    ResourceLoader::libraryBaseName.clear();
    host::machine().input = Standard::kConsole;
    install(L"en-US.dll", u"PIN: ");
  }
  ~CmdLinePromptFixture() override { ResourceLoader::resourceLibraries.clear(); }

  static void install(const std::wstring& fileName, const std::u16string& text) {
    host::machine().drive.write(L"C:\\Program Files\\Orvix\\TPMEnrollmentService\\" + fileName,
                                host::resourceLibrary({{kId, text}}));
  }

  // A record in a group of its own that is asked for on the test's streams.
  CmdLineParameter& add(const vusl::string_t& name, CmdLineParameterKind kind) {
    CmdLineParameter& parameter = parser.addParameter(parser.addGroup(name), name);
    parameter.kind = kind;
    parameter.promptId = kId;
    parameter.in = &input;
    parameter.out = &output;
    return parameter;
  }
  CmdLineParameter& addPlain() { return add(L"pin", CmdLineParameterKind::PromptPlain); }
  CmdLineParameter& addConfirmed() { return add(L"pin", CmdLineParameterKind::PromptConfirmed); }

  void parse(std::vector<const wchar_t*> arguments, const std::string& typed) {
    input.str(typed);
    arguments.insert(arguments.begin(), L"program.exe");
    parser.parseCommandLine(static_cast<int>(arguments.size()), arguments.data());
  }

  static Texts consoleCalls() {
    Texts names;
    for (const std::string& name : journal().names()) {
      if (name.find("Console") != std::string::npos || name == "GetStdHandle") {
        names.push_back(name);
      }
    }
    return names;
  }

  std::string written() const { return buffer.str(); }

  WatchedOutput buffer;
  std::ostream output{&buffer};
  std::istringstream input;
  std::ostringstream otherOutput;
  std::istringstream otherInput;
  vusl::CmdLineProc parser{L"-", otherOutput, otherInput};
};
