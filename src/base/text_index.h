#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace corvo::corvo_internal::base {

/// Tells of many short texts whether they stand in one long text: a suffix array (Manber and Myers,
/// 1990). Made in time that grows with the size of the text and its logarithm, with 20 bytes per
/// byte of it, of which 4 are kept. The text must outlive it.
class TextIndex {
 public:
  /// The longest text that one can be made of.
  static constexpr std::size_t kLongest = 0x7FFF'FFFF;

  explicit TextIndex(std::string_view text);

  /// In time that grows with the size of the part and the logarithm of that of the text.
  [[nodiscard]] bool contains(std::string_view part) const;

 private:
  std::string_view text_;
  std::vector<std::uint32_t> order_;  // where the suffixes begin, in their order
};

}  // namespace corvo::corvo_internal::base
