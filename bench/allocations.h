// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace corvo::bench {

/// The number of allocations so far, and the number of bytes currently allocated.
std::size_t allocationCount();
std::size_t liveBytes();

}  // namespace corvo::bench
