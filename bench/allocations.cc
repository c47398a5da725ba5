// SPDX-License-Identifier: Apache-2.0

#include "bench/allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> count{0};
std::atomic<std::size_t> live{0};

// The size of a block is stored before it.
constexpr std::size_t kHead = __STDCPP_DEFAULT_NEW_ALIGNMENT__;

// Not an atomic addition, which takes as long as the allocation. Of two simultaneous allocations,
// one may not be counted.
void add(std::atomic<std::size_t>& sum, std::size_t value) {
  sum.store(sum.load(std::memory_order_relaxed) + value, std::memory_order_relaxed);
}

}  // namespace

void* operator new(std::size_t size) {
  auto* block = static_cast<std::size_t*>(std::malloc(size + kHead));
  if (block == nullptr) throw std::bad_alloc();
  *block = size;
  add(count, 1);
  add(live, size);
  return reinterpret_cast<std::byte*>(block) + kHead;
}

void operator delete(void* pointer) noexcept {
  if (pointer == nullptr) return;
  auto* block = reinterpret_cast<std::size_t*>(static_cast<std::byte*>(pointer) - kHead);
  add(live, 0 - *block);
  std::free(block);
}

void operator delete(void* pointer, std::size_t) noexcept { operator delete(pointer); }

namespace corvo::bench {

std::size_t allocationCount() { return count.load(std::memory_order_relaxed); }
std::size_t liveBytes() { return live.load(std::memory_order_relaxed); }

}  // namespace corvo::bench
