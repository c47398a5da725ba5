// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace corvo::corvo_internal::base {

/// Finds many short texts in one long text with a suffix array (Manber and Myers, 1990).
/// Construction takes O(n log n) time and 20 bytes per byte of the text, of which 4 are kept. The
/// text must outlive the index.
class TextIndex {
 public:
  /// The size of the longest supported text.
  static constexpr std::size_t kLongest = 0x7FFF'FFFF;

  explicit TextIndex(std::string_view text);

  /// Takes time proportional to the size of the part plus the logarithm of the size of the text.
  [[nodiscard]] bool contains(std::string_view part) const;

 private:
  std::string_view text_;
  std::vector<std::uint32_t> order_;  // the positions of the suffixes, sorted
};

}  // namespace corvo::corvo_internal::base
