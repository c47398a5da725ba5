// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>

#include "dynamic/dynamic_value.h"

namespace corvo::corvo_internal::dynamic {

enum class Offers : std::uint8_t { decoding, encoding, both };

/// A dynamic value that can be decoded, encoded, or both, on its own or inside typed records.
/// Encodable ones can also be constructed from literals.
template <Offers offers>
struct Any {
  static constexpr bool kDecodes = offers != Offers::encoding;
  static constexpr bool kEncodes = offers != Offers::decoding;
  static constexpr std::string_view kName =
      std::array{"AnyDecodable", "AnyEncodable", "AnyCodable"}[static_cast<std::size_t>(offers)];

  DynamicValue value;

  Any() = default;
  template <std::convertible_to<DynamicValue> V>
  explicit(!kEncodes) Any(V&& wrapped) : value(std::forward<V>(wrapped)) {}

  /// Encodes the value as a part of a longer text. The place of a failure is relative to this
  /// value.
  [[nodiscard]] std::optional<EncodingFailure> encode(
      json::JsonWriter& out) const requires kEncodes {
    return value.encode(out);
  }
  [[nodiscard]] std::variant<std::string, EncodingFailure> toJson() const requires kEncodes {
    return value.toJson();
  }

  bool operator==(const Any&) const = default;
  [[nodiscard]] std::size_t hash() const { return value.hash(); }
  [[nodiscard]] std::string description() const { return value.description(); }
  [[nodiscard]] std::string debugDescription() const {
    return std::string(kName) + '(' + value.debugDescription() + ')';
  }
};

using AnyDecodable = Any<Offers::decoding>;
using AnyEncodable = Any<Offers::encoding>;
using AnyCodable = Any<Offers::both>;

}  // namespace corvo::corvo_internal::dynamic
