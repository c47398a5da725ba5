#include "targeting/property_layer.h"

namespace corvo::targeting {

void PropertyLayer::put(const base::HashedName& name, std::string_view value, double expiry) {
  std::uint32_t position = index_.find(name, NameAt{entries_});
  if (position == base::NameIndex::kNone) {
    position = static_cast<std::uint32_t>(entries_.size());
    entries_.push_back({std::string(name.text), {}, expiry});
    index_.put(name, position, NameAt{entries_});
  }
  entries_[position].value = value;
  entries_[position].expiry = expiry;
}

}  // namespace corvo::targeting
