// The product's requests for memory, which can be told to fail: linked into a program of its own,
// in place of the library's operator new. The variable kFailingAllocation says which request of the
// product's code is to fail; the model's requests, of which each call makes some, never do.

#include "platform/host/Allocations.h"

#include <elf.h>
#include <link.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>
#include <unwind.h>

#include <fcntl.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <string_view>
#include <vector>

#include "platform/host/Bootstrap.h"
#include "platform/host/CallNames.h"
#include "platform/host/Machine.h"
#include "platform/host/Nursery.h"
#include "platform/host/ThreadIds.h"

namespace host {
namespace {

// Whose code a function is. Templates of the library work for whoever called them.
enum class Owner : std::uint8_t { kNobody, kProduct, kModel };

struct Function {
  std::uintptr_t begin;
  std::uintptr_t end;
  Owner owner;
};

std::vector<Function>* theFunctions = nullptr;
thread_local bool isBusy = false;

bool startsWithAny(std::string_view text, std::initializer_list<std::string_view> beginnings) {
  return std::any_of(beginnings.begin(), beginnings.end(),
                     [&](std::string_view one) { return text.starts_with(one); });
}

// The name in "_Z11CreateFileWPKw...", of an operation that stands in no scope; empty for another.
std::string_view globalName(std::string_view mangled) {
  mangled.remove_prefix(2);
  std::size_t size = 0;
  while (!mangled.empty() && mangled.front() >= '0' && mangled.front() <= '9') {
    size = 10 * size + static_cast<std::size_t>(mangled.front() - '0');
    mangled.remove_prefix(1);
  }
  return mangled.substr(0, size);
}

bool isPlatformCall(std::string_view name) {
  const auto calls = callsThatCanFail();
  return !name.empty() && std::find(calls.begin(), calls.end(), name) != calls.end();
}

// `file`: where a local symbol comes from. Two files of the model have names in no scope of its
// own.
Owner ownerOf(std::string_view name, std::string_view file, bool isLocal) {
  if (!name.starts_with("_Z")) {
    const bool isStart = name.starts_with("_GLOBAL__sub_I_");
    return isStart && name.find("4host") == std::string_view::npos ? Owner::kProduct
                                                                   : Owner::kModel;
  }
  if (name.find("static_initialization_and_destruction") != std::string_view::npos) {
    return Owner::kNobody;
  }
  std::string_view scope = name.substr(2);
  while (startsWithAny(scope, {"Z", "N", "K", "L"})) {
    scope.remove_prefix(1);
  }
  if (startsWithAny(scope, {"St", "Sa", "Ss", "S", "9__gnu_cxx", "10__cxxabiv1", "n", "d", "T"})) {
    return Owner::kNobody;
  }
  if (scope.starts_with("4host") || isPlatformCall(globalName(name))) {
    return Owner::kModel;
  }
  const bool isOfModel = isLocal && (file == "Main.cpp" || file == "Crt.cpp");
  return isOfModel ? Owner::kModel : Owner::kProduct;
}

template <class T>
const T* at(const char* image, std::size_t place) {
  return reinterpret_cast<const T*>(image + place);
}

void readSymbols(const char* image, std::uintptr_t base) {
  const auto* const head = at<Elf64_Ehdr>(image, 0);
  const auto* const sections = at<Elf64_Shdr>(image, head->e_shoff);
  for (std::size_t i = 0; i < head->e_shnum; ++i) {
    if (sections[i].sh_type != SHT_SYMTAB) {
      continue;
    }
    const char* const names = image + sections[sections[i].sh_link].sh_offset;
    const auto* const symbols = at<Elf64_Sym>(image, sections[i].sh_offset);
    std::string_view file;
    for (std::size_t k = 0; k < sections[i].sh_size / sizeof(Elf64_Sym); ++k) {
      const Elf64_Sym& symbol = symbols[k];
      const char* const name = names + symbol.st_name;
      if (ELF64_ST_TYPE(symbol.st_info) == STT_FILE) {
        file = name;
      } else if (ELF64_ST_TYPE(symbol.st_info) == STT_FUNC && symbol.st_size > 0) {
        const bool isLocal = ELF64_ST_BIND(symbol.st_info) == STB_LOCAL;
        theFunctions->push_back({base + symbol.st_value, base + symbol.st_value + symbol.st_size,
                                 ownerOf(name, file, isLocal)});
      }
    }
  }
}

// Ahead of all that belongs to a life, and of the program that forks lives: read once for all.
void learnFunctions(int, char**, char**) {
  theFunctions = new std::vector<Function>;
  std::uintptr_t base = 0;
  dl_iterate_phdr(
      [](dl_phdr_info* info, std::size_t, void* found) {
        *static_cast<std::uintptr_t*>(found) = info->dlpi_addr;
        return 1;  // the program itself is the first
      },
      &base);
  const int file = open("/proc/self/exe", O_RDONLY | O_CLOEXEC);
  struct stat about {};
  fstat(file, &about);
  const auto size = static_cast<std::size_t>(about.st_size);
  void* const image = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0);
  close(file);
  if (image == MAP_FAILED) {
    std::abort();
  }
  readSymbols(static_cast<const char*>(image), base);
  munmap(image, size);
  std::sort(theFunctions->begin(), theFunctions->end(),
            [](const Function& left, const Function& right) { return left.begin < right.begin; });
}

__attribute__((section(".preinit_array"), used)) void (*const theLearner)(int, char**,
                                                                          char**) = learnFunctions;

Owner ownerAt(std::uintptr_t address) {
  const auto behind = std::upper_bound(
      theFunctions->begin(), theFunctions->end(), address,
      [](std::uintptr_t wanted, const Function& function) { return wanted < function.begin; });
  if (behind == theFunctions->begin()) {
    return Owner::kNobody;
  }
  const Function& function = *(behind - 1);
  return address < function.end ? function.owner : Owner::kNobody;
}

struct Search {
  std::uintptr_t from;  // where operator new goes back to
  bool isReached = false;
  Owner owner = Owner::kNobody;
};

_Unwind_Reason_Code look(_Unwind_Context* context, void* of) {
  auto& search = *static_cast<Search*>(of);
  const std::uintptr_t address = _Unwind_GetIP(context);
  search.isReached = search.isReached || address == search.from;
  if (!search.isReached) {
    return _URC_NO_REASON;
  }
  // It goes back to behind the call, which may be the end of the function.
  search.owner = ownerAt(address - 1);
  return search.owner == Owner::kNobody ? _URC_NO_REASON : _URC_END_OF_STACK;
}

// Whose request it is that goes back to this address: that of the nearest caller who is anybody.
bool isProducts(void* from) {
  Search search{reinterpret_cast<std::uintptr_t>(from)};
  _Unwind_Backtrace(look, &search);
  return search.owner == Owner::kProduct;
}

// The number of the request that is to fail; 0 for none.
unsigned wantedRequest() {
  static const unsigned wanted = [] {
    const char* const text = std::getenv(kFailingAllocation);
    return text == nullptr ? 0U : static_cast<unsigned>(std::strtoul(text, nullptr, 10));
  }();
  return wanted;
}

AllocationPlace placeNow() {
  if (!isProductEntered()) {
    return AllocationPlace::kLoading;
  }
  const ServiceManager& services = machine().services;
  const Thread& self = Scheduler::current();
  if (self.id == kFirstThreadId) {
    return services.serviceThread == nullptr                         ? AllocationPlace::kEntering
           : Scheduler::instance().hasEnded(*services.serviceThread) ? AllocationPlace::kLeaving
                                                                     : AllocationPlace::kHandling;
  }
  if (&self != services.serviceThread) {
    return AllocationPlace::kElsewhere;
  }
  if (services.statuses.empty()) {
    return AllocationPlace::kRegistering;
  }
  switch (services.statuses.back().dwCurrentState) {
    case SERVICE_START_PENDING:
      return AllocationPlace::kStarting;
    case SERVICE_STOPPED:
      return AllocationPlace::kStopped;
    default:
      return AllocationPlace::kRunning;
  }
}

void markFailure() {
  const auto place = static_cast<std::size_t>(placeNow());
  machine().note("fault: " + std::string(kAllocationCall) + " " + std::to_string(wantedRequest()) +
                 " fails, " + std::string(kAllocationPlaceTexts[place]));
}

// Whether this request is the one. Once it has failed nobody looks at the others any more.
bool isToFail(void* from) {
  static unsigned requests = 0;
  static bool isOver = false;
  if (isOver || isBusy || lifeScenario() == nullptr || theFunctions == nullptr) {
    return false;
  }
  isBusy = true;
  bool fails = false;
  if (wantedRequest() == 0) {
    isOver = true;
  } else if (isProducts(from)) {
    const Scheduler::Guard guard;
    fails = ++requests == wantedRequest();
    isOver = fails;
    if (fails) {
      markFailure();
    }
  }
  isBusy = false;
  return fails;
}

void* request(std::size_t size, void* from) {
  void* const memory = isToFail(from) ? nullptr : std::malloc(std::max<std::size_t>(size, 1));
  if (memory == nullptr) {
    throw std::bad_alloc();
  }
  return memory;
}

}  // namespace
}  // namespace host

void* operator new(std::size_t size) {
  return host::request(size, __builtin_return_address(0));
}

void* operator new[](std::size_t size) {
  return host::request(size, __builtin_return_address(0));
}

void operator delete(void* memory) noexcept {
  std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
  std::free(memory);
}

void operator delete[](void* memory) noexcept {
  std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
  std::free(memory);
}
