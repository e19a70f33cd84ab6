// Libraries and their procedures.

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/host/Call.h"
#include "platform/host/Ledger.h"
#include "platform/host/Machine.h"
#include "platform/host/ResourceFile.h"

namespace host {
namespace {

namespace fs = std::filesystem;

// A library in the process: one for all loads of the same file in the same way.
struct Module {
  std::uintptr_t value;
  std::wstring path;
  fs::path nativePath;
  void* native;  // null for a data file, whose code is never run
  unsigned references;
  std::optional<ResourceFile> resources;  // of a data file
};

// The program's own place; libraries lie above it, 64 KiB apart. The room between two values
// tells apart the references to one library in the ledger.
constexpr std::uintptr_t kProgram = 0x140000000;
constexpr std::uintptr_t kFirstModule = 0x180000000;
constexpr std::uintptr_t kModuleStep = 0x10000;

constexpr wchar_t kSystemFolder[] = L"C:\\Windows\\System32";
constexpr wchar_t kWindowsFolder[] = L"C:\\Windows";

std::vector<Module>& modules() {
  static auto* all = new std::vector<Module>;
  return *all;
}

// Strings of which a caller was given the place and not a copy, by library and id.
std::map<std::pair<HMODULE, UINT>, std::wstring>& placesOfStrings() {
  static auto* all = new std::map<std::pair<HMODULE, UINT>, std::wstring>;
  return *all;
}

HMODULE handleOf(std::uintptr_t value) {
  return reinterpret_cast<HMODULE>(value);
}

std::uintptr_t valueOf(HMODULE module) {
  return reinterpret_cast<std::uintptr_t>(module);
}

// The loaded library behind a handle. Null is simply none; any other value that is none, or one
// that was let go, is a violation under the name of `call`.
Module* find(HMODULE handle, const char* call) {
  if (handle == nullptr) {
    return nullptr;
  }
  if (!Ledger::instance().uses("module", valueOf(handle), call)) {
    return nullptr;
  }
  const auto found = std::find_if(modules().begin(), modules().end(), [&](const Module& module) {
    return module.value == valueOf(handle);
  });
  return found == modules().end() ? nullptr : &*found;
}

// A name without a dot in its last component gets ".dll"; a dot at its end says that it has no
// extension.
std::wstring withExtension(std::wstring name) {
  const std::size_t separator = name.find_last_of(L"\\/");
  const std::size_t last = separator == std::wstring::npos ? 0 : separator + 1;
  if (name.find(L'.', last) == std::wstring::npos) {
    return name + L".dll";
  }
  if (name.back() == L'.') {
    name.pop_back();
  }
  return name;
}

std::vector<std::wstring> searchedFolders() {
  const Machine& machine = host::machine();
  std::vector<std::wstring> folders;
  folders.push_back(machine.programPath.substr(0, machine.programPath.rfind(L'\\')));
  if (machine.dllDirectory && !machine.dllDirectory->empty()) {
    folders.push_back(*machine.dllDirectory);
  }
  folders.emplace_back(kSystemFolder);
  folders.emplace_back(kWindowsFolder);
  if (!machine.dllDirectory) {
    folders.push_back(machine.currentDirectory);
  }
  return folders;
}

bool isFile(const std::wstring& path) {
  DWORD error = 0;
  std::error_code ignored;
  const auto place = machine().drive.locate(path, &error);
  return error == ERROR_SUCCESS && fs::is_regular_file(*place, ignored);
}

// The full path of the file that the name leads to, empty if there is none.
std::wstring resolve(const std::wstring& name) {
  const std::wstring& current = machine().currentDirectory;
  if (name.find_first_of(L"\\/:") != std::wstring::npos) {
    const std::wstring path = Drive::normalized(name, current);
    return isFile(path) ? path : L"";
  }
  for (const std::wstring& folder : searchedFolders()) {
    const std::wstring path =
        Drive::normalized(Drive::normalized(folder, current) + L'\\' + name, current);
    if (isFile(path)) {
      return path;
    }
  }
  return {};
}

// What is in a data file; nothing if it is no library.
std::optional<ResourceFile> readResources(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return ResourceFile::parse({std::istreambuf_iterator<char>(stream), {}});
}

// A value that no library has had before, so that one that was let go is told apart from another
// that came after it.
std::uintptr_t nextModule() {
  static std::uintptr_t next = kFirstModule;
  return std::exchange(next, next + kModuleStep);
}

HMODULE reference(Module& module, const char* maker) {
  Ledger::instance().acquire("module", module.value + module.references, maker);
  ++module.references;
  return handleOf(module.value);
}

HMODULE load(Call& call, const char* maker, LPCWSTR name, bool asData) {
  if (name == nullptr) {
    return call.fails<HMODULE>(ERROR_INVALID_PARAMETER, nullptr);
  }
  const Scheduler::Guard guard;
  const std::wstring path = resolve(withExtension(name));
  if (path.empty()) {
    return call.fails<HMODULE>(asData ? ERROR_FILE_NOT_FOUND : ERROR_MOD_NOT_FOUND, nullptr);
  }
  const fs::path nativePath = *machine().drive.locate(path);
  for (Module& module : modules()) {
    if (module.nativePath == nativePath && (module.native == nullptr) == asData) {
      return call.returns(reference(module, maker));
    }
  }
  void* const native = asData ? nullptr : dlopen(nativePath.c_str(), RTLD_NOW | RTLD_LOCAL);
  auto resources = asData ? readResources(nativePath) : std::nullopt;
  if (native == nullptr && !resources) {
    return call.fails<HMODULE>(ERROR_BAD_EXE_FORMAT, nullptr);
  }
  modules().push_back({nextModule(), path, nativePath, native, 0, std::move(resources)});
  return call.returns(reference(modules().back(), maker));
}

// The procedure that the library itself exports; what it only uses of others does not count.
void* exportOf(const Module& module, const char* name) {
  void* const address = dlsym(module.native, name);
  Dl_info info{};
  link_map* map = nullptr;
  if (address == nullptr || dladdr(address, &info) == 0 ||
      dlinfo(module.native, RTLD_DI_LINKMAP, &map) != 0) {
    return nullptr;
  }
  return reinterpret_cast<std::uintptr_t>(info.dli_fbase) == map->l_addr ? address : nullptr;
}

// The string `id` of a library, or of the program if `library` is null. Nothing and `error` if it
// has none.
std::optional<std::wstring> stringOf(const Module* library, UINT id, DWORD* error) {
  const auto& tables = machine().stringTables;
  const auto table = tables.find(library == nullptr ? machine().programPath : library->path);
  if (table != tables.end() && table->second.count(id) != 0) {
    return table->second.at(id);
  }
  *error = ERROR_RESOURCE_NAME_NOT_FOUND;
  if (library == nullptr || !library->resources) {
    return std::nullopt;
  }
  return library->resources->string(id, machine().userLanguage, error);
}

DWORD givePath(Call& call, const std::wstring& path, LPWSTR buffer, DWORD size) {
  if (buffer == nullptr || size == 0) {
    return call.fails(ERROR_INSUFFICIENT_BUFFER, DWORD{0});
  }
  if (path.size() >= size) {
    // What fits is given, with a terminator.
    path.copy(buffer, size - 1);
    buffer[size - 1] = L'\0';
    return call.fails(ERROR_INSUFFICIENT_BUFFER, size);
  }
  path.copy(buffer, path.size());
  buffer[path.size()] = L'\0';
  if (machine().moduleFileNameClearsLastError) {
    setLastError(ERROR_SUCCESS);
  }
  return call.returns(static_cast<DWORD>(path.size()));
}

}  // namespace
}  // namespace host

using host::Call;

HMODULE LoadLibraryW(LPCWSTR name) {
  Call call("LoadLibraryW", name);
  if (call.faulted()) {
    return call.returns<HMODULE>(nullptr);
  }
  return host::load(call, "LoadLibraryW", name, false);
}

HMODULE LoadLibraryExW(LPCWSTR name, HANDLE file, DWORD flags) {
  Call call("LoadLibraryExW", name, file, flags);
  if (call.faulted()) {
    return call.returns<HMODULE>(nullptr);
  }
  if (file != nullptr) {
    return call.fails<HMODULE>(ERROR_INVALID_PARAMETER, nullptr);
  }
  const bool asData = (flags & LOAD_LIBRARY_AS_DATAFILE) != 0;
  return host::load(call, asData ? "LoadLibraryExW as data" : "LoadLibraryExW", name, asData);
}

BOOL SetDllDirectoryW(LPCWSTR path) {
  Call call("SetDllDirectoryW", path);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  const host::Scheduler::Guard guard;
  host::machine().dllDirectory = path == nullptr ? std::nullopt : std::optional<std::wstring>(path);
  return call.returns(TRUE);
}

FARPROC GetProcAddress(HMODULE handle, LPCSTR name) {
  Call call("GetProcAddress", handle, name);
  if (call.faulted()) {
    return call.returns<FARPROC>(nullptr);
  }
  const host::Scheduler::Guard guard;
  const host::Module* module = host::find(handle, "GetProcAddress");
  if (module == nullptr) {
    return call.fails<FARPROC>(ERROR_INVALID_HANDLE, nullptr);
  }
  void* const address =
      module->native == nullptr || name == nullptr ? nullptr : host::exportOf(*module, name);
  if (address == nullptr) {
    return call.fails<FARPROC>(ERROR_PROC_NOT_FOUND, nullptr);
  }
  // Where the system put the library is not the same in two runs, so the journal has no address.
  call.returns("an address");
  return reinterpret_cast<FARPROC>(address);
}

BOOL FreeLibrary(HMODULE handle) {
  Call call("FreeLibrary", handle);
  if (call.faulted()) {
    return call.returns(FALSE);
  }
  void* unused = nullptr;
  {
    const host::Scheduler::Guard guard;
    host::Module* const module = host::find(handle, "FreeLibrary");
    if (module == nullptr) {
      return call.fails(ERROR_INVALID_HANDLE, FALSE);
    }
    --module->references;
    host::Ledger::instance().release("module", module->value + module->references, "FreeLibrary");
    if (module->references == 0) {
      unused = module->native;
      host::modules().erase(host::modules().begin() + (module - host::modules().data()));
    }
  }
  // The library's own code runs while it leaves.
  if (unused != nullptr) {
    dlclose(unused);
  }
  return call.returns(TRUE);
}

HMODULE GetModuleHandleW(LPCWSTR name) {
  Call call("GetModuleHandleW", name);
  if (call.faulted()) {
    return call.returns<HMODULE>(nullptr);
  }
  if (name == nullptr) {
    return call.returns(host::handleOf(host::kProgram));
  }
  const host::Scheduler::Guard guard;
  const std::wstring wanted = host::withExtension(name);
  for (const host::Module& module : host::modules()) {
    const std::wstring fileName = module.path.substr(module.path.rfind(L'\\') + 1);
    if (module.native != nullptr && (host::equalIgnoringCase(fileName, wanted) ||
                                     host::equalIgnoringCase(module.path, wanted))) {
      return call.returns(host::handleOf(module.value));
    }
  }
  return call.fails<HMODULE>(ERROR_MOD_NOT_FOUND, nullptr);
}

DWORD GetModuleFileNameW(HMODULE handle, LPWSTR buffer, DWORD size) {
  Call call("GetModuleFileNameW", handle, size);
  if (call.faulted()) {
    return call.returns(DWORD{0});
  }
  const host::Scheduler::Guard guard;
  if (handle == nullptr || host::valueOf(handle) == host::kProgram) {
    return host::givePath(call, host::machine().programPath, buffer, size);
  }
  const host::Module* module = host::find(handle, "GetModuleFileNameW");
  if (module == nullptr) {
    return call.fails(ERROR_MOD_NOT_FOUND, DWORD{0});
  }
  return host::givePath(call, module->path, buffer, size);
}

int LoadStringW(HINSTANCE module, UINT id, LPWSTR buffer, int size) {
  Call call("LoadStringW", module, id, size);
  if (call.faulted()) {
    return call.returns(0);
  }
  const host::Scheduler::Guard guard;
  const bool isProgram = module == nullptr || host::valueOf(module) == host::kProgram;
  const host::Module* library = isProgram ? nullptr : host::find(module, "LoadStringW");
  if (!isProgram && library == nullptr) {
    return call.fails(ERROR_INVALID_HANDLE, 0);
  }
  if (buffer == nullptr || size < 0) {
    return call.fails(ERROR_INVALID_PARAMETER, 0);
  }
  if (size > 0) {
    *buffer = L'\0';
  }
  DWORD error = 0;
  const auto text = host::stringOf(library, id, &error);
  if (!text) {
    return call.fails(error, 0);
  }
  if (size == 0) {
    // With no room the argument is in truth the address of a pointer, and gets the string's place.
    auto& place = host::placesOfStrings()[{module, id}];
    place = *text;
    const wchar_t* const characters = place.data();
    std::memcpy(buffer, &characters, sizeof characters);
    return call.returns(static_cast<int>(place.size()));
  }
  const std::size_t length = text->copy(buffer, static_cast<std::size_t>(size) - 1);
  buffer[length] = L'\0';
  return call.returns(static_cast<int>(length));
}
