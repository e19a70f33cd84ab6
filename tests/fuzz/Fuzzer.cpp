// The entry for the fuzzer's own library: the environment names the target.

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "tests/fuzz/Fuzz.h"

namespace {

const fuzz::Target* theTarget = nullptr;

}  // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv);
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  const char* const name = std::getenv("FUZZ_TARGET");
  theTarget = fuzz::findTarget(name == nullptr ? "" : name);
  if (theTarget == nullptr) {
    std::fprintf(stderr, "FUZZ_TARGET names no target\n");
    std::exit(2);
  }
  fuzz::keepDriveInMemory();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  theTarget->run({reinterpret_cast<const char*>(data), size});
  return 0;
}
