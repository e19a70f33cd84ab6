#include "platform/host/RegistryStore.h"

#include "platform/host/Text.h"

namespace host {
namespace {

// The roots have a long name too.
constexpr std::pair<std::wstring_view, std::wstring_view> kRoots[] = {
    {L"hkey_classes_root", L"hkcr"},   {L"hkey_current_user", L"hkcu"},
    {L"hkey_local_machine", L"hklm"},  {L"hkey_users", L"hku"},
    {L"hkey_current_config", L"hkcc"},
};

// The form under which a path is kept: folded, with the short name of its root, without
// separators at its end.
std::wstring keptPath(std::wstring_view path) {
  std::wstring folded = foldCase(path);
  while (!folded.empty() && folded.back() == L'\\') {
    folded.pop_back();
  }
  const std::wstring root = folded.substr(0, folded.find(L'\\'));
  for (const auto& [longName, shortName] : kRoots) {
    if (root == longName) {
      folded.replace(0, root.size(), shortName);
    }
  }
  return folded;
}

bool isRoot(const std::wstring& kept) {
  for (const auto& [longName, shortName] : kRoots) {
    if (kept == shortName) {
      return true;
    }
  }
  return false;
}

}  // namespace

void RegistryStore::createKey(std::wstring_view path) {
  std::wstring kept = keptPath(path);
  while (!kept.empty()) {
    keys_.try_emplace(kept);
    const std::size_t separator = kept.rfind(L'\\');
    kept.resize(separator == std::wstring::npos ? 0 : separator);
  }
}

void RegistryStore::setText(std::wstring_view path, std::wstring_view name,
                            std::wstring_view text) {
  std::string bytes(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t));
  bytes.append(sizeof(wchar_t), '\0');
  setValue(path, name, REG_SZ, std::move(bytes));
}

void RegistryStore::setValue(std::wstring_view path, std::wstring_view name, DWORD type,
                             std::string bytes) {
  createKey(path);
  keys_[keptPath(path)][foldCase(name)] = {type, std::move(bytes)};
}

void RegistryStore::deleteKey(std::wstring_view path) {
  const std::wstring kept = keptPath(path);
  const std::wstring below = kept + L'\\';
  std::erase_if(keys_, [&](const auto& key) {
    return key.first == kept || key.first.compare(0, below.size(), below) == 0;
  });
}

void RegistryStore::deleteValue(std::wstring_view path, std::wstring_view name) {
  const auto key = keys_.find(keptPath(path));
  if (key != keys_.end()) {
    key->second.erase(foldCase(name));
  }
}

bool RegistryStore::hasKey(std::wstring_view path) const {
  const std::wstring kept = keptPath(path);
  return isRoot(kept) || keys_.contains(kept);
}

const RegistryStore::Value* RegistryStore::value(std::wstring_view path,
                                                 std::wstring_view name) const {
  const auto key = keys_.find(keptPath(path));
  if (key == keys_.end()) {
    return nullptr;
  }
  const auto found = key->second.find(foldCase(name));
  return found == key->second.end() ? nullptr : &found->second;
}

}  // namespace host
