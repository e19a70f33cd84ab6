// The native program's entry: makes the platform's wide entry out of the system's, over the
// modelled machine.

#include <cstdlib>
#include <iostream>
#include <streambuf>
#include <string>
#include <vector>

#include "platform/host/Bootstrap.h"
#include "platform/host/Machine.h"
#include "platform/host/Nursery.h"
#include "platform/host/Report.h"

int wmain(int argc, wchar_t** argv);

// What the leak checker of a sanitized build passes over: the one exception that is required to be
// thrown as a pointer, which nobody who catches it can free.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions() {
  return "leak:EtwLogOutlet::registerProvider\n";
}

namespace {

std::string narrowed(const std::wstring& line) {
  return host::toUtf8(line);
}

std::string narrowed(const std::string& line) {
  return line;
}

// Takes what the program prints into the life's report, line by line.
template <class Character>
class ConsoleBuffer final : public std::basic_streambuf<Character> {
  using Traits = std::char_traits<Character>;

 public:
  ~ConsoleBuffer() override { flushLine(); }

 protected:
  typename Traits::int_type overflow(typename Traits::int_type character) override {
    if (Traits::eq_int_type(character, Traits::eof())) {
      return Traits::not_eof(character);
    }
    // Threads that run side by side may print at the same time.
    const host::Scheduler::Guard guard;
    const Character value = Traits::to_char_type(character);
    if (value == Character('\n')) {
      host::Report::instance().record(host::ReportKind::kConsole, narrowed(line_));
      line_.clear();
    } else {
      line_ += value;
    }
    return character;
  }

 private:
  void flushLine() {
    if (!line_.empty()) {
      host::Report::instance().record(host::ReportKind::kConsole, narrowed(line_));
    }
  }

  std::basic_string<Character> line_;
};

int runProduct(std::vector<std::wstring> arguments) {
  std::vector<wchar_t*> pointers;
  for (std::wstring& argument : arguments) {
    pointers.push_back(argument.data());
  }
  pointers.push_back(nullptr);
  return wmain(static_cast<int>(arguments.size()), pointers.data());
}

}  // namespace

int main(int argc, char** argv) {
  std::vector<std::wstring> arguments{host::machine().programPath};
  for (int i = 1; i < argc; ++i) {
    arguments.push_back(host::toWide(argv[i]));
  }
  const host::Scenario* scenario = host::lifeScenario();
  if (scenario == nullptr) {
    return runProduct(std::move(arguments));
  }
  // The program that forks lives of any scenarios was started with the arguments of none.
  if (argc <= 1) {
    arguments.insert(arguments.end(), scenario->arguments.begin(), scenario->arguments.end());
  }
  // Static, so that the buffers outlive the product's static objects.
  static ConsoleBuffer<wchar_t> wideConsole;
  static ConsoleBuffer<char> narrowConsole;
  std::wstreambuf* wide = std::wcout.rdbuf(&wideConsole);
  std::wstreambuf* wideErrors = std::wcerr.rdbuf(&wideConsole);
  std::streambuf* narrow = std::cout.rdbuf(&narrowConsole);
  host::startScript(*scenario);
  host::enterProduct();
  const int code = runProduct(std::move(arguments));
  std::wcout.rdbuf(wide);
  std::wcerr.rdbuf(wideErrors);
  std::cout.rdbuf(narrow);
  host::setExitCode(code);
  std::exit(code & 0xff);
}
