// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/export.h>
#include <corvo/json_value.h>

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace corvo {

/// How the text of a configuration value becomes a type. Specialise it to use a type of your own
/// with flags. For a text that is not valid for the type, `fromCorvoString` must return
/// `std::nullopt`, not throw. It must not use the client that calls it.
template <class T>
struct CorvoPropertyTraits;

/// "true" or "false" in any letter case.
template <>
struct CorvoPropertyTraits<bool> {
  /// The value, or `std::nullopt` if the text has another form.
  CORVO_EXPORT static std::optional<bool> fromCorvoString(std::string_view text) noexcept;
};

/// An optional sign and decimal digits, within 64 bits.
template <>
struct CorvoPropertyTraits<std::int64_t> {
  /// The value, or `std::nullopt` if the text has another form.
  CORVO_EXPORT static std::optional<std::int64_t> fromCorvoString(std::string_view text) noexcept;
};

/// The whole text as ISO C `strtod` reads it in the C locale; it must not begin with white space.
template <>
struct CorvoPropertyTraits<double> {
  /// The value, or `std::nullopt` if the text has another form.
  CORVO_EXPORT static std::optional<double> fromCorvoString(std::string_view text);
};

/// Any text, unchanged.
template <>
struct CorvoPropertyTraits<std::string> {
  /// The value, or `std::nullopt` if the text has another form.
  static std::optional<std::string> fromCorvoString(std::string_view text) {
    return std::string(text);
  }
};

/// The text of a JSON object (RFC 8259, at most 512 levels deep). If keys repeat, the last one
/// counts. The text is not valid if a value that counts contains a number outside the range of a
/// double.
template <>
struct CorvoPropertyTraits<JsonObject> {
  /// The value, or `std::nullopt` if the text has another form.
  CORVO_EXPORT static std::optional<JsonObject> fromCorvoString(std::string_view text);
};

/// A type that a configuration value can be read as: `bool`, `std::int64_t`, `double`,
/// `std::string`, `JsonObject`, and types that the application adds.
template <class T>
concept CorvoPropertyType = requires(std::string_view text) {
  { CorvoPropertyTraits<T>::fromCorvoString(text) } -> std::same_as<std::optional<T>>;
};

/// Reads a configuration text as a type; absent if the text is not valid for the type.
template <class T>
[[nodiscard]] std::optional<T> fromCorvoString(std::string_view text) {
  if constexpr (CorvoPropertyType<T>) {
    return CorvoPropertyTraits<T>::fromCorvoString(text);
  } else {
    static_assert(CorvoPropertyType<T>,
                  "a configuration value is read as bool, std::int64_t, double, std::string or "
                  "corvo::JsonObject, or as a type that specialises corvo::CorvoPropertyTraits");
  }
}

/// A configuration value whose text determines its type.
using CorvoProperty = std::variant<JsonObject, bool, std::int64_t, double, std::string>;

/// Converts a text to the first of these types for which it is valid: JSON object, boolean,
/// integer, double, text.
[[nodiscard]] CORVO_EXPORT CorvoProperty typedProperty(std::string_view text);

}  // namespace corvo
