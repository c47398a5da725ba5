// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "base/text_hash.h"

namespace corvo::corvo_internal::base {

/// A name with its hash, so that names known in advance are hashed once. Refers to the text it was
/// created from.
struct HashedName {
  template <std::convertible_to<std::string_view> Text>
  HashedName(const Text& name) : text(name), hash(static_cast<std::uint32_t>(TextHash()(text))) {}

  std::string_view text;
  std::uint32_t hash;
};

/// Maps names to positions in a list. The caller owns the list and supplies the name at a position.
///
/// Concurrent reads are safe while nobody adds a name.
class NameIndex {
 public:
  static constexpr std::uint32_t kNone = UINT32_MAX;

  /// Reserves space for the expected number of names; grows when needed.
  explicit NameIndex(std::size_t expected = 0) {
    while (slots_.size() < 2 * expected) slots_.resize(2 * slots_.size());
  }

  /// The position stored for the name, or `kNone`.
  template <class NameAt>
  [[nodiscard]] std::uint32_t find(const HashedName& name, NameAt nameAt) const {
    return slots_[slotOf(name, nameAt)].position;
  }

  /// Stores a position for the name. Returns the previous position, or `kNone`.
  template <class NameAt>
  std::uint32_t put(const HashedName& name, std::uint32_t position, NameAt nameAt) {
    if (2 * count_ >= slots_.size()) grow();
    Slot& slot = slots_[slotOf(name, nameAt)];
    if (slot.position == kNone) ++count_;
    slot.hash = name.hash;
    return std::exchange(slot.position, position);
  }

 private:
  // Open addressing with linear probing, at most half full.
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t position = kNone;
  };

  // The slot that holds the name, or the free slot where it belongs.
  template <class NameAt>
  [[nodiscard]] std::size_t slotOf(const HashedName& name, NameAt nameAt) const {
    for (std::size_t at = name.hash;; ++at) {
      const Slot& slot = slots_[at & (slots_.size() - 1)];
      if (slot.position == kNone ||
          (slot.hash == name.hash && sameBytes(nameAt(slot.position), name.text))) {
        return at & (slots_.size() - 1);
      }
    }
  }

  void grow() {
    const std::vector<Slot> smaller = std::exchange(slots_, std::vector<Slot>(2 * slots_.size()));
    for (const Slot& slot : smaller) {
      if (slot.position == kNone) continue;
      std::size_t at = slot.hash;
      while (slots_[at & (slots_.size() - 1)].position != kNone) ++at;
      slots_[at & (slots_.size() - 1)] = slot;
    }
  }

  std::vector<Slot> slots_ = std::vector<Slot>(16);
  std::size_t count_ = 0;
};

}  // namespace corvo::corvo_internal::base
