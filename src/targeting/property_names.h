#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "base/name_index.h"

namespace corvo::corvo_internal::targeting {

/// Numbers the names of the properties that conditions test: a condition knows its property by
/// number, and nobody looks for a name when it is tested. Refers to the texts it is given.
class PropertyNames {
 public:
  /// The number of a name; a name that is new gets the next one, from 0.
  std::uint32_t numberOf(std::string_view name) {
    const base::HashedName hashed(name);
    const auto nameAt = [this](std::uint32_t number) { return list_[number].text; };
    const std::uint32_t known = index_.find(hashed, nameAt);
    if (known != base::NameIndex::kNone) return known;
    const auto number = static_cast<std::uint32_t>(list_.size());
    list_.push_back(hashed);
    index_.put(hashed, number, nameAt);
    return number;
  }

  /// All names, by number.
  [[nodiscard]] const std::vector<base::HashedName>& list() const noexcept { return list_; }

 private:
  std::vector<base::HashedName> list_;
  base::NameIndex index_;
};

}  // namespace corvo::corvo_internal::targeting
