#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

#include "base/name_index.h"

namespace corvo::corvo_internal::base {

/// Finds texts in a list in time that does not grow with it. Takes some forty bytes a text, so it
/// is worth it for lists of `kWorthwhile` texts or more. Refers to the texts.
///
/// Reading is safe from any thread.
class TextPositions {
 public:
  static constexpr std::size_t kWorthwhile = 16;
  static constexpr std::uint32_t kNone = NameIndex::kNone;

  explicit TextPositions(std::vector<std::string_view> texts)
      : texts_(std::move(texts)), index_(texts_.size()) {
    // Backwards, so that of equal ones the first is found.
    for (auto i = static_cast<std::uint32_t>(texts_.size()); i-- > 0;) {
      index_.put(texts_[i], i, TextAt{texts_});
    }
  }

  /// The position of the first such text, or `kNone`.
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
