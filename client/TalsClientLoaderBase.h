#pragma once

#include "client/TalsEntryTable.h"

// What a client caller needs of a loaded client stack: the table of its entry points.
//
// Owned by the client caller, which reads a slot and calls it directly. The table is written by
// the derived class's constructor, before any call, and read without a lock afterwards.
class TalsClientLoaderBase {
 public:
  TalsClientLoaderBase() = default;
  TalsClientLoaderBase(const TalsClientLoaderBase&) = delete;
  TalsClientLoaderBase& operator=(const TalsClientLoaderBase&) = delete;

  // Clears the whole table.
  virtual ~TalsClientLoaderBase();

  TalsEntryTable entries;
};
