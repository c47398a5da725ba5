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

/// What is prepared about a list of texts of which a property may equal one. Refers to the list.
class PreparedList {
 public:
  explicit PreparedList(model::List<model::Text> list);
  PreparedList(const PreparedList&) = delete;
  PreparedList& operator=(const PreparedList&) = delete;

  /// The canonical decompositions of texts that have another one than themselves.
  [[nodiscard]] const std::vector<std::string>& decompositions() const noexcept {
    return decompositions_;
  }
  /// Whether a property that is ASCII equals one of them canonically; none where the list is too
  /// short for that to be prepared.
  [[nodiscard]] std::optional<bool> equalsAscii(std::string_view property) const {
    if (!positions_) return std::nullopt;
    return positions_->find(property) != base::TextPositions::kNone;
  }

 private:
  std::vector<std::string> decompositions_;
  std::optional<base::TextPositions> positions_;  // of the texts and their decompositions
};

/// Prepared lists, each at a place of its own.
class PreparedLists {
 public:
  /// Null where the list is short and ASCII, so that there is nothing to prepare.
  const PreparedList* of(model::List<model::Text> list);

 private:
  std::unordered_map<const model::Text*, std::unique_ptr<const PreparedList>> lists_;
};

}  // namespace corvo::corvo_internal::targeting
