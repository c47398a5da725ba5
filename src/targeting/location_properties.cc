// SPDX-License-Identifier: Apache-2.0

#include "targeting/location_properties.h"

#include "base/text.h"

namespace corvo::corvo_internal::targeting {

PropertyMap locationProperties(const PropertyMap& location) {
  PropertyMap properties;
  for (const auto& [name, value] : location) {
    properties.emplace("geo." + base::wellFormed(name), base::wellFormed(value));
  }
  return properties;
}

}  // namespace corvo::corvo_internal::targeting
