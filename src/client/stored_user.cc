// SPDX-License-Identifier: Apache-2.0

#include "client/stored_user.h"

#include <corvo/user_builder.h>

#include <string>
#include <utility>

#include "model/well_formed.h"
#include "targeting/expiry.h"

namespace corvo::corvo_internal::client {
namespace {

CorvoUser taken(CorvoUser::Builder& builder) {
  return {std::move(builder.properties), std::move(builder.corvoExpiration)};
}

}  // namespace

void StoredUser::settle(std::optional<CorvoUser> initialUser, double now) {
  if (initialUser) {
    replace(*std::move(initialUser), now);
  } else {
    stamp(now);
  }
}

void StoredUser::settleLate(double now) {
  if (needsStamps_) stamp(now);
}

void StoredUser::stamp(double now) {
  auto& slot = parts_.storage->user;
  const std::shared_ptr<const CorvoUser> stored = slot.read();
  if (stored && !stored->corvoExpiration) {
    CorvoUser stamped{stored->properties, PropertyMap()};
    const std::string expiry = targeting::expiryText(now, *parts_.timeZone);
    for (const auto& property : stamped.properties) {
      stamped.corvoExpiration->emplace(property.first, expiry);
    }
    replace(std::move(stamped), now);
  }
  needsStamps_ = !slot.isKnown();
}

void StoredUser::replace(CorvoUser user, double now, storage::Origin origin) {
  auto stored = std::make_shared<const CorvoUser>(model::wellFormed(std::move(user)));
  parts_.storage->user.write(std::move(stored), now, origin);
  needsStamps_ = false;
}

void StoredUser::build(EditUser& edit) {
  CorvoUser::Builder builder(parts_.clock, parts_.timeZone);
  edit(builder);
  replace(taken(builder), parts_.clock->now());
}

void StoredUser::edit(EditUser& edit) {
  const CorvoUser& user = *parts_.contexts->currentUser();
  CorvoUser::Builder builder(parts_.clock, parts_.timeZone);
  builder.properties = user.properties;
  builder.corvoExpiration = user.corvoExpiration.value_or(PropertyMap());
  edit(builder);
  replace(taken(builder), parts_.clock->now(), storage::Origin::edit);
}

}  // namespace corvo::corvo_internal::client
