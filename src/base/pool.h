// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

#include "base/text.h"

namespace corvo::corvo_internal::base {

/// A list in a pool, stored as one pointer: its size precedes its elements. Copies refer to the
/// same elements, which live as long as the pool.
template <class T>
class List {
 public:
  using value_type = T;

  List() = default;

  [[nodiscard]] const T* data() const noexcept { return first_; }
  [[nodiscard]] bool empty() const noexcept { return first_ == nullptr; }
  [[nodiscard]] std::size_t size() const noexcept {
    if (first_ == nullptr) return 0;
    std::uint32_t size = 0;
    std::memcpy(&size, reinterpret_cast<const char*>(first_) - sizeof size, sizeof size);
    return size;
  }
  [[nodiscard]] const T* begin() const noexcept { return first_; }
  [[nodiscard]] const T* end() const noexcept { return first_ + size(); }
  [[nodiscard]] const T& operator[](std::size_t position) const noexcept {
    return first_[position];
  }

  bool operator==(const List& other) const { return std::ranges::equal(*this, other); }

 private:
  friend class Pool;
  explicit List(const T* first) : first_(first) {}

  const T* first_ = nullptr;  // null if the list is empty
};

/// A text in a pool, stored as one pointer.
class Text {
 public:
  Text() = default;

  operator std::string_view() const noexcept { return {bytes_.data(), bytes_.size()}; }
  [[nodiscard]] std::string_view view() const noexcept { return *this; }

  friend bool operator==(Text a, Text b) noexcept { return a == b.view(); }
  friend bool operator==(Text a, std::string_view b) noexcept { return sameBytes(a, b); }

 private:
  friend class Pool;
  explicit Text(List<char> bytes) : bytes_(bytes) {}

  List<char> bytes_;
};

/// Stores texts and lists in a few blocks of memory. They keep their addresses and are freed with
/// the pool.
///
/// Concurrent reads are safe while nobody adds to the pool.
class Pool {
 public:
  Pool() = default;
  Pool(const Pool&) = delete;
  Pool& operator=(const Pool&) = delete;

  /// Copies a text.
  [[nodiscard]] Text text(std::string_view text) {
    return Text(list(std::span<const char>(text.data(), text.size())));
  }

  /// Copies a list. Whatever the elements refer to is not copied.
  template <class T>
  requires(std::is_trivially_copyable_v<T>)
      [[nodiscard]] List<T> list(std::span<const T> elements) {
    if (elements.empty()) return {};
    T* const first = place<T>(elements.size(), elements.size_bytes());
    std::uninitialized_copy_n(elements.data(), elements.size(), first);
    return List<T>(first);
  }
  template <class T>
  [[nodiscard]] List<T> list(const std::vector<T>& elements) {
    return list(std::span<const T>(elements));
  }

  /// Creates a list with this many elements, which a function fills in.
  template <class T, class Fill>
  requires(std::is_trivially_destructible_v<T>)
      [[nodiscard]] List<T> list(std::size_t size, Fill fill) {
    if (size == 0) return {};
    T* const first = place<T>(size, size * sizeof(T));
    std::uninitialized_value_construct_n(first, size);
    fill(std::span<T>(first, size));
    return List<T>(first);
  }

 private:
  // Reserves a list of that size, which must be below 2^32, and writes the size before it.
  template <class T>
  T* place(std::size_t size, std::size_t bytes) {
    char* const first = room(bytes, alignof(T));
    const auto written = static_cast<std::uint32_t>(size);
    std::memcpy(first - sizeof written, &written, sizeof written);
    return reinterpret_cast<T*>(first);
  }
  // Reserves that many bytes, preceded by room for a size.
  char* room(std::size_t bytes, std::size_t alignment);

  std::vector<std::unique_ptr<char[]>> blocks_;
  std::size_t total_ = 0;  // the bytes of all blocks
  char* next_ = nullptr;   // the unused rest of the last block
  char* end_ = nullptr;
};

}  // namespace corvo::corvo_internal::base

/// Outlives its elements.
template <class T>
inline constexpr bool std::ranges::enable_borrowed_range<corvo::corvo_internal::base::List<T>> =
    true;
