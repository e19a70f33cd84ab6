#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "platform/host/windows/Types.h"

namespace host {

// The resource section of a library of the platform's own kind, read from its bytes. Nothing in the
// file is trusted: what points outside of it is not there.
class ResourceFile {
 public:
  // Nothing if the bytes are no program or library, or only the beginning of one's headers.
  static std::optional<ResourceFile> parse(std::string bytes);

  // The string with this id, as far as the file has it in the language `user`, else in no language,
  // else in English, else in the first that it has. Nothing if there is none; `error` is then what
  // the platform answers. A string that is there and empty counts as none. Zero characters are
  // kept, and so are halves of surrogate pairs that lack the other half.
  std::optional<std::wstring> string(UINT id, LANGID user, DWORD* error) const;

 private:
  struct Entry {
    std::uint32_t id;
    std::uint32_t target;  // of a table, or of the place of the data, from the section's begin
    bool isTable;
  };
  // Where the file's bytes lie that are loaded at an address.
  std::optional<std::size_t> offsetOf(std::uint32_t address) const;
  std::optional<Entry> entryAt(std::size_t table, std::size_t index) const;
  // How many entries a table has; those with names stand before those with ids.
  std::size_t entries(std::size_t table) const;
  std::optional<Entry> find(std::size_t table, std::uint32_t id) const;
  std::optional<Entry> findLanguage(std::size_t table, LANGID user) const;
  // The characters of one string in its block.
  std::optional<std::u16string> inBlock(std::size_t block, std::size_t end, UINT index) const;

  template <class Number>
  std::optional<Number> at(std::size_t offset) const;

  std::string bytes_;
  std::size_t sections_ = 0;  // where the table of sections begins
  std::size_t sectionCount_ = 0;
  std::size_t resources_ = 0;  // where the resource section begins; 0 if there is none
};

}  // namespace host
