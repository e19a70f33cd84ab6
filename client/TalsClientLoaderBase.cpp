#include "client/TalsClientLoaderBase.h"

TalsClientLoaderBase::~TalsClientLoaderBase() {
  entries = TalsEntryTable{};
}
