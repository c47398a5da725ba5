#include "model/well_formed.h"

#include <algorithm>

#include "base/text.h"

namespace corvo::corvo_internal::model {
namespace {

template <class Properties>
bool areWellFormed(const Properties& properties) {
  return std::ranges::all_of(properties, [](const auto& property) {
    return base::isWellFormed(property.first) && base::isWellFormed(property.second);
  });
}

PropertyMap wellFormed(const PropertyMap& properties) {
  PropertyMap result;
  for (const auto& [name, value] : properties) {
    result.emplace(base::wellFormed(name), base::wellFormed(value));
  }
  return result;
}

}  // namespace

bool readsAsWellFormed(const CorvoUser& user) {
  const auto hasWellFormedName = [](const auto& expiry) {
    return base::isWellFormed(expiry.first);
  };
  return areWellFormed(user.properties) &&
         (!user.corvoExpiration || std::ranges::all_of(*user.corvoExpiration, hasWellFormedName));
}

CorvoUser wellFormed(const CorvoUser& user) {
  CorvoUser result{wellFormed(user.properties), std::nullopt};
  if (user.corvoExpiration) result.corvoExpiration = wellFormed(*user.corvoExpiration);
  return result;
}

std::span<const WellFormedProperties::Property> WellFormedProperties::of(
    std::span<const Property> properties) {
  if (areWellFormed(properties)) return properties;
  texts_.clear();
  views_.clear();
  for (const auto& [name, value] : properties) {
    texts_.emplace_back(base::wellFormed(name), base::wellFormed(value));
  }
  views_.assign(texts_.begin(), texts_.end());
  return views_;
}

}  // namespace corvo::corvo_internal::model
