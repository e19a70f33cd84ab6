// The look-up of the client library's entries beside the bare platform calls, and the search for
// the client stack's device among few devices and many.

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>

#include "VUSL/Support/win32/SOloader.h"
#include "bench/Ratios.h"
#include "client/GetDeviceHKEY.h"
#include "client/TalsEntryTable.h"
#include "platform/host/Machine.h"
#include "platform/win32.h"

namespace {

constexpr wchar_t kDirectory[] = L"C:\\bench";
constexpr wchar_t kLibrary[] = L"C:\\bench\\talsClient.dll";

void putLibrary() {
  host::machine().drive.copyIn(STANDINS_DIR "/talsClient.dll", kLibrary);
}

void entries(benchmark::State& state) {
  putLibrary();
  const SOloader loader(L"talsClient", kDirectory);
  TalsEntryTable table;
  for (auto unused : state) {
    for (const TalsEntryLookup& lookup : kTalsEntryLookups) {
      table.*lookup.slot = reinterpret_cast<TalsEntry>(loader.getProcedure(lookup.name));
    }
    benchmark::DoNotOptimize(&table);
  }
}

void entryCalls(benchmark::State& state) {
  putLibrary();
  const HMODULE library = LoadLibraryExW(kLibrary, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
  for (auto unused : state) {
    for (const TalsEntryLookup& lookup : kTalsEntryLookups) {
      benchmark::DoNotOptimize(GetProcAddress(library, lookup.name));
    }
  }
  FreeLibrary(library);
}

// Devices of which none is the stack's. They cost the platform nothing, because a platform that
// looks through all its nodes for each one that is to be located would be measured instead.
class ListedDevices : public vusl::DeviceManagerWrapper {
 public:
  explicit ListedDevices(int count) {
    for (int i = 0; i < count; ++i) {
      list += L"SWD\\DRIVERENUM\\COMPONENT&" + std::to_wstring(i) + L'\0';
    }
  }

  std::uint32_t GetDeviceList(const wchar_t*, wchar_t*& listOut) override {
    listOut = list.data();
    return 0;
  }
  std::uint32_t LocateDevNode(DEVINST& out, wchar_t*) override {
    out = 1;
    return 0;
  }
  std::uint32_t GetDeviceHardwareID(DEVINST, void* buffer, ULONG& sizeInOut) override {
    static constexpr wchar_t kId[] = L"SWC\\PROVIDER_OF_ANOTHER_COMPONENT";
    sizeInOut = sizeof(kId);
    std::memcpy(buffer, kId, sizeof(kId));
    ++asked;
    return 0;
  }

  std::int64_t asked = 0;

 private:
  std::wstring list;
};

void search(benchmark::State& state, int devices, int times) {
  ListedDevices wrapper(devices);
  for (auto unused : state) {
    for (int i = 0; i < times; ++i) {
      wchar_t* list = nullptr;
      benchmark::DoNotOptimize(GetDeviceHKEY(wrapper, list));
    }
  }
  if (wrapper.asked != state.iterations() * devices * times) {
    state.SkipWithError("not every device was looked at");
  }
}

void searchOfAThousand(benchmark::State& state) {
  search(state, 1000, 1);
}

void tenSearchesOfAHundred(benchmark::State& state) {
  search(state, 100, 10);
}

BENCHMARK(entries);
BENCHMARK(entryCalls);
BENCHMARK(searchOfAThousand);
BENCHMARK(tenSearchesOfAHundred);

const bool kEntries =
    ratios::addRow({"the library's 21 entries : 21 look-ups", "entries", "entryCalls", 1.2});
const bool kSearch = ratios::addRow({"search of 1000 devices : ten searches of 100",
                                     "searchOfAThousand", "tenSearchesOfAHundred", 1.1});

}  // namespace
