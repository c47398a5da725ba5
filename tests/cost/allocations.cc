// SPDX-License-Identifier: Apache-2.0

#include "tests/cost/allocations.h"

#include <cstdlib>
#include <new>

namespace {

constexpr std::ptrdiff_t kNever = -1;
constexpr std::ptrdiff_t kFailed = -2;

thread_local std::size_t allocations = 0;
thread_local std::ptrdiff_t live = 0;
thread_local std::ptrdiff_t leftToSucceed = kNever;

}  // namespace

void* operator new(std::size_t size) {
  if (leftToSucceed >= 0 && leftToSucceed-- == 0) {
    leftToSucceed = kFailed;
    throw std::bad_alloc();
  }
  void* const memory = std::malloc(size);
  if (memory == nullptr) throw std::bad_alloc();
  ++allocations;
  ++live;
  return memory;
}
void operator delete(void* memory) noexcept {
  if (memory != nullptr) --live;
  std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept { operator delete(memory); }

namespace corvo::tests {

std::size_t allocationCount() { return allocations; }
std::ptrdiff_t liveAllocations() { return live; }

FailingAllocation::FailingAllocation(std::size_t succeedBefore) {
  leftToSucceed = static_cast<std::ptrdiff_t>(succeedBefore);
}
FailingAllocation::~FailingAllocation() { leftToSucceed = kNever; }

bool FailingAllocation::hasFailed() { return leftToSucceed == kFailed; }

}  // namespace corvo::tests
