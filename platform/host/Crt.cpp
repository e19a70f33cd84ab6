// Calls of the platform's C runtime. They are no calls of the system: none has a place in the
// journal, except the look at the environment. Each can be told to fail, and then answers with the
// error as its result (calloc, with which the model also allocates, with null).

#include <climits>
#include <string>

#include "platform/host/Call.h"
#include "platform/host/Machine.h"

extern "C" {
void* __real_calloc(std::size_t count, std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
}

namespace {

// The runtime's number for a character with no narrow form; the native one differs.
constexpr errno_t kIllegalSequence = 42;
// Without a locale of its own the runtime narrows what fits into a byte.
constexpr wchar_t kHighestNarrow = 0xFF;

errno_t toldError(const char* call) {
  const host::Scheduler::Guard guard;
  const host::Faults::Rule* rule = host::Faults::instance().next(call);
  return rule == nullptr ? 0 : static_cast<errno_t>(rule->error);
}

// Narrows up to `room` bytes, the terminator counted; what it wrote without the terminator, or -1.
std::ptrdiff_t narrow(char* target, const wchar_t* source, std::size_t room) {
  for (std::size_t i = 0; i < room; ++i) {
    if (source[i] < 0 || source[i] > kHighestNarrow) {
      return -1;
    }
    target[i] = static_cast<char>(source[i]);
    if (source[i] == L'\0') {
      return static_cast<std::ptrdiff_t>(i);
    }
  }
  return static_cast<std::ptrdiff_t>(room);
}

}  // namespace

errno_t _dupenv_s(char** value, std::size_t* size, const char* name) {
  host::Call call("_dupenv_s", name);
  if (value == nullptr) {
    return call.returns<errno_t>(EINVAL);
  }
  *value = nullptr;
  if (size != nullptr) {
    *size = 0;
  }
  if (call.faulted()) {
    return call.returns(static_cast<errno_t>(call.fault()));
  }
  if (name == nullptr) {
    return call.returns<errno_t>(EINVAL);
  }
  const host::Scheduler::Guard guard;
  const auto& environment = host::machine().environment;
  const auto found = environment.find(host::toWide(name));
  if (found == environment.end()) {
    return call.returns<errno_t>(0);
  }
  const std::string text = host::toUtf8(found->second);
  *value = static_cast<char*>(std::malloc(text.size() + 1));
  if (*value == nullptr) {
    return call.returns<errno_t>(ENOMEM);
  }
  std::memcpy(*value, text.c_str(), text.size() + 1);
  if (size != nullptr) {
    *size = text.size() + 1;
  }
  return call.returns<errno_t>(0);
}

errno_t memcpy_s(void* target, std::size_t room, const void* source, std::size_t size) {
  if (const errno_t error = toldError("memcpy_s")) {
    return error;
  }
  if (size == 0) {
    return 0;
  }
  if (target == nullptr) {
    return EINVAL;
  }
  if (source == nullptr || room < size) {
    // Nothing half-copied and nothing old is left behind.
    std::memset(target, 0, room);
    return source == nullptr ? EINVAL : ERANGE;
  }
  std::memcpy(target, source, size);
  return 0;
}

errno_t strcpy_s(char* target, std::size_t room, const char* source) {
  if (const errno_t error = toldError("strcpy_s")) {
    return error;
  }
  if (target == nullptr || room == 0) {
    return EINVAL;
  }
  *target = '\0';
  if (source == nullptr) {
    return EINVAL;
  }
  const std::size_t size = std::strlen(source) + 1;
  if (size > room) {
    return ERANGE;
  }
  std::memcpy(target, source, size);
  return 0;
}

errno_t strcat_s(char* target, std::size_t room, const char* source) {
  if (const errno_t error = toldError("strcat_s")) {
    return error;
  }
  if (target == nullptr || room == 0) {
    return EINVAL;
  }
  const std::size_t length = strnlen(target, room);
  if (source == nullptr || length == room) {
    *target = '\0';
    return EINVAL;
  }
  const std::size_t size = std::strlen(source) + 1;
  if (size > room - length) {
    *target = '\0';
    return ERANGE;
  }
  std::memcpy(target + length, source, size);
  return 0;
}

errno_t _itoa_s(int value, char* buffer, std::size_t room, int radix) {
  constexpr int kLowestRadix = 2;
  constexpr int kHighestRadix = 36;
  constexpr int kDecimal = 10;
  if (const errno_t error = toldError("_itoa_s")) {
    return error;
  }
  if (buffer == nullptr || room == 0) {
    return EINVAL;
  }
  *buffer = '\0';
  if (radix < kLowestRadix || radix > kHighestRadix) {
    return EINVAL;
  }
  // Only decimal numbers have a sign; others show the bits.
  const bool negative = value < 0 && radix == kDecimal;
  unsigned rest = negative ? 0U - static_cast<unsigned>(value) : static_cast<unsigned>(value);
  std::string digits;
  do {
    digits.insert(digits.begin(),
                  "0123456789abcdefghijklmnopqrstuvwxyz"[rest % static_cast<unsigned>(radix)]);
    rest /= static_cast<unsigned>(radix);
  } while (rest != 0);
  digits.insert(0, negative ? "-" : "");
  if (digits.size() + 1 > room) {
    return ERANGE;
  }
  std::memcpy(buffer, digits.c_str(), digits.size() + 1);
  return 0;
}

errno_t wcstombs_s(std::size_t* converted, char* target, std::size_t room, const wchar_t* source,
                   std::size_t count) {
  if (const errno_t error = toldError("wcstombs_s")) {
    return error;
  }
  if ((target == nullptr) != (room == 0)) {
    return EINVAL;
  }
  if (target != nullptr) {
    *target = '\0';
  }
  if (converted != nullptr) {
    *converted = 0;
  }
  const std::size_t limit = std::min(count, room);
  if (source == nullptr || limit > INT_MAX) {
    return EINVAL;
  }
  if (target == nullptr) {
    // The size alone is told without a look at the characters.
    if (converted != nullptr) {
      *converted = std::wcslen(source) + 1;
    }
    return 0;
  }
  const std::ptrdiff_t length = narrow(target, source, limit);
  if (length < 0) {
    *target = '\0';
    return kIllegalSequence;
  }
  std::size_t size = static_cast<std::size_t>(length) + 1;
  errno_t result = 0;
  if (size > room) {
    if (count != _TRUNCATE) {
      *target = '\0';
      return ERANGE;
    }
    size = room;
    result = STRUNCATE;
  }
  target[size - 1] = '\0';
  if (converted != nullptr) {
    *converted = size;
  }
  return result;
}

void* __wrap_calloc(std::size_t count, std::size_t size) {
  if (const errno_t error = toldError("calloc")) {
    errno = error;
    return nullptr;
  }
  return __real_calloc(count, size);
}
