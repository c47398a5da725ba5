#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

// Arguments that convert from what they mean and from nothing else.

namespace corvo {

/// An integer type, but neither the boolean nor a type of characters.
template <class V>
concept CorvoInteger = std::integral<V> && !std::same_as<V, bool> && !std::same_as<V, char> &&
                       !std::same_as<V, wchar_t> && !std::same_as<V, char8_t> &&
                       !std::same_as<V, char16_t> && !std::same_as<V, char32_t>;

namespace corvo_internal {
/// The integer as a signed one; the largest for one above the 64-bit signed range.
template <CorvoInteger Integer>
constexpr std::int64_t asSigned(Integer integer) noexcept {
  return std::in_range<std::int64_t>(integer) ? static_cast<std::int64_t>(integer) : INT64_MAX;
}
}  // namespace corvo_internal

/// A text that a parameter takes: whatever is seen as a `std::string_view`. Not a bare `nullptr`.
template <class T>
concept CorvoText = std::convertible_to<const T&, std::string_view> &&
    !std::same_as<std::remove_cv_t<T>, std::nullptr_t>;

/// A text that the receiver keeps. Whatever is seen as a `std::string_view` converts to it, but
/// neither a bare `nullptr` nor `{}`. A null `const char*` is the empty text.
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

/// An optional index: an integer of any type (one above the 64-bit signed range becomes the
/// largest), an optional integer, or none: `std::nullopt` or `{}`. Booleans, characters and
/// fractions do not convert to it.
struct OptionalIndex {
  /// No index.
  OptionalIndex() noexcept = default;
  OptionalIndex(std::nullopt_t) noexcept {}

  /// An index, or an optional one.
  template <CorvoInteger Integer>
  OptionalIndex(Integer given) noexcept : value(corvo_internal::asSigned(given)) {}
  template <CorvoInteger Integer>
  OptionalIndex(std::optional<Integer> given) noexcept {
    if (given) *this = OptionalIndex(*given);
  }

  std::optional<std::int64_t> value;  ///< The index, from 0.
};

namespace corvo_internal {
/// Not `constexpr`, so that a compiler which checks a constant stops here, and shows the name.
inline void theNumberIsNegative() {}
}  // namespace corvo_internal

/// An integer that is not negative. Unsigned integers convert to it, and signed constants, which
/// are checked while compiling: `-1` does not compile, nor does a signed variable, for which there
/// is `checked`. Booleans, characters and fractions do not convert to it.
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

  /// The number, or none where it is negative.
  template <CorvoInteger Integer>
  [[nodiscard]] static constexpr std::optional<NonNegative> checked(Integer given) noexcept {
    if (!std::in_range<std::uint64_t>(given)) return std::nullopt;
    return NonNegative(static_cast<std::uint64_t>(given));
  }

  std::uint64_t value;  ///< The number.
};

/// A boolean argument that nothing but a `bool` converts to: beside overloads that take callbacks,
/// neither a captureless lambda nor a pointer may pass as one.
struct ExactBool {
  /// The boolean.
  template <std::same_as<bool> Bool>
  ExactBool(Bool given) noexcept : value(given) {}

  bool value;  ///< The boolean.
};

}  // namespace corvo
