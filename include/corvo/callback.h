// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace corvo {

template <class Signature>
class Callback;

namespace corvo_internal {
/// Whether a target of that type is null if it converts to false.
template <class Target>
inline constexpr bool isNullable = std::is_pointer_v<Target> || std::is_member_pointer_v<Target>;
template <class Signature>
inline constexpr bool isNullable<std::function<Signature>> = true;
template <class Signature>
inline constexpr bool isNullable<Callback<Signature>> = true;
}  // namespace corvo_internal

/// A function that is called at most once and then forgets its target.
///
/// Move-only, so it accepts move-only lambdas. Small targets are stored inside it, without an
/// allocation. It is null if constructed from `nullptr` (a literal 0 does not convert), a null
/// function pointer, an empty `std::function` or another null callback; calling a null callback
/// does nothing. An exception of the target propagates to the caller. Not synchronised.
template <class... Args>
class Callback<void(Args...)> {
 public:
  /// Null. Explicit, so `{}` cannot be passed as a callback.
  explicit Callback() noexcept = default;

  /// Null.
  template <std::same_as<std::nullptr_t> Null>
  Callback(Null) noexcept {}

  /// Takes a function object or a function.
  template <class F, class Target = std::decay_t<F>>
  requires(!std::same_as<Target, Callback> && std::invocable<Target&, Args...> &&
           std::constructible_from<Target, F>) Callback(F&& target) {
    if constexpr (corvo_internal::isNullable<Target>) {
      if (!static_cast<const Target&>(target)) return;
    }
    using Holder = std::conditional_t<fitsInline<Target>, Inline<Target>, Boxed<Target>>;
    Holder::make(buffer_, std::forward<F>(target));
    operations_ = &Holder::operations;
  }

  Callback(Callback&& other) noexcept { take(other); }

  Callback& operator=(Callback&& other) noexcept {
    Callback taken(std::move(other));  // the cleared target may own the other callback
    clear();
    take(taken);
    return *this;
  }

  ~Callback() { clear(); }

  /// Whether there is a target to call.
  explicit operator bool() const noexcept { return operations_ != nullptr; }

  /// Calls the target, if there is one. Moves the target out first, because it may destroy this
  /// object.
  void operator()(Args... args) {
    if (operations_ == nullptr) return;
    std::exchange(operations_, nullptr)->call(buffer_, static_cast<Args&&>(args)...);
  }

 private:
  static constexpr std::size_t kInlineSize = 6 * sizeof(void*);

  struct Operations {
    void (*call)(void* buffer, Args&&... args);  // leaves the buffer empty
    void (*move)(void* from, void* to) noexcept;
    void (*destroy)(void* buffer) noexcept;
  };

  template <class Target>
  static constexpr bool fitsInline =
      sizeof(Target) <= kInlineSize &&
      alignof(Target) <= alignof(std::max_align_t) && std::is_nothrow_move_constructible_v<Target>;

  template <class Target>
  struct Inline {
    static Target& in(void* buffer) { return *std::launder(static_cast<Target*>(buffer)); }

    template <class F>
    static void make(void* buffer, F&& target) {
      ::new (buffer) Target(std::forward<F>(target));
    }
    static void call(void* buffer, Args&&... args) {
      Target target(std::move(in(buffer)));
      destroy(buffer);
      static_cast<void>(std::invoke(target, static_cast<Args&&>(args)...));
    }
    static void move(void* from, void* to) noexcept {
      make(to, std::move(in(from)));
      destroy(from);
    }
    static void destroy(void* buffer) noexcept { in(buffer).~Target(); }
    static constexpr Operations operations{&call, &move, &destroy};
  };

  template <class Target>
  struct Boxed : Inline<std::unique_ptr<Target>> {
    using Pointer = Inline<std::unique_ptr<Target>>;

    template <class F>
    static void make(void* buffer, F&& target) {
      Pointer::make(buffer, std::make_unique<Target>(std::forward<F>(target)));
    }
    static void call(void* buffer, Args&&... args) {
      const std::unique_ptr<Target> target = std::move(Pointer::in(buffer));
      Pointer::destroy(buffer);
      static_cast<void>(std::invoke(*target, static_cast<Args&&>(args)...));
    }
    static constexpr Operations operations{&call, &Pointer::move, &Pointer::destroy};
  };

  void take(Callback& other) noexcept {
    if (other.operations_ == nullptr) return;
    other.operations_->move(other.buffer_, buffer_);
    operations_ = std::exchange(other.operations_, nullptr);
  }

  void clear() noexcept {
    if (operations_ != nullptr) std::exchange(operations_, nullptr)->destroy(buffer_);
  }

  const Operations* operations_ = nullptr;
  alignas(alignof(std::max_align_t)) std::byte buffer_[kInlineSize];
};

}  // namespace corvo
