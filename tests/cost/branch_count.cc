// SPDX-License-Identifier: Apache-2.0

#include "branch_count.h"

std::size_t corvoBranchCount = 0;

// Called by the compiler's instrumentation. This file itself is not instrumented.
extern "C" void __sanitizer_cov_trace_pc() { ++corvoBranchCount; }
