#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>

#include "platform/host/windows/Types.h"

// Calls of the platform's C runtime that the native one lacks.

using errno_t = int;

// STRUNCATE and _TRUNCATE are the runtime's own names for "cut what does not fit".
inline constexpr errno_t STRUNCATE = 80;
inline constexpr std::size_t _TRUNCATE = static_cast<std::size_t>(-1);

errno_t _dupenv_s(char** value, std::size_t* size, const char* name);
errno_t memcpy_s(void* target, std::size_t room, const void* source, std::size_t size);
errno_t strcpy_s(char* target, std::size_t room, const char* source);
errno_t strcat_s(char* target, std::size_t room, const char* source);
errno_t _itoa_s(int value, char* buffer, std::size_t room, int radix);
errno_t wcstombs_s(std::size_t* converted, char* target, std::size_t room, const wchar_t* source,
                   std::size_t count);

// What the product asks of a file: whether it is there. `remove` and `rename` have the native
// declarations; the linker leads them to the machine's drive.
struct _stat64i32 {
  WORD st_mode;
  std::int32_t st_size;
};
inline constexpr WORD _S_IFDIR = 0x4000;
inline constexpr WORD _S_IFREG = 0x8000;
// The structure and the call share their name on the platform.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"
int _stat64i32(const char* path, struct _stat64i32* status);
#pragma GCC diagnostic pop
