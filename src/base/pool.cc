// SPDX-License-Identifier: Apache-2.0

#include "base/pool.h"

#include <memory>

namespace corvo::corvo_internal::base {
namespace {

constexpr std::size_t kSmallestBlock = 1'024;
constexpr std::size_t kSizeBytes = sizeof(std::uint32_t);

}  // namespace

// Block sizes grow with the total, so that there are few blocks and the last one wastes little.
char* Pool::room(std::size_t bytes, std::size_t alignment) {
  const auto left = [this] { return static_cast<std::size_t>(end_ - next_); };
  const auto padding = [&] {
    const std::uintptr_t beyond = reinterpret_cast<std::uintptr_t>(next_) + kSizeBytes;
    return (alignment - beyond % alignment) % alignment;
  };
  if (left() < kSizeBytes + padding() || left() - kSizeBytes - padding() < bytes) {
    const std::size_t size =
        std::max({bytes + kSizeBytes + alignment, kSmallestBlock, total_ / 16});
    blocks_.reserve(blocks_.size() + 1);
    blocks_.push_back(std::make_unique_for_overwrite<char[]>(size));
    total_ += size;
    next_ = blocks_.back().get();
    end_ = next_ + size;
  }
  char* const place = next_ + padding() + kSizeBytes;
  next_ = place + bytes;
  return place;
}

}  // namespace corvo::corvo_internal::base
