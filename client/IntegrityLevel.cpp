#include "client/IntegrityLevel.h"

#include <exception>
#include <memory>
#include <new>

#include "VUSL/Support/LogItem.h"
#include "VUSL/SupportCore/Buffer.h"
#include "client/ErrorString.h"

namespace {

constexpr char kTag[] = "IsLowIntegrityLevel";

// False when the token cannot be opened. The call's result alone tells: a null handle is refused by
// the first query.
bool OpenOwnToken(std::shared_ptr<void>& token) {
  HANDLE opened = nullptr;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened)) {
    const DWORD error = GetLastError();
    LogItem().error() << "Error while opening process token: " << GetErrorString(error);
    return false;
  }
  if (opened != nullptr) token.reset(opened, CloseHandle);
  return true;
}

// Learns the size of the token's label in bytes. The call without a buffer is expected to fail.
bool QueryLabelSize(HANDLE token, DWORD& size) {
  if (GetTokenInformation(token, TokenIntegrityLevel, nullptr, 0, &size)) {
    LogItem().error() << "Error while retrieving TokenIntegrityLevel. GetTokenInformation returned "
                         "true though empty buffer, so something went wrong in WINAPI.";
    return false;
  }
  const DWORD error = GetLastError();
  if (error == ERROR_INSUFFICIENT_BUFFER) return true;
  LogItem().error() << "Error while retrieving TokenIntegrityLevel. This behaviour is expected for "
                       "WinXP. Error: "
                    << GetErrorString(error);
  return false;
}

bool AllocateLabel(Buffer& label, DWORD size) {
  constexpr char kFailed[] = "Error while allocating buffer for integrity token";
  try {
    label.Alloc(size);
    return true;
  } catch (const std::bad_alloc& error) {
    LogItem().error() << kFailed << ": " << error.what();
  } catch (...) {
    LogItem().error() << kFailed;
  }
  return false;
}

}  // namespace

bool QueryIntegrityLevel(DWORD& level) {
  std::shared_ptr<void> token;
  if (!OpenOwnToken(token)) return false;

  DWORD size = 0;
  if (!QueryLabelSize(token.get(), size)) return false;

  Buffer buffer;
  if (!AllocateLabel(buffer, size)) return false;

  if (!GetTokenInformation(token.get(), TokenIntegrityLevel, buffer.data(), size, &size)) {
    const DWORD error = GetLastError();
    LogItem().error() << "Error while retrieving integrity token: " << GetErrorString(error);
    return false;
  }
  const void* const data = buffer.data();
  const PSID sid = static_cast<const TOKEN_MANDATORY_LABEL*>(data)->Label.Sid;
  const DWORD count = *GetSidSubAuthorityCount(sid);
  level = *GetSidSubAuthority(sid, count - 1);
  return true;
}

bool IsLowIntegrityLevel() {
  DWORD level = 0;
  if (!QueryIntegrityLevel(level)) {
    LogItem(kTag).error()
        << "Cannot determine integrity level. Assuming that process isn't running "
           "in low level integrity.";
    return false;
  }
  if (level == SECURITY_MANDATORY_LOW_RID) {
    LogItem(kTag).info() << "Current process is running at a Low Integrity Level.";
    return true;
  }
  LogItem(kTag).info() << "Current process integrity level: " << level;
  return false;
}
