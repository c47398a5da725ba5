#pragma once

#include <map>
#include <optional>
#include <string>

namespace corvo {

/// Text values by name, in the order of the names' bytes.
using PropertyMap = std::map<std::string, std::string, std::less<>>;

/// The user about whom a client answers: a plain record. Made by `CorvoUser::Builder`, which is
/// declared in <corvo/user_builder.h>.
struct CorvoUser {
  class Builder;

  PropertyMap properties;  ///< By the names that conditions use: "userId", "custom.plan".

  /// For each property the local moment after which it is no longer used, "yyyy-MM-dd HH:mm:ss".
  std::optional<PropertyMap> corvoExpiration;

  bool operator==(const CorvoUser&) const = default;
};

}  // namespace corvo
