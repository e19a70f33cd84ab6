#pragma once

#include <string>

#include "VUSL/Support/TypeName.h"

// The process's use case, whose text stands at the head of every log message. Made on the first use
// and alive to the end of the process; never changed, so every thread may read it.
class UseCaseIdentifier {
 public:
  // Throws `Exception` if there is no instance, which takes memory running out.
  static UseCaseIdentifier& getInstance();

  // "[TPM] ", with its trailing blank.
  const std::string& getText() const { return useCase; }

 private:
  explicit UseCaseIdentifier(const char* text) : useCase(text) {}

  std::string useCase;
};

template <>
struct TypeName<UseCaseIdentifier> {
  static constexpr const char* text = "class UseCaseIdentifier";
};
