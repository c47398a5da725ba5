// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <variant>

namespace corvo::corvo_internal {

/// A value of one of several types, like `std::variant`, but never without a value, and cheap to
/// compile in code that only declares and reads it. Moves must not throw.
template <class... Types>
class OneOf {
 public:
  template <class T>
  static constexpr bool has = (std::is_same_v<T, Types> || ...);

  template <class T>
  requires has<T> OneOf(T value)
  noexcept : position_(positionOf<T>()) { ::new (bytes_) T(std::move(value)); }
  /// Constructs a value that consists of one text in place, because moving a short text costs more.
  template <class T>
  requires has<T> OneOf(std::in_place_type_t<T>, std::string_view text)
      : position_(positionOf<T>()) {
    ::new (bytes_) T{std::string(text)};
  }
  OneOf(const OneOf& other) : position_(other.position_) {
    other.visit([this]<class T>(const T& value) { ::new (bytes_) T(value); });
  }
  OneOf(OneOf&& other) noexcept : position_(other.position_) { take(other); }
  OneOf& operator=(OneOf other) noexcept {
    destroy();
    position_ = other.position_;
    take(other);
    return *this;
  }
  ~OneOf() { destroy(); }

  /// The position of the value's type among the types.
  [[nodiscard]] std::uint8_t position() const noexcept { return position_; }

  /// The value if it is of that type, otherwise null.
  template <class T>
  [[nodiscard]] const T* as() const noexcept {
    return position_ == positionOf<T>() ? std::launder(reinterpret_cast<const T*>(bytes_))
                                        : nullptr;
  }

  /// Calls the function with the value.
  template <class Function>
  void visit(Function function) const {
    static_cast<void>(
        ((position_ == positionOf<Types>() && (function(*as<Types>()), true)) || ...));
  }

  bool operator==(const OneOf& other) const {
    bool isEqual = false;
    visit([&]<class T>(const T& value) {
      const T* others = other.as<T>();
      isEqual = others != nullptr && value == *others;
    });
    return isEqual;
  }

 private:
  template <class T>
  static constexpr std::uint8_t positionOf() noexcept {
    std::uint8_t position = 0;
    static_cast<void>(((std::is_same_v<T, Types> || (++position, false)) || ...));
    return position;
  }

  void take(OneOf& other) noexcept {
    other.visit([this]<class T>(const T& value) {
      ::new (bytes_) T(std::move(const_cast<T&>(value)));  // the other is not const
    });
  }
  void destroy() noexcept {
    visit([]<class T>(const T& value) { value.~T(); });
  }

  static constexpr std::size_t largest() noexcept {
    std::size_t most = 0;
    ((most = sizeof(Types) > most ? sizeof(Types) : most), ...);
    return most;
  }

  alignas(Types...) std::byte bytes_[largest()];
  std::uint8_t position_;
};

template <class Variant>
struct OneOfTypesOf;
template <class... Types>
struct OneOfTypesOf<std::variant<Types...>> {
  using Type = OneOf<Types...>;
};
/// One of the types that the variant names.
template <class Variant>
using OneOfThe = typename OneOfTypesOf<Variant>::Type;

}  // namespace corvo::corvo_internal
