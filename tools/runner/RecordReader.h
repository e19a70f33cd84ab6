#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "platform/host/Report.h"
#include "platform/host/Scheduler.h"

namespace runner {

// One thing that a life told: what kind of thing, when on the machine's clock, and a text.
struct Record {
  host::ReportKind kind = host::ReportKind::kNote;
  host::Nanoseconds at = 0;
  std::string text;
};

// Makes records out of the bytes of a life's report, which come in pieces of any size.
//
// Used on one thread. A byte that cannot belong to a record ends the reading for good: what follows
// it means nothing.
class RecordReader {
 public:
  // Called for each record, in order, as soon as it is complete; false ends the reading.
  using Taker = std::function<bool(const Record&)>;

  // Takes the next piece. False if the reading has ended: the bytes are no report (see `fault`), or
  // `take` wanted no more.
  bool feed(std::string_view bytes, const Taker& take);

  // What is wrong with the report read so far, given that no more bytes come: bytes that are no
  // record, or a record that breaks off. Empty if nothing is.
  std::string fault() const;

 private:
  enum class Progress { kRecord, kIncomplete, kFault };

  Progress next(Record& record);
  Progress refuse(const std::string& reason);

  std::string pending_;
  std::size_t position_ = 0;
  std::string fault_;
  bool ended_ = false;
};

}  // namespace runner
