#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "base/text_hash.h"

namespace corvo::targeting {

/// The name of a property with its hash: names known beforehand are hashed once. Refers to the
/// text it is made from.
struct PropertyName {
  template <std::convertible_to<std::string_view> Text>
  PropertyName(const Text& name)
      : text(name), hash(static_cast<std::uint32_t>(base::TextHash()(text))) {}

  std::string_view text;
  std::uint32_t hash;
};

/// The expiry of what never expires.
constexpr double kNever = std::numeric_limits<double>::infinity();

/// Property values by name, each with the moment after which it counts as absent.
///
/// Reading is safe from any thread while nobody writes. Owns its texts; what `find` answers is
/// valid until the next `put`.
class PropertyLayer {
 public:
  /// Enters a property, or replaces the one of that name.
  void put(const PropertyName& name, std::string_view value, double expiry = kNever);

  /// The value of a property whose expiry is not earlier than now; null when there is none.
  [[nodiscard]] const std::string* find(const PropertyName& name, double now) const {
    const Slot& slot = slots_[slotOf(name)];
    if (slot.entry == 0 || entries_[slot.entry - 1].expiry < now) return nullptr;
    return &entries_[slot.entry - 1].value;
  }

 private:
  struct Entry {
    std::string name;
    std::string value;
    double expiry;
  };
  // Open addressing with linear probing, at most half full.
  struct Slot {
    std::uint32_t hash = 0;
    std::uint32_t entry = 0;  // its position in entries_ plus one; 0 where the slot is free
  };

  // The slot of that name, or the free one where it belongs.
  [[nodiscard]] std::size_t slotOf(const PropertyName& name) const {
    for (std::size_t at = name.hash;; ++at) {
      const Slot& slot = slots_[at & (slots_.size() - 1)];
      if (slot.entry == 0 ||
          (slot.hash == name.hash && entries_[slot.entry - 1].name == name.text)) {
        return at & (slots_.size() - 1);
      }
    }
  }
  void grow();

  std::vector<Entry> entries_;
  std::vector<Slot> slots_ = std::vector<Slot>(16);
};

}  // namespace corvo::targeting
