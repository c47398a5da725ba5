#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "base/name_index.h"

namespace corvo::corvo_internal::targeting {

/// The expiry of what never expires.
constexpr double kNever = std::numeric_limits<double>::infinity();

/// A moment that is no number has expired nothing.
[[nodiscard]] inline bool hasExpired(double expiry, double now) noexcept { return expiry < now; }

/// Property values by name, each with the moment after which it counts as absent.
///
/// Reading is safe from any thread while nobody writes. Owns its texts; what is found is valid
/// until a property of a new name is put.
class PropertyLayer {
 public:
  struct Property {
    std::string name;
    std::string value;
    double expiry;

    [[nodiscard]] bool countsAt(double now) const { return !hasExpired(expiry, now); }
  };

  /// Enters a property, or replaces the value and the expiry of the one of that name.
  void put(const base::HashedName& name, std::string_view value, double expiry = kNever);

  /// The property of that name, expired or not; null when there is none.
  [[nodiscard]] const Property* find(const base::HashedName& name) const {
    const std::uint32_t position = index_.find(name, NameAt{properties_});
    return position == base::NameIndex::kNone ? nullptr : &properties_[position];
  }

 private:
  struct NameAt {
    const std::vector<Property>& properties;
    std::string_view operator()(std::uint32_t position) const { return properties[position].name; }
  };

  std::vector<Property> properties_;
  base::NameIndex index_;
};

}  // namespace corvo::corvo_internal::targeting
