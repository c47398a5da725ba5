// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/error.h>
#include <corvo/export.h>
#include <corvo/internal/value_or.h>

#include <concepts>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

namespace corvo {

namespace corvo_internal {
/// Throws the error. If the library was built without exceptions, aborts the process instead.
[[noreturn]] CORVO_EXPORT void raise(const CorvoError& error);
}  // namespace corvo_internal

/// The answer to a question that is answered before the call returns: a value or an error. Never
/// empty, unless it was moved from.
template <class T>
class [[nodiscard]] Result {
 public:
  /// A value, or anything that converts to one.
  template <class V = T>
  requires(std::convertible_to<V, T> && !std::same_as<std::remove_cvref_t<V>, CorvoError> &&
           !std::same_as<std::remove_cvref_t<V>, Result>) Result(V&& value)
      : outcome_(std::in_place_index<0>, std::forward<V>(value)) {}
  /// An error.
  Result(CorvoError&& error) : outcome_(std::in_place_index<1>, std::move(error)) {}
  /// An error whose payload is that text, constructed in place.
  template <class P>
  Result(std::in_place_type_t<P> payload, std::string_view text)
      : outcome_(std::in_place_index<1>, payload, text) {}

  /// Whether this is a value, not an error.
  [[nodiscard]] bool hasValue() const noexcept { return outcome_.index() == 0; }
  explicit operator bool() const noexcept { return hasValue(); }

  /// The value. If there is none, throws the error; without exceptions, aborts the process.
  [[nodiscard]] const T& value() const& {
    if (const T* value = std::get_if<0>(&outcome_)) return *value;
    corvo_internal::raise(*error());
  }
  [[nodiscard]] T& value() & {
    if (T* value = std::get_if<0>(&outcome_)) return *value;
    corvo_internal::raise(*error());
  }
  [[nodiscard]] T value() && { return std::move(value()); }

  /// The value, or the default if the value is absent or there is an error.
  template <corvo_internal::DefaultFor<T> Default>
  [[nodiscard]] corvo_internal::Present<T> valueOr(Default&& otherwise) const& {
    return corvo_internal::valueOr(std::get_if<0>(&outcome_), std::forward<Default>(otherwise));
  }
  template <corvo_internal::DefaultFor<T> Default>
  [[nodiscard]] corvo_internal::Present<T> valueOr(Default&& otherwise) && {
    return corvo_internal::valueOr(std::get_if<0>(&outcome_), std::forward<Default>(otherwise));
  }

  /// The error; null if there is a value.
  [[nodiscard]] const CorvoError* error() const noexcept { return std::get_if<1>(&outcome_); }
  [[nodiscard]] CorvoError* error() noexcept { return std::get_if<1>(&outcome_); }

 private:
  std::variant<T, CorvoError> outcome_;
};

}  // namespace corvo
