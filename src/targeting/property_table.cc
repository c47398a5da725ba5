#include "targeting/property_table.h"

namespace corvo::targeting {
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

}  // namespace corvo::targeting
