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

/// How a type is made from the text of a configuration value. Specialise it to ask flags for a type
/// of your own; `fromCorvoString` must not throw for want of a valid form, but answer none, and
/// must not use the client that asks it.
template <class T>
struct CorvoPropertyTraits;

/// "true" or "false" in any letter case.
template <>
struct CorvoPropertyTraits<bool> {
  CORVO_EXPORT static std::optional<bool> fromCorvoString(std::string_view text) noexcept;
};

/// An optional sign and decimal digits, within 64 bits.
template <>
struct CorvoPropertyTraits<std::int64_t> {
  CORVO_EXPORT static std::optional<std::int64_t> fromCorvoString(std::string_view text) noexcept;
};

/// The whole text as ISO C `strtod` reads it in the C locale, not beginning with white space.
template <>
struct CorvoPropertyTraits<double> {
  CORVO_EXPORT static std::optional<double> fromCorvoString(std::string_view text);
};

/// Any text, unchanged.
template <>
struct CorvoPropertyTraits<std::string> {
  static std::optional<std::string> fromCorvoString(std::string_view text) {
    return std::string(text);
  }
};

/// The text of a JSON object (RFC 8259, at most 512 levels deep). Of duplicate keys the last
/// counts; a number beyond the doubles in any value that counts makes the text no dictionary.
template <>
struct CorvoPropertyTraits<JsonObject> {
  CORVO_EXPORT static std::optional<JsonObject> fromCorvoString(std::string_view text);
};

/// A type that a configuration value can be read as: `bool`, `std::int64_t`, `double`,
/// `std::string`, `JsonObject`, and whatever the application adds.
template <class T>
concept CorvoPropertyType = requires(std::string_view text) {
  { CorvoPropertyTraits<T>::fromCorvoString(text) } -> std::same_as<std::optional<T>>;
};

/// Reads a configuration text as a type; none when it is not a valid form of the type.
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

/// A configuration value whose type nobody asked for.
using CorvoProperty = std::variant<JsonObject, bool, std::int64_t, double, std::string>;

/// Types a text by the first conversion that succeeds: dictionary, boolean, integer, double, text.
[[nodiscard]] CORVO_EXPORT CorvoProperty typedProperty(std::string_view text);

}  // namespace corvo
