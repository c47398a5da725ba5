// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <optional>
#include <string>

namespace corvo {

/// Text values by name, in byte order of the names.
using PropertyMap = std::map<std::string, std::string, std::less<>>;

/// The user that questions are about: a plain record. Build one with `CorvoUser::Builder`, which is
/// declared in <corvo/user_builder.h>.
struct CorvoUser {
  class Builder;

  PropertyMap properties;  ///< By the names in conditions: "userId", "custom.plan".

  /// For each property the local moment after which it is no longer used, "yyyy-MM-dd HH:mm:ss". A
  /// stored user without this map gets it at the next start: one day for each property.
  std::optional<PropertyMap> corvoExpiration;

  bool operator==(const CorvoUser&) const = default;
};

}  // namespace corvo
