#include <cerrno>
#include <cstddef>
#include <cstdlib>
#include <cstring>

// The C runtime's import library of this toolchain declares `_dupenv_s` and does not carry it, so
// the program brings its own. Callers were compiled to reach it through the import pointer; that
// pointer is what is defined here, under the linker's name for it.

namespace {

// Copies a variable of the environment into memory from malloc, which the caller frees. `size` may
// be null; it counts the terminating zero. An absent variable gives a null pointer and size 0.
// Returns 0, EINVAL or ENOMEM.
int DuplicateEnvironmentVariable(char** value, std::size_t* size, const char* name) {
  if (value == nullptr || name == nullptr) return EINVAL;
  *value = nullptr;
  if (size != nullptr) *size = 0;
  const char* const found = std::getenv(name);
  if (found == nullptr) return 0;
  const std::size_t length = std::strlen(found) + 1;
  *value = static_cast<char*>(std::malloc(length));
  if (*value == nullptr) return ENOMEM;
  std::memcpy(*value, found, length);
  if (size != nullptr) *size = length;
  return 0;
}

}  // namespace

using DuplicateEnvironmentEntry = int (*)(char**, std::size_t*, const char*);
extern "C" const DuplicateEnvironmentEntry dupenvImport __asm__("__imp__dupenv_s");
const DuplicateEnvironmentEntry dupenvImport = DuplicateEnvironmentVariable;
