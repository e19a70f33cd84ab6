#pragma once

#include <cstdint>
#include <string>

#include "VUSL/Support/LogStatusListener.h"
#include "VUSL/Support/OutletBase.h"
#include "VUSL/SupportCore/File.h"

// Writes lines to a file and, when the file would pass a size limit, moves it aside to numbered
// archives and starts a new one. One lock serves all outlets of the process, so lines of several
// threads never mix; no failure to write leaves an outlet.
class RollingFileLogOutlet : public OutletBase<RollingFileLogOutlet> {
 public:
  static constexpr uint32_t kMaxFileSize = 4194304;
  static constexpr uint32_t kMaxArchiveNumber = 10;

  // `path` of the file, in UTF-8. Opens nothing. Throws `Exception` if the size of
  // the file cannot be read.
  explicit RollingFileLogOutlet(const std::string& path);

  // Opens the file unless the threshold is NONE. Throws `Exception` if that fails.
  void reopen() override;

  // Appends the line, narrowed, with a line end, to the file; rolls first if the file would become
  // larger than the limit. If rolling fails, the reason goes into the file before the line.
  void Dump(const vusl::string_t& message) override;

  // Who hears of failures; null for nobody. It stays the caller's and must outlive the outlet.
  void setListener(LogStatusListener* newListener) { listener = newListener; }

  // The limits. `bytes` of a file; `number` of archives.
  void setMaxFileSize(uint32_t bytes) { maxFileSize = bytes; }
  void setMaxArchiveNumber(uint32_t number) { maxArchiveNumber = number; }

 protected:
  // Moves `path` aside to the archive `index`, after the archives from there on have moved up; the
  // last archive is deleted. A gap in the chain ends the shift. Throws `Exception` if a file cannot
  // be moved or deleted.
  virtual void roll(const vusl::string_t& path, unsigned int index);

  // The machine's local time by the rules of strftime, at most 63 characters. An empty `format`
  // means "%Y%m%d%H%M%S".
  static void timeStamp(std::string& out, const std::string& format);

  uint32_t currentSize;
  vusl::File file;
  uint32_t maxFileSize = kMaxFileSize;
  uint32_t maxArchiveNumber = kMaxArchiveNumber;
  LogStatusListener* listener = nullptr;
  bool lastWriteOk = true;
  bool rollFlagA = false;
  bool rollFlagB = false;
  vusl::string_t logFileName;

 private:
  void rollIfFull(uint32_t lengthBytes);
  void reportFailure(const vusl::string_t& text);
};
