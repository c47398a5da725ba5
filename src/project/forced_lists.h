#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "base/text_positions.h"
#include "model/config.h"

namespace corvo::corvo_internal::project {

/// The forced lists of an experiment, where there are many entries: those of its groups, and its
/// own. Refers to the record.
class ForcedLists {
 public:
  /// Null where walking through the lists costs no more.
  static std::unique_ptr<const ForcedLists> of(const model::Experiment& experiment);

  explicit ForcedLists(const model::Experiment& experiment);

  /// The index of the first group whose list has the identifier; the count of groups where that of
  /// the experiment has it; `kNone` where none does.
  static constexpr std::uint32_t kNone = base::TextPositions::kNone;
  [[nodiscard]] std::uint32_t find(std::string_view identifier) const {
    const std::uint32_t position = positions_.find(identifier);
    return position == kNone ? kNone : owners_[position];
  }

 private:
  std::vector<std::uint32_t> owners_;  // of the entries, by position
  base::TextPositions positions_;
};

}  // namespace corvo::corvo_internal::project
