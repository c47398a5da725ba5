// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string>
#include <string_view>

namespace corvo::fuzz {

/// Aborts unless the condition holds. The fuzzer reports that as a finding.
inline void require(bool condition, std::string_view what) {
  if (condition) return;
  std::fprintf(stderr, "Not so: %.*s\n", static_cast<int>(what.size()), what.data());
  std::abort();
}

/// The input bytes of a target, consumed from the front. Numbers are 0 at the end of the input.
class Input {
 public:
  explicit Input(std::span<const std::uint8_t> bytes) : rest_(bytes) {}

  [[nodiscard]] bool isEmpty() const { return rest_.empty(); }

  std::string_view text(std::size_t length) {
    const auto piece = rest_.first(std::min(length, rest_.size()));
    rest_ = rest_.subspan(piece.size());
    return {reinterpret_cast<const char*>(piece.data()), piece.size()};
  }

  std::int64_t number(std::size_t byteCount = 8) {
    std::uint64_t value = 0;
    for (const char c : text(byteCount)) value = value << 8U | static_cast<unsigned char>(c);
    return static_cast<std::int64_t>(value);
  }
  /// A number in the range, including both ends.
  std::int64_t between(std::int64_t first, std::int64_t last) {
    const auto count = static_cast<std::uint64_t>(last - first) + 1;
    return first + static_cast<std::int64_t>(static_cast<std::uint64_t>(number()) % count);
  }
  /// A number below the limit.
  std::size_t below(std::size_t limit) {
    return static_cast<std::size_t>(number(limit > 256 ? 2 : 1)) % limit;
  }
  bool oneIn(std::size_t chances) { return below(chances) == chances - 1; }

  template <class List>
  auto oneOf(const List& list) {
    return std::data(list)[below(std::size(list))];
  }
  /// Consecutive parts of a list, fewer than the limit.
  template <class List>
  std::string joined(const List& list, std::size_t limit) {
    std::string all;
    for (std::size_t count = below(limit); count > 0; --count) all += oneOf(list);
    return all;
  }

 private:
  std::span<const std::uint8_t> rest_;
};

}  // namespace corvo::fuzz
