#pragma once

#include <cstdint>

#include "VUSL/Support/OutletBase.h"

// Writes lines to the wide standard output. It takes no lock; a write that fails is left to the
// stream's own state.
class ConsoleLogOutlet : public OutletBase<ConsoleLogOutlet> {
 public:
  // `prefixed`: whether lines begin with the timestamp and the tag.
  explicit ConsoleLogOutlet(bool prefixed);

  bool wantsPrefix() override;
  void reopen() override {}

  // Writes the line without its colour tag, and flushes.
  void Dump(const vusl::string_t& message) override;

  // Takes one colour tag out of `text`, "[RED]" before "[GREEN]" wherever they stand. Returns 0 for
  // no tag, 1 for "[GREEN]", 2 for "[RED]".
  static int32_t stripColourTag(vusl::string_t& text);

 private:
  bool withPrefix;
};
