// Known folders, and paths as text.

#include <algorithm>
#include <cstring>
#include <string>

#include "platform/host/Call.h"
#include "platform/host/Machine.h"
#include "platform/host/Memory.h"

namespace {

constexpr HRESULT kUnknownFolder = static_cast<HRESULT>(0x80070002);
// What an error becomes when a call answers with a result; a result stays as it is.
constexpr std::uint32_t kFailure = 0x80000000;
constexpr std::uint32_t kWrapped = 0x80070000;

// The folders below that of the user.
constexpr wchar_t kLocalAppData[] = L"\\AppData\\Local";
constexpr wchar_t kLocalAppDataLow[] = L"\\AppData\\LocalLow";

bool same(const GUID& left, const GUID& right) {
  return std::memcmp(&left, &right, sizeof left) == 0;
}

// The length of what names the drive and must stay: "C:\", "C:", "\", or nothing.
std::size_t rootLength(std::wstring_view path) {
  std::size_t length = path.size() >= 2 && path[1] == L':' ? 2 : 0;
  length += path.size() > length && path[length] == L'\\' ? 1U : 0U;
  return length;
}

}  // namespace

using host::Call;

HRESULT SHGetKnownFolderPath(REFKNOWNFOLDERID folder, DWORD flags, HANDLE token, PWSTR* path) {
  const bool low = same(folder, FOLDERID_LocalAppDataLow);
  const bool known = low || same(folder, FOLDERID_LocalAppData);
  Call call("SHGetKnownFolderPath",
            low     ? "LocalAppDataLow"
            : known ? "LocalAppData"
                    : "other",
            flags, token);
  // On failure the caller gets a null pointer, which CoTaskMemFree takes.
  *path = nullptr;
  if (call.faulted()) {
    const std::uint32_t error = call.fault();
    return call.returns(static_cast<HRESULT>(error < kFailure ? kWrapped | error : error));
  }
  if (!known) {
    return call.returns(kUnknownFolder);
  }
  const std::wstring text =
      host::machine().profileDirectory + (low ? kLocalAppDataLow : kLocalAppData);
  const std::size_t bytes = (text.size() + 1) * sizeof(WCHAR);
  *path = static_cast<PWSTR>(host::allocate(bytes, "SHGetKnownFolderPath"));
  if (*path == nullptr) {
    return call.returns(E_OUTOFMEMORY);
  }
  std::memcpy(*path, text.c_str(), bytes);
  return call.returns(S_OK);
}

void CoTaskMemFree(LPVOID memory) {
  Call call("CoTaskMemFree", memory);
  if (memory != nullptr) {
    host::release(memory, "CoTaskMemFree");
  }
}

BOOL PathAppendW(LPWSTR path, LPCWSTR more) {
  Call call("PathAppendW", path, more);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  if (path == nullptr || more == nullptr) {
    return call.returns(FALSE);
  }
  // Leading separators of the second part do not make it absolute here; "." and ".." are resolved.
  std::wstring_view rest(more);
  rest.remove_prefix(std::min(rest.find_first_not_of(L'\\'), rest.size()));
  std::wstring joined;
  if (rest.size() >= 2 && rest[1] == L':') {
    joined = rest;
  } else {
    joined = path;
    joined += joined.empty() || joined.back() == L'\\' ? L"" : L"\\";
    joined += rest;
  }
  std::wstring result = joined.substr(0, rootLength(joined));
  const std::size_t root = result.size();
  for (std::size_t at = root; at < joined.size();) {
    const std::size_t end = std::min(joined.find(L'\\', at), joined.size());
    const std::wstring component = joined.substr(at, end - at);
    at = end + 1;
    if (component == L"..") {
      const std::size_t cut = result.rfind(L'\\');
      result.resize(cut == std::wstring::npos ? root : std::max(cut, root));
    } else if (component != L".") {
      result += result.size() > root ? L"\\" : L"";
      result += component;
    }
  }
  if (result.size() >= MAX_PATH) {
    *path = L'\0';
    return call.returns(FALSE);
  }
  std::wmemcpy(path, result.c_str(), result.size() + 1);
  return call.returns(TRUE);
}

BOOL PathRemoveFileSpecW(LPWSTR path) {
  Call call("PathRemoveFileSpecW", path);
  if (call.faulted() || path == nullptr) {
    return call.returns(FALSE);
  }
  const std::wstring_view text(path);
  const std::size_t root = rootLength(text);
  const std::size_t separator = text.rfind(L'\\');
  const std::size_t keep =
      separator == std::wstring_view::npos || separator < root ? root : separator;
  if (keep >= text.size()) {
    return call.returns(FALSE);
  }
  path[keep] = L'\0';
  return call.returns(TRUE);
}
