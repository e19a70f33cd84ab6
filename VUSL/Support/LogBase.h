#pragma once

#include <cstdint>

// The base in which a log item prints numbers. Streamed into an item, it holds for that item until
// the next one.
enum class LogBase : int32_t { kHexadecimal = 0, kDecimal = 1 };
