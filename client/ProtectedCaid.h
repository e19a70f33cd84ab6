#pragma once

#include "client/TalsCallShapes.h"
#include "client/TalsEntryTable.h"

// The client library's handle for the length of one transaction: got from talsCaidProtect, given
// back to talsCaidDestroy.
//
// Lives on the stack of whoever runs the transaction, and no longer than the table. Neither entry
// is tested: a library that lacks one faults at the call.
class ProtectedCaid {
 public:
  // Throws Exception "talsCaidProtect failed." for any answer but 0; there is nothing to give back
  // then. What the library throws passes through.
  explicit ProtectedCaid(const TalsEntryTable& table);
  ProtectedCaid(const ProtectedCaid&) = delete;
  ProtectedCaid& operator=(const ProtectedCaid&) = delete;

  // Gives the handle back. A failure is logged and lets nothing out: the transaction is over, and
  // its result is what counts.
  ~ProtectedCaid();

  TalsCaidHandle handle() const { return caid; }

 private:
  const TalsEntryTable& entries;
  TalsCaidHandle caid = nullptr;
};
