#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "base/name_index.h"

namespace corvo::targeting {

/// The expiry of what never expires.
constexpr double kNever = std::numeric_limits<double>::infinity();

/// Property values by name, each with the moment after which it counts as absent.
///
/// Reading is safe from any thread while nobody writes. Owns its texts; what `find` answers is
/// valid until the next `put`.
class PropertyLayer {
 public:
  /// Enters a property, or replaces the one of that name.
  void put(const base::HashedName& name, std::string_view value, double expiry = kNever);

  /// The value of a property whose expiry is not earlier than now; null when there is none.
  [[nodiscard]] const std::string* find(const base::HashedName& name, double now) const {
    const std::uint32_t position = index_.find(name, NameAt{entries_});
    if (position == base::NameIndex::kNone || entries_[position].expiry < now) return nullptr;
    return &entries_[position].value;
  }

 private:
  struct Entry {
    std::string name;
    std::string value;
    double expiry;
  };

  struct NameAt {
    const std::vector<Entry>& entries;
    std::string_view operator()(std::uint32_t position) const { return entries[position].name; }
  };

  std::vector<Entry> entries_;
  base::NameIndex index_;
};

}  // namespace corvo::targeting
