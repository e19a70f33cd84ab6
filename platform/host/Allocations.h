#pragma once

namespace host {

// In the program whose requests for memory can fail, the environment says which one of a life does:
// the first of the product's is 1.
inline constexpr char kFailingAllocation[] = "TPM_HOST_FAILING_ALLOCATION";

// Under which name such a failure is marked.
inline constexpr char kAllocationCall[] = "operator new";

}  // namespace host
