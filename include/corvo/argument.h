// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

// Argument types that accept only the intended types.

namespace corvo {

/// An integer type, but not `bool`, `char`, `wchar_t` or `char8_t` to `char32_t`.
template <class V>
concept CorvoInteger = std::integral<V> && !std::same_as<V, bool> && !std::same_as<V, char> &&
                       !std::same_as<V, wchar_t> && !std::same_as<V, char8_t> &&
                       !std::same_as<V, char16_t> && !std::same_as<V, char32_t>;

namespace corvo_internal {
/// The integer as a signed one; the maximum for one above the 64-bit signed range.
template <CorvoInteger Integer>
constexpr std::int64_t asSigned(Integer integer) noexcept {
  return std::in_range<std::int64_t>(integer) ? static_cast<std::int64_t>(integer) : INT64_MAX;
}
}  // namespace corvo_internal

/// A text argument: any type that converts to `std::string_view`, except a bare `nullptr`.
template <class T>
concept CorvoText = std::convertible_to<const T&, std::string_view> &&
    !std::same_as<std::remove_cv_t<T>, std::nullptr_t>;

/// A text that the receiver keeps. Any text argument converts to it, but neither a bare `nullptr`
/// nor `{}`. A null `const char*` is the empty text.
struct NonNullText {
  /// A text.
  NonNullText(std::string text) noexcept : value(std::move(text)) {}
  template <CorvoText Text>
  NonNullText(const Text& text) {
    if constexpr (std::is_pointer_v<Text>) {
      if (text == nullptr) return;
    }
    value = std::string_view(text);
  }
  NonNullText(std::nullptr_t) = delete;

  std::string value;  ///< The text.
};

/// An optional index: an integer of any type, an optional integer, or no index (`std::nullopt` or
/// `{}`). Integers above the 64-bit signed range become its maximum. Booleans, characters and
/// floating-point numbers do not convert to it.
struct OptionalIndex {
  /// No index.
  OptionalIndex() noexcept = default;
  OptionalIndex(std::nullopt_t) noexcept {}

  /// An index, or an optional index.
  template <CorvoInteger Integer>
  OptionalIndex(Integer given) noexcept : value(corvo_internal::asSigned(given)) {}
  template <CorvoInteger Integer>
  OptionalIndex(std::optional<Integer> given) noexcept {
    if (given) *this = OptionalIndex(*given);
  }

  std::optional<std::int64_t> value;  ///< The index, from 0.
};

namespace corvo_internal {
/// Not `constexpr`, so that a compiler that checks a constant stops here and shows this name.
inline void theNumberIsNegative() {}
}  // namespace corvo_internal

/// A non-negative integer. Unsigned integers convert to it, and so do signed constants, which are
/// checked at compile time: `-1` does not compile. Nor does a signed variable; use `checked` for
/// it. Booleans, characters and floating-point numbers do not convert to it.
struct NonNegative {
  /// An unsigned integer, or a signed constant.
  template <CorvoInteger Integer>
  requires std::unsigned_integral<Integer>
  constexpr NonNegative(Integer given) noexcept : value(given) {}
  template <CorvoInteger Integer>
  requires std::signed_integral<Integer>
  consteval NonNegative(Integer given) : value(static_cast<std::uint64_t>(given)) {
    if (given < 0) corvo_internal::theNumberIsNegative();
  }

  /// The number, or `std::nullopt` if it is negative.
  template <CorvoInteger Integer>
  [[nodiscard]] static constexpr std::optional<NonNegative> checked(Integer given) noexcept {
    if (!std::in_range<std::uint64_t>(given)) return std::nullopt;
    return NonNegative(static_cast<std::uint64_t>(given));
  }

  std::uint64_t value;  ///< The number.
};

/// A boolean argument to which only a `bool` converts. Otherwise a captureless lambda or a pointer
/// could select it in place of an overload that takes a callback.
struct ExactBool {
  /// The boolean.
  template <std::same_as<bool> Bool>
  ExactBool(Bool given) noexcept : value(given) {}

  bool value;  ///< The boolean.
};

}  // namespace corvo
