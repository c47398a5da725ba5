#pragma once

#include <cstddef>

namespace corvo::tests {

/// How often this thread has allocated so far, and how much oftener than it has freed. Needs a
/// build without sanitizers.
std::size_t allocationCount();
std::ptrdiff_t liveAllocations();

/// Lets that many more allocations of this thread succeed; then one fails. None fails once this is
/// over.
class FailingAllocation {
 public:
  explicit FailingAllocation(std::size_t succeedBefore);
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
  ~FailingAllocation();

  /// Whether it has come to that.
  [[nodiscard]] static bool hasFailed();
};

}  // namespace corvo::tests
