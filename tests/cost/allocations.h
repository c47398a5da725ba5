// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace corvo::tests {

/// The number of this thread's allocations so far, and that number minus its deallocations.
/// Requires a build without sanitizers.
std::size_t allocationCount();
std::ptrdiff_t liveAllocations();

/// Lets the given number of this thread's allocations succeed, and then one fail. No allocation
/// fails after this object is destroyed.
class FailingAllocation {
 public:
  explicit FailingAllocation(std::size_t succeedBefore);
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
  ~FailingAllocation();

  /// Whether one has failed.
  [[nodiscard]] static bool hasFailed();
};

}  // namespace corvo::tests
