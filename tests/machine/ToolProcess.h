#pragma once

#include <sys/types.h>

#include <filesystem>
#include <string>
#include <vector>

#include "tests/machine/TemporaryFolder.h"

// The run tool, started as a person would start it.
class ToolProcess {
 public:
  // In place of a file for the standard output: the tool is started with that descriptor closed.
  static constexpr char kClosedOutput[] = "-";

  // `arguments` follow the program's name. Its standard output goes to the named file, or to one of
  // the object's own.
  explicit ToolProcess(const std::vector<std::string>& arguments,
                       const std::filesystem::path& standardOutput = {});
  ~ToolProcess();
  ToolProcess(const ToolProcess&) = delete;
  ToolProcess& operator=(const ToolProcess&) = delete;

  // What it wrote so far.
  std::string standardOutput() const;
  std::string standardError() const;

  // Sends it a signal.
  void signal(int number) const;

  // Waits for its end. Gives the exit status, or the negative number of the signal that ended it.
  int wait();

  // The folder that it has for temporary files.
  const std::filesystem::path& temporaryFolder() const { return temporary_.path(); }

 private:
  TemporaryFolder streams_;
  TemporaryFolder temporary_;
  pid_t process_ = -1;
};

// The tool from its start to its end.
struct ToolRun {
  int status;
  std::string out;
  std::string err;
};
ToolRun runTool(const std::vector<std::string>& arguments);
