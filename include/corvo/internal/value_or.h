#pragma once

#include <optional>
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

/// Moves the value out of a non-const place; the default if there is no value.
template <class T, class Default>
Present<T> valueOr(T* value, Default&& otherwise) {
  if constexpr (std::is_same_v<Present<T>, std::remove_const_t<T>>) {
    if (value) return std::move(*value);
  } else {
    if (value && *value) return *std::move(*value);
  }
  return static_cast<Present<T>>(std::forward<Default>(otherwise));
}

}  // namespace corvo::corvo_internal
