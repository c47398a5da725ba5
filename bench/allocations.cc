#include "bench/allocations.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> count{0};
std::atomic<std::size_t> live{0};

// The size of a block stands before it.
constexpr std::size_t kHead = __STDCPP_DEFAULT_NEW_ALIGNMENT__;

}  // namespace

void* operator new(std::size_t size) {
  auto* block = static_cast<std::size_t*>(std::malloc(size + kHead));
  if (block == nullptr) throw std::bad_alloc();
  *block = size;
  count.fetch_add(1, std::memory_order_relaxed);
  live.fetch_add(size, std::memory_order_relaxed);
  return reinterpret_cast<std::byte*>(block) + kHead;
}

void operator delete(void* pointer) noexcept {
  if (pointer == nullptr) return;
  auto* block = reinterpret_cast<std::size_t*>(static_cast<std::byte*>(pointer) - kHead);
  live.fetch_sub(*block, std::memory_order_relaxed);
  std::free(block);
}

void operator delete(void* pointer, std::size_t) noexcept { operator delete(pointer); }

namespace corvo::bench {

std::size_t allocationCount() { return count.load(std::memory_order_relaxed); }
std::size_t liveBytes() { return live.load(std::memory_order_relaxed); }

}  // namespace corvo::bench
