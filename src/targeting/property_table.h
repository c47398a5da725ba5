#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "targeting/property_layer.h"
#include "targeting/property_names.h"
#include "targeting/readings.h"

namespace corvo::corvo_internal::targeting {

/// The layers that a property is looked for in, in this order. Null is an empty one. Only the
/// user's properties expire.
struct Layers {
  const PropertyLayer* user = nullptr;
  const PropertyLayer* device = nullptr;
  const PropertyLayer* location = nullptr;
};

/// The properties of all layers, by the numbers of one configuration's names. Refers to the layers'
/// texts: a new value under an old name shows, a new name or expiry needs a new table. For one
/// thread at a time.
class PropertyTable {
 public:
  PropertyTable() = default;
  PropertyTable(const PropertyNames& names, const Layers& layers);

  /// The user's property of that number, else the device's, else the location's; else null. An
  /// expired one does not hide those behind it.
  [[nodiscard]] const std::string* find(std::uint32_t number, double now) const {
    const Row& row = rows_[number];
    return hasExpired(row.expiry, now) ? row.otherwise : row.value;
  }

  /// What has been read out of the property of that number, which has been found to have that
  /// value. Valid until those of another property are asked for.
  [[nodiscard]] Readings& readings(std::uint32_t number, const std::string& value) const;

  /// To be called for each question, as values may have changed.
  void forgetReadings() { readings_.clear(); }

 private:
  struct Row {
    const std::string* value;
    double expiry;
    const std::string* otherwise;
    mutable std::uint32_t readings = 0;  // their place, should they be there and of that value
  };

  std::vector<Row> rows_;
  mutable std::vector<Readings> readings_;  // of the present question
};

}  // namespace corvo::corvo_internal::targeting
