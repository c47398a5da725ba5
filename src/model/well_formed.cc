// SPDX-License-Identifier: Apache-2.0

#include "model/well_formed.h"

#include <algorithm>

#include "base/text.h"

namespace corvo::corvo_internal::model {
namespace {

bool areWellFormed(const PropertyMap& properties) {
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

CorvoUser wellFormed(CorvoUser user) {
  if (!areWellFormed(user.properties)) user.properties = wellFormed(user.properties);
  if (user.corvoExpiration && !areWellFormed(*user.corvoExpiration)) {
    user.corvoExpiration = wellFormed(*user.corvoExpiration);
  }
  return user;
}

}  // namespace corvo::corvo_internal::model
