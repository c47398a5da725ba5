// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "base/name_index.h"
#include "model/fields.h"

namespace corvo::corvo_internal::targeting {

/// Numbers the names of the properties that matter: those that experiments may split by and those
/// that conditions test. A condition refers to its property by number, so that a test needs no name
/// look-up. Refers to the given texts.
class PropertyNames {
 public:
  /// The text of a split mode is the name of its property; its value is the property's number.
  PropertyNames() {
    for (const auto& mode : model::EnumTexts<model::SplitMode>::list) numberOf(mode.text);
  }

  /// The number of a name; a new name gets the next one.
  std::uint32_t numberOf(std::string_view name) {
    const base::HashedName hashed(name);
    const std::uint32_t known = find(hashed);
    if (known != kNone) return known;
    const auto number = static_cast<std::uint32_t>(list_.size());
    list_.push_back(name);
    index_.put(hashed, number, NameAt{list_});
    return number;
  }

  static constexpr std::uint32_t kNone = base::NameIndex::kNone;

  /// The number of a name, or `kNone` if no condition or experiment uses such a property.
  [[nodiscard]] std::uint32_t find(const base::HashedName& name) const {
    return index_.find(name, NameAt{list_});
  }

  /// All names, by number.
  [[nodiscard]] const std::vector<std::string_view>& list() const noexcept { return list_; }
  [[nodiscard]] std::size_t count() const noexcept { return list_.size(); }

 private:
  struct NameAt {
    const std::vector<std::string_view>& names;
    std::string_view operator()(std::uint32_t number) const { return names[number]; }
  };

  std::vector<std::string_view> list_;
  base::NameIndex index_;
};

}  // namespace corvo::corvo_internal::targeting
