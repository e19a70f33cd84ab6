#include "VUSL/Support/CmdLinePrompt.h"

#include <istream>
#include <ostream>
#include <string>

#include "VUSL/Support/CmdLineParameter.h"
#include "VUSL/Support/ResourceLoader.h"
#include "VUSL/Support/Text.h"
#include "platform/win32.h"

namespace vusl {

namespace {

constexpr char kRetype[] = "Retype the value to confirm: ";
constexpr char kMismatch[] = "The provided parameter value and its confirmation do not match!";

// No result is looked at: where the input is no console there is no echo to hide, and the prompt
// works all the same.
void setConsoleEcho(bool shown) {
  const HANDLE console = GetStdHandle(STD_INPUT_HANDLE);
  DWORD mode = 0;
  if (console == INVALID_HANDLE_VALUE || !GetConsoleMode(console, &mode)) return;
  SetConsoleMode(console,
                 shown ? mode | DWORD{ENABLE_ECHO_INPUT} : mode & ~DWORD{ENABLE_ECHO_INPUT});
}

// Hides the input for as long as it lives: a console that stayed mute would outlive the program.
class HiddenInput {
 public:
  HiddenInput() { setConsoleEcho(false); }
  ~HiddenInput() { setConsoleEcho(true); }
  HiddenInput(const HiddenInput&) = delete;
  HiddenInput& operator=(const HiddenInput&) = delete;
};

std::string promptText(uint32_t id) {
  ResourceLoader loader;
  // Deliberate: prompts are in libraries without a base name, whatever name has been set.
  ResourceLoader::libraryBaseName = vusl::string_t();
  if (ResourceLoader::resourceLibraries.empty()) ResourceLoader::initialiseLibraries();
  wchar_t buffer[ResourceLoader::kDefaultSize] = {};
  loader.loadString(id, buffer);
  return Narrow(buffer);
}

// The line that answers what was written last; empty at the end of the stream.
std::string answer(const CmdLineParameter& parameter) {
  parameter.out->flush();
  std::string line;
  std::getline(*parameter.in, line);
  *parameter.out << '\n';
  return line;
}

std::string confirmedAnswer(const CmdLineParameter& parameter, const std::string& text) {
  const HiddenInput hidden;
  *parameter.out << text;
  for (;;) {
    std::string entry = answer(parameter);
    *parameter.out << kRetype;
    if (entry == answer(parameter)) return entry;
    *parameter.out << kMismatch << "\n\n" << text;
  }
}

}  // namespace

void askForValue(CmdLineParameter& parameter) {
  const std::string text = promptText(parameter.promptId);
  if (parameter.kind == CmdLineParameterKind::PromptPlain) {
    *parameter.out << text;
    parameter.value = Widen(answer(parameter));
  } else if (parameter.kind == CmdLineParameterKind::PromptConfirmed) {
    parameter.value = Widen(confirmedAnswer(parameter, text));
  }
}

}  // namespace vusl
