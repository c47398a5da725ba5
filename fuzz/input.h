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

/// Ends the process, which the fuzzer takes for a finding.
inline void require(bool condition, std::string_view what) {
  if (condition) return;
  std::fprintf(stderr, "Not so: %.*s\n", static_cast<int>(what.size()), what.data());
  std::abort();
}

/// The bytes that drive a target, taken from the front. Zeros follow the last of them.
class Input {
 public:
  explicit Input(std::span<const std::uint8_t> bytes) : rest_(bytes) {}

  [[nodiscard]] bool isEmpty() const { return rest_.empty(); }

  /// A number below the limit.
  std::size_t below(std::size_t limit) {
    std::size_t number = byte();
    if (limit > 256) number = number << 8U | byte();
    return number % limit;
  }
  bool oneIn(std::size_t chances) { return below(chances) == chances - 1; }

  template <class List>
  auto oneOf(const List& list) {
    return std::data(list)[below(std::size(list))];
  }

  std::int64_t number() {
    std::uint64_t value = 0;
    for (int i = 0; i < 8; ++i) value = value << 8U | byte();
    return static_cast<std::int64_t>(value);
  }
  /// From the first to the last, both of which it may be.
  std::int64_t between(std::int64_t first, std::int64_t last) {
    const auto count = static_cast<std::uint64_t>(last - first) + 1;
    return first + static_cast<std::int64_t>(static_cast<std::uint64_t>(number()) % count);
  }

  std::string_view text(std::size_t length) {
    const auto piece = rest_.first(std::min(length, rest_.size()));
    rest_ = rest_.subspan(piece.size());
    return {reinterpret_cast<const char*>(piece.data()), piece.size()};
  }

 private:
  std::uint8_t byte() {
    if (rest_.empty()) return 0;
    const std::uint8_t value = rest_.front();
    rest_ = rest_.subspan(1);
    return value;
  }

  std::span<const std::uint8_t> rest_;
};

}  // namespace corvo::fuzz
