#pragma once

#include <cstdint>

#include "VUSL/Support/Text.h"

namespace vusl {

// An empty text, in memory that an earlier one has left behind where there is some, so that a text
// that is made anew for each log line takes no memory anew. It belongs to the thread that made it.
//
// The memory lies in a few process-wide places, by thread, and not with the threads: objects that
// log are destroyed when what belongs to their thread is gone already.
class SpareText {
 public:
  // `thread`: the id of the calling thread. Two threads that share a place are both served; one of
  // them takes fresh memory.
  explicit SpareText(uint32_t thread);

  // Leaves the memory behind for the next.
  ~SpareText();

  SpareText(const SpareText&) = delete;
  SpareText& operator=(const SpareText&) = delete;

  string_t& text() { return *text_; }

 private:
  uint32_t place;
  string_t* text_;
};

}  // namespace vusl
