// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "base/text_positions.h"
#include "model/config.h"

namespace corvo::corvo_internal::targeting {

/// An index for the question whether a property equals one text of a list. Refers to the list.
class PreparedList {
 public:
  explicit PreparedList(model::List<model::Text> list);
  PreparedList(const PreparedList&) = delete;
  PreparedList& operator=(const PreparedList&) = delete;

  /// The canonical decompositions of those texts that differ from theirs.
  [[nodiscard]] const std::vector<std::string>& decompositions() const noexcept {
    return decompositions_;
  }
  /// Whether an ASCII property is canonically equal to one of the texts; empty if the list is too
  /// short to have an index.
  [[nodiscard]] std::optional<bool> equalsAscii(std::string_view property) const {
    if (!positions_) return std::nullopt;
    return positions_->find(property) != base::TextPositions::kNone;
  }

 private:
  std::vector<std::string> decompositions_;
  std::optional<base::TextPositions> positions_;  // of the texts and their decompositions
};

/// Prepared lists with stable addresses.
class PreparedLists {
 public:
  /// Null if the list is short and ASCII, so that it needs no preparation.
  const PreparedList* of(model::List<model::Text> list);

 private:
  std::unordered_map<const model::Text*, std::unique_ptr<const PreparedList>> lists_;
};

}  // namespace corvo::corvo_internal::targeting
