#pragma once

#include <sys/types.h>

#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "tools/runner/Descriptor.h"
#include "tools/runner/RunResult.h"

namespace runner {

// How a program that forks lives is started.
struct ForkingOptions {
  std::filesystem::path program;
  // UTF-8, without the program's name.
  std::vector<std::string> arguments;
  // "NAME=value" each. The program gets these, TPM_HOST_REPORT, and the options that the sanitizers
  // of this build need; nothing of the caller's own environment.
  std::vector<std::string> environment;
  // A descriptor, and its number in the program. Not owned.
  std::vector<std::pair<int, int>> descriptors;
};

// A started program that forks a life for each order (see platform/host/ForkedLives.h). Used on one
// thread; several live side by side. The program ends with the object.
class ForkingProgram {
 public:
  // Gives why not, if the program could not be started.
  static std::variant<std::unique_ptr<ForkingProgram>, std::string> start(
      const ForkingOptions& options);

  ~ForkingProgram();
  ForkingProgram(const ForkingProgram&) = delete;
  ForkingProgram& operator=(const ForkingProgram&) = delete;

  // Lets one life happen. Gives its result, or why no more lives can be had.
  std::variant<RunResult, std::string> live(std::string_view order);

 private:
  ForkingProgram() = default;

  std::string open();
  std::string spawn(const ForkingOptions& options);

  pid_t process_ = -1;
  Descriptor orders_;
  Descriptor report_;
  Descriptor stray_;
};

}  // namespace runner
