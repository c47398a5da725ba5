// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "base/name_index.h"

namespace corvo::corvo_internal::base {

/// Finds texts in a list in constant time. Takes about forty bytes per text, so it pays off for
/// lists of `kWorthwhile` texts or more. Refers to the texts.
///
/// Concurrent reads are safe.
class TextPositions {
 public:
  static constexpr std::size_t kWorthwhile = 16;
  static constexpr std::uint32_t kNone = NameIndex::kNone;

  explicit TextPositions(std::vector<std::string_view> texts)
      : texts_(std::move(texts)), index_(texts_.size()) {
    // Backwards, so that the first of several equal texts is found.
    for (auto i = static_cast<std::uint32_t>(texts_.size()); i-- > 0;) {
      index_.put(texts_[i], i, TextAt{texts_});
    }
  }

  /// The position of the first equal text, or `kNone`.
  [[nodiscard]] std::uint32_t find(std::string_view text) const {
    return index_.find(text, TextAt{texts_});
  }

 private:
  struct TextAt {
    const std::vector<std::string_view>& texts;
    std::string_view operator()(std::uint32_t position) const { return texts[position]; }
  };

  std::vector<std::string_view> texts_;
  NameIndex index_;
};

}  // namespace corvo::corvo_internal::base
