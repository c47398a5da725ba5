// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "model/config.h"
#include "targeting/local_time.h"
#include "targeting/property_table.h"

namespace corvo::corvo_internal::targeting {

/// A user's own property by which experiments may split.
struct OwnIdentifier {
  std::string_view text;
  double expiry = 0;
  bool isThere = false;
};

/// These properties, by split mode.
using OwnIdentifiers = std::array<OwnIdentifier, 3>;

/// Everything that a decision reads besides the configuration: the user's identifiers, all
/// properties by the numbers of their names in the configuration, the time of the question, the
/// device's local time, and the device's identifier if there is one.
///
/// A value created for a question and reused while nothing changes. Refers to its parts. Null
/// properties mean no properties.
struct Context {
  const OwnIdentifiers* own = nullptr;
  const PropertyTable* properties = nullptr;
  double now = 0;              ///< Comparable with expiries.
  std::uint64_t revision = 0;  ///< Differs when the user or the device differs.
  const LocalTime& localTime;
  std::optional<std::string_view> vendorIdentifier = {};

  /// The property with that number; null if there is none.
  [[nodiscard]] const std::string_view* find(std::uint32_t number) const {
    return properties == nullptr ? nullptr : properties->find(number, now);
  }

  /// The user's own identifier of that mode; null if there is none or it has expired.
  [[nodiscard]] const std::string_view* findOwn(model::SplitMode mode) const {
    if (own == nullptr) return nullptr;
    const OwnIdentifier& identifier = (*own)[static_cast<std::size_t>(mode)];
    return identifier.isThere && !hasExpired(identifier.expiry, now) ? &identifier.text : nullptr;
  }
};

}  // namespace corvo::corvo_internal::targeting
