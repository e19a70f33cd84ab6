#pragma once

#include <cstddef>

namespace host {

// The process heap: what the platform's calls hand out and take back. Every block is an
// "allocation" in the ledger. The platform's other allocators are this heap under other names, so
// a block may be given back through any of them.

// Zero-filled; null if there is no memory.
void* allocate(std::size_t size, const char* maker);

// False, and a violation under the name of `call`, for anything that is no open block.
bool release(void* block, const char* call);

}  // namespace host
