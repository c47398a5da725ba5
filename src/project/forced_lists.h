// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "base/text_positions.h"
#include "model/config.h"

namespace corvo::corvo_internal::project {

/// An index of the forced lists of an experiment and its groups, for long lists. Refers to the
/// record.
class ForcedLists {
 public:
  /// Null if searching the lists directly costs no more.
  static std::unique_ptr<const ForcedLists> of(const model::Experiment& experiment);

  explicit ForcedLists(const model::Experiment& experiment);

  /// The index of the first group whose list contains the identifier; the number of groups if the
  /// experiment's own list does; `kNone` if none does.
  static constexpr std::uint32_t kNone = base::TextPositions::kNone;
  [[nodiscard]] std::uint32_t find(std::string_view identifier) const {
    const std::uint32_t position = positions_.find(identifier);
    return position == kNone ? kNone : owners_[position];
  }

 private:
  std::vector<std::uint32_t> owners_;  // the group of each entry, by position
  base::TextPositions positions_;
};

}  // namespace corvo::corvo_internal::project
