#include "targeting/property_layer.h"

namespace corvo::corvo_internal::targeting {

void PropertyLayer::put(const base::HashedName& name, std::string_view value, double expiry) {
  std::uint32_t position = index_.find(name, NameAt{properties_});
  if (position == base::NameIndex::kNone) {
    position = static_cast<std::uint32_t>(properties_.size());
    properties_.push_back({std::string(name.text), {}, expiry});
    index_.put(name, position, NameAt{properties_});
  }
  properties_[position].value = value;
  properties_[position].expiry = expiry;
}

}  // namespace corvo::corvo_internal::targeting
