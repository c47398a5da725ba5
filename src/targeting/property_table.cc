#include "targeting/property_table.h"

namespace corvo::corvo_internal::targeting {
namespace {

const PropertyLayer::Property* findIn(const PropertyLayer* layer, const base::HashedName& name) {
  return layer == nullptr ? nullptr : layer->find(name);
}

}  // namespace

PropertyTable::PropertyTable(const PropertyNames& names, const Layers& layers) {
  rows_.reserve(names.list().size());
  for (const base::HashedName& name : names.list()) {
    const auto* behind = findIn(layers.device, name);
    if (behind == nullptr) behind = findIn(layers.location, name);
    const std::string* otherwise = behind == nullptr ? nullptr : &behind->value;
    const auto* own = findIn(layers.user, name);
    rows_.push_back(own == nullptr ? Row{otherwise, kNever, nullptr}
                                   : Row{&own->value, own->expiry, otherwise});
  }
}

// A property without an expiry has one value, any other one of two: both have texts of their own.
Readings& PropertyTable::readings(std::uint32_t number, const std::string& value) const {
  std::uint32_t& place = rows_[number].readings;
  if (place >= readings_.size() || readings_[place].of != &value) {
    place = static_cast<std::uint32_t>(readings_.size());
    readings_.emplace_back(value);
  }
  return readings_[place];
}

}  // namespace corvo::corvo_internal::targeting
