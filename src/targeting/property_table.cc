// SPDX-License-Identifier: Apache-2.0

#include "targeting/property_table.h"

namespace corvo::corvo_internal::targeting {

// A name has at most two values, the user's and the one behind it. Each has its own slot.
Readings& PropertyTable::readings(std::uint32_t number, const std::string_view& value) const {
  std::uint32_t& place = rows_[number].readings;
  if (place >= readings_.size() || readings_[place].of != &value) {
    place = static_cast<std::uint32_t>(readings_.size());
    readings_.emplace_back(value);
  }
  return readings_[place];
}

}  // namespace corvo::corvo_internal::targeting
