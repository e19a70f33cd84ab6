#include "VUSL/Support/ResourceLoader.h"

#include <string_view>

#include "VUSL/Support/AssertException.h"
#include "VUSL/Support/ResourceMissingException.h"
#include "VUSL/Support/Settings.h"

namespace {

constexpr const wchar_t* kSupportLibraryBaseName = L"VUSL";

constexpr uint32_t kPrimaryLanguageMask = 1023;
constexpr uint32_t kPrimaryGerman = 7;
constexpr uint32_t kPrimarySpanish = 10;
constexpr uint32_t kPrimaryPolish = 21;
constexpr uint32_t kPrimaryPortuguese = 22;
constexpr uint32_t kSublanguageMask = 64512;
constexpr uint32_t kMexicanSublanguage = 2048;

}  // namespace

void ResourceLoader::loadString(uint32_t id, wchar_t* buffer, int32_t language, int size) {
  const auto defaultList = resourceLibraries.find(kEnglish);
  if (defaultList == resourceLibraries.end()) {
    throw ResourceMissingException() << "Error during loading resource library. Could not find "
                                        "mapping for default language";
  }
  auto list = resourceLibraries.find(language);
  if (list == resourceLibraries.end()) list = defaultList;

  if (loadFromLibraries(list->second, id, buffer, size) != 0) return;
  if (list != defaultList && loadFromLibraries(defaultList->second, id, buffer, size) != 0) return;
  if (useOwnModule && LoadStringW(GetModuleHandleW(nullptr), id, buffer, size) != 0) return;
  throw ResourceMissingException() << "Error during loading a string resource. Following string "
                                      "resource id could not be found: "
                                   << id << ".";
}

void ResourceLoader::loadString(uint32_t id, wchar_t* buffer, int size) {
  loadString(id, buffer, currentLanguage(), size);
}

void ResourceLoader::loadString(uint32_t id, wchar_t* buffer) {
  loadString(id, buffer, currentLanguage(), kDefaultSize);
}

int ResourceLoader::loadFromLibraries(const LibraryList& list, uint32_t id, wchar_t* buffer,
                                      int size) {
  for (const vusl::string_t& name : list) {
    const HMODULE library = loadLibrary(name);
    if (library == nullptr) continue;
    const int length = LoadStringW(library, id, buffer, size);
    if (length != 0) return length;
  }
  return 0;
}

HMODULE ResourceLoader::loadLibrary(const vusl::string_t& name) {
  const auto known = loadedLibraries.find(name);
  if (known != loadedLibraries.end()) return known->second;

  loadedLibraries[name] = LoadLibraryExW(name.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
  // A library that is missing has an entry too, so that it is not tried again; no entry at all
  // would be a fault of ours.
  const auto loaded = loadedLibraries.find(name);
  if (loaded == loadedLibraries.end()) throw AssertException("Invalid loadedLibrariesIterator");
  return loaded->second;
}

const std::map<int32_t, vusl::string_t>& ResourceLoader::languageNames() {
  static const std::map<int32_t, vusl::string_t> names = {
      {kEnglish, L"en-US"},        {kSpanish, L"es-ES"}, {kPortuguese, L"pt-BR"},
      {kMexicanSpanish, L"es-MX"}, {kGerman, L"de-DE"},  {kPolish, L"pl-PL"},
  };
  return names;
}

int32_t ResourceLoader::currentLanguage() {
  if (languageOverrideSet) return languageOverride;
  const uint32_t user = GetUserDefaultLangID();
  switch (user & kPrimaryLanguageMask) {
    case kPrimarySpanish:
      return (user & kSublanguageMask) == kMexicanSublanguage ? kMexicanSpanish : kSpanish;
    case kPrimaryPortuguese:
      return kPortuguese;
    case kPrimaryGerman:
      return kGerman;
    case kPrimaryPolish:
      return kPolish;
    default:
      return kEnglish;
  }
}

std::vector<int32_t> ResourceLoader::fallbackLanguages(int32_t language) {
  if (language == kSpanish) return {kSpanish, kMexicanSpanish};
  if (language == kMexicanSpanish) return {kMexicanSpanish, kSpanish};
  return {language};
}

vusl::string_t ResourceLoader::libraryFileName(const vusl::string_t& baseName, int32_t language) {
  const auto name = languageNames().find(language);
  if (name == languageNames().end()) {
    throw ResourceMissingException()
        << "Could not find language mapping for languageID=" << language;
  }
  const vusl::string_t start = baseName.empty() ? baseName : baseName + L"_";
  // Widened without the platform: the lists last for the process, and so would a failure.
  constexpr std::string_view kSuffix = settings::kLibrarySuffix;
  return start + name->second + vusl::string_t(kSuffix.begin(), kSuffix.end());
}

void ResourceLoader::initialiseLibraries() {
  for (const auto& [language, name] : languageNames()) {
    LibraryList& list = resourceLibraries[language];
    for (const int32_t entry : fallbackLanguages(language)) {
      list.push_back(libraryFileName(libraryBaseName, entry));
      list.push_back(libraryFileName(kSupportLibraryBaseName, entry));
    }
  }
}
