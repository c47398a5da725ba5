#pragma once

#include <concepts>
#include <cstdint>
#include <optional>
#include <utility>

// Arguments that convert from what they mean and from nothing else.

namespace corvo {

/// An integer type, but neither the boolean nor a type of characters.
template <class V>
concept CorvoInteger = std::integral<V> && !std::same_as<V, bool> && !std::same_as<V, char> &&
                       !std::same_as<V, wchar_t> && !std::same_as<V, char8_t> &&
                       !std::same_as<V, char16_t> && !std::same_as<V, char32_t>;

/// An optional index: an integer (one beyond 64 bits signed becomes the largest) or `std::nullopt`.
/// Neither a boolean nor a character nor a fraction converts to it.
struct OptionalIndex {
  OptionalIndex(std::nullopt_t) noexcept {}
  OptionalIndex(std::optional<std::int64_t> given) noexcept : value(given) {}
  template <CorvoInteger Integer>
  OptionalIndex(Integer given) noexcept
      : value(std::in_range<std::int64_t>(given) ? static_cast<std::int64_t>(given) : INT64_MAX) {}

  std::optional<std::int64_t> value;
};

/// A boolean argument that nothing but a `bool` converts to: beside overloads that take callbacks,
/// neither a captureless lambda nor a pointer may pass as one.
struct ExactBool {
  template <std::same_as<bool> Bool>
  ExactBool(Bool given) noexcept : value(given) {}

  bool value;
};

}  // namespace corvo
