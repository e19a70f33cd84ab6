#pragma once

#include <span>
#include <string_view>

#include "platform/host/windows/Types.h"

namespace host {

// How a call tells that it failed.
enum class FaultKind {
  kNever,      // it cannot fail, or cannot tell: nothing is injected
  kLastError,  // false, null or another value of its own, and the last error
  kStatus,     // the error is the answer, as an LSTATUS, a CONFIGRET or an error of the system
  kHresult,    // the error is the answer, as an HRESULT
  kErrno,      // the error is the answer, as an errno_t, or stands in errno
};

// What the platform may answer when one of its calls fails.
struct FaultRow {
  std::string_view call;
  FaultKind kind;
  std::span<const DWORD> errors;
  // What it may answer although the call has done all its work: the answer was lost on its way, or
  // what failed came after the work.
  std::span<const DWORD> errorsWhenDone = {};
};

// A row for each of `callsThatCanFail`, in that order.
std::span<const FaultRow> faultTable();

// The row of a call; null for a name that is none.
const FaultRow* faultRowOf(std::string_view call);

}  // namespace host
