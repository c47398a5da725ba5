// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/argument.h>

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace corvo::corvo_internal {

template <class T>
struct PresentType {
  using Type = T;
};
template <class T>
struct PresentType<std::optional<T>> {
  using Type = T;
};
/// The value type of an optional; any other type itself.
template <class T>
using Present = typename PresentType<std::remove_const_t<T>>::Type;

template <class Default, class Value>
inline constexpr bool isDefaultFor = std::same_as<Default, Value> ||
                                     (std::is_class_v<Value> &&
                                      std::convertible_to<Default, Value>);
template <class Default>
inline constexpr bool isDefaultFor<Default, std::int64_t> = CorvoInteger<Default>;
template <class Default>
inline constexpr bool isDefaultFor<Default, double> =
    CorvoInteger<Default> || std::floating_point<Default>;
template <class Default>
inline constexpr bool isDefaultFor<Default, std::string> = CorvoText<Default>;

/// A default for an answer of type `T`. It must have the value's kind: a boolean takes neither
/// `3` nor a text. An integer takes any integer, a double any number, a text any text. Other types
/// take only themselves; classes also accept anything that converts to them.
template <class Default, class T>
concept DefaultFor = isDefaultFor<std::remove_cvref_t<Default>, Present<T>>;

/// Moves the value out of a non-const place; the default if there is no value. A default above the
/// 64-bit signed range becomes its maximum.
template <class T, DefaultFor<T> Default>
Present<T> valueOr(T* value, Default&& otherwise) {
  if constexpr (std::is_same_v<Present<T>, std::remove_const_t<T>>) {
    if (value) return std::move(*value);
  } else {
    if (value && *value) return *std::move(*value);
  }
  if constexpr (std::is_same_v<Present<T>, std::int64_t>) {
    return asSigned(otherwise);
  } else {
    return static_cast<Present<T>>(std::forward<Default>(otherwise));
  }
}

}  // namespace corvo::corvo_internal
