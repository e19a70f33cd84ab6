#include <exception>
#include <iostream>

#include "VUSL/Support/CmdLineExc.h"
#include "VUSL/Support/CmdLineProc.h"
#include "VUSL/Support/ConsoleLogOutlet.h"
#include "VUSL/Support/Exception.h"
#include "VUSL/Support/FileACLException.h"
#include "VUSL/Support/LogItem.h"
#include "VUSL/Support/LogSetup.h"
#include "VUSL/Support/Settings.h"
#include "service/ServiceHost.h"

namespace {

constexpr int kFailed = -1;
constexpr char kExceptionOccurred[] = "Exception ocurred: ";

// Returns whether the program may go on. There is no log yet, so a failure says nothing.
bool SetUpLog() {
  try {
    LogSetup::instance(settings::kServiceLogFile, settings::kDefaultLogLevel,
                       settings::kServiceConfFile);
  } catch (const FileACLException& refused) {
    // Deliberate: the copy is dropped and nothing is said, so a thrower fails silently here.
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
    [[maybe_unused]] const Exception dropped = refused;
  } catch (...) {
    return false;
  }
  return true;
}

// Returns whether the command line is a valid one.
bool Parse(vusl::CmdLineProc& commandLine, int argc, const wchar_t* const* argv) {
  try {
    commandLine.parseCommandLine(argc, argv);
    return true;
  } catch (const vusl::CmdLineExc& failure) {
    LogItem().error() << "Error while parsing parameters: " << failure.what();
  } catch (...) {
    // The usage text is the answer to every other fault of the command line.
  }
  return false;
}

}  // namespace

// The program's entry. Prints the usage text when it is asked for or the command line is not
// understood, and is a service otherwise. Returns 0, or -1 after a fatal failure.
int wmain(int argc, wchar_t** argv) {
  // Stands ready and is not attached: the service writes nothing to a console but the usage text.
  [[maybe_unused]] const ConsoleLogOutlet console(false);
  if (!SetUpLog()) return kFailed;

  vusl::CmdLineProc commandLine(L"-", std::cout, std::cin);
  CmdLineGroup& commands = commandLine.addGroup(L"commands");
  const CmdLineParameter& help = commandLine.addParameter(commands, kHelpOption);
  const bool parsed = Parse(commandLine, argc, argv);
  LogItem().debug() << "Orvix(R) TPM Enrollment Service [Version: " << kServiceVersion << "]";

  try {
    if (help.index >= 0 || commandLine.isGroupConflicting(commands) || !parsed) {
      PrintUsage(argv[0]);
    } else {
      StartDispatcher(argv[0]);
    }
    return 0;
  } catch (const Exception& failure) {
    LogItem().fatal() << kExceptionOccurred << failure.what();
  } catch (const std::exception& failure) {
    LogItem().fatal() << kExceptionOccurred << failure.what();
  } catch (...) {
    LogItem().fatal() << "Unrecognized fatal error ocurred";
  }
  return kFailed;
}
