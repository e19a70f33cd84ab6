#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "VUSL/Support/Text.h"
#include "platform/win32.h"

// Finds a string for the user by its id in the language libraries beside the program: libraries of
// strings only, one for each language and component. It asks the user's language first, then a
// related one, then English.
//
// The tables are shared by the whole process and have no lock: they are filled on the first use,
// and loaders are used by one thread at a time. A loader may be short-lived; the libraries that it
// loads stay loaded to the end of the process.
class ResourceLoader {
 public:
  // Indices of languages, which is what "language" means in all that follows.
  static constexpr int32_t kEnglish = 0;
  static constexpr int32_t kSpanish = 1;
  static constexpr int32_t kPortuguese = 2;
  static constexpr int32_t kMexicanSpanish = 3;
  static constexpr int32_t kGerman = 4;
  static constexpr int32_t kPolish = 5;

  // Characters that a buffer holds where no size is given.
  static constexpr int kDefaultSize = 2048;

  // File names of libraries in the order in which they are asked.
  using LibraryList = std::vector<vusl::string_t>;

  // The base name of the calling program's own libraries. It is to be set before
  // `initialiseLibraries`; later changes do not touch the lists. The texts of system errors and of
  // prompts clear it before they make lists that are not there yet.
  inline static vusl::string_t libraryBaseName;

  // The libraries of each language. A user of a loader runs `initialiseLibraries` when it is empty.
  inline static std::map<int32_t, LibraryList> resourceLibraries;

  // Whether the program's own strings are asked last.
  inline static bool useOwnModule = false;

  // If `languageOverrideSet`, `languageOverride` counts instead of the user's language.
  inline static bool languageOverrideSet = false;
  inline static int32_t languageOverride = kEnglish;

  ResourceLoader() = default;
  ResourceLoader(const ResourceLoader&) = delete;
  ResourceLoader& operator=(const ResourceLoader&) = delete;
  virtual ~ResourceLoader() = default;

  // Fills `buffer`, `size` characters long, with the string `id` in `language`, else in English. A
  // longer string is cut. `size` must be 1 at least: with 0 the platform puts the address of its
  // own copy in place of characters. Throws `ResourceMissingException` if there is none or the
  // tables are empty.
  virtual void loadString(uint32_t id, wchar_t* buffer, int32_t language, int size);

  // The same in the current language.
  virtual void loadString(uint32_t id, wchar_t* buffer, int size);

  // The same for a buffer of 2048 characters.
  virtual void loadString(uint32_t id, wchar_t* buffer);

  // Asks the libraries of `list` in order until one has the string. Returns its length in
  // characters, 0 if none has it.
  virtual int loadFromLibraries(const LibraryList& list, uint32_t id, wchar_t* buffer, int size);

  // The library's handle, null if it cannot be loaded. A loader tries each name once. The handle
  // must not be released.
  virtual HMODULE loadLibrary(const vusl::string_t& name);

  // The names of the languages, such as "en-US", by index.
  static const std::map<int32_t, vusl::string_t>& languageNames();

  // The override if it is set, otherwise the user's language as the system has it; English for a
  // language that has no libraries.
  static int32_t currentLanguage();

  // `language` and then the languages that its readers understand as well.
  static std::vector<int32_t> fallbackLanguages(int32_t language);

  // "<baseName>_<language's name>.dll", without the "_" if `baseName` is empty.
  // Throws `ResourceMissingException` for an index that is no language's.
  static vusl::string_t libraryFileName(const vusl::string_t& baseName, int32_t language);

  // Fills `resourceLibraries` from `libraryBaseName`, which must be done once.
  static void initialiseLibraries();

 private:
  std::map<vusl::string_t, HMODULE> loadedLibraries;
};
