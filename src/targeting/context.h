#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "model/config.h"
#include "targeting/local_time.h"
#include "targeting/property_table.h"

namespace corvo::corvo_internal::targeting {

/// A property of the user's own by which experiments may split.
struct OwnIdentifier {
  std::string_view text;
  double expiry = 0;
  bool isThere = false;
};

/// Those properties, by split mode.
using OwnIdentifiers = std::array<OwnIdentifier, 3>;

/// All that a decision reads besides the configuration: the user's identifiers, all properties by
/// the numbers of the configuration's names, the moment of the question, the local time of the
/// device and its identifier, absent where it has none.
///
/// A value made for a question, and for those after it while nothing changes; refers to its parts.
/// No properties (null) are none.
struct Context {
  const OwnIdentifiers* own = nullptr;
  const PropertyTable* properties = nullptr;
  double now = 0;              ///< Comparable with expiries.
  std::uint64_t revision = 0;  ///< Another one when the user, or the device, is another one.
  const LocalTime& localTime;
  std::optional<std::string_view> vendorIdentifier = {};

  /// The property of that number; null when there is none.
  [[nodiscard]] const std::string_view* find(std::uint32_t number) const {
    return properties == nullptr ? nullptr : properties->find(number, now);
  }

  /// The user's own identifier of that mode; null when there is none, or it has expired.
  [[nodiscard]] const std::string_view* findOwn(model::SplitMode mode) const {
    if (own == nullptr) return nullptr;
    const OwnIdentifier& identifier = (*own)[static_cast<std::size_t>(mode)];
    return identifier.isThere && !hasExpired(identifier.expiry, now) ? &identifier.text : nullptr;
  }
};

}  // namespace corvo::corvo_internal::targeting
