// SPDX-License-Identifier: Apache-2.0

#include <corvo/c/client.h>
#include <corvo/json_value.h>
#include <corvo/user_builder.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "c/call.h"
#include "c/client_objects.h"
#include "c/objects.h"
#include "c/user_object.h"

namespace corvo::corvo_internal::c {
namespace {

using Builder = CorvoUser::Builder;

/// In the order of `corvo_user_property`.
constexpr Builder& (Builder::*kSetters[])(OptionalText) = {
    &Builder::setUserId,   &Builder::setProfileId, &Builder::setDeviceId, &Builder::setAppVersion,
    &Builder::setOsName,   &Builder::setOsVersion, &Builder::setGeoCode,  &Builder::setGeoCountry,
    &Builder::setGeoState, &Builder::setGeoCity,   &Builder::setEmail};

void setCustom(Builder& builder, std::string_view key, const corvo_value& value) {
  switch (value.type) {
    case CORVO_ABSENT:
      builder.setCustomProperty(std::nullopt, key);
      return;
    case CORVO_BOOLEAN:
      builder.setCustomProperty(isTrue(value.boolean), key);
      return;
    case CORVO_INTEGER:
      builder.setCustomProperty(value.integer, key);
      return;
    case CORVO_DOUBLE:
      builder.setCustomProperty(value.number, key);
      return;
    case CORVO_STRING:
    case CORVO_JSON:
      builder.setCustomProperty(viewOf(value.text), key);
      return;
    default:
      throw Misuse(CORVO_INVALID_ARGUMENT, "there is no such type of a value");
  }
}

JsonObject jsonOf(const PropertyMap& properties) {
  JsonObject object;
  for (const auto& [name, value] : properties) object.emplace(name, value);
  return object;
}

template <class Body>
corvo_status withUser(const corvo_user* user, Body body) {
  return call([&] { useAlone(users(), user, body); });
}

}  // namespace
}  // namespace corvo::corvo_internal::c

using namespace corvo;
using namespace corvo::corvo_internal::c;

corvo_status corvo_user_create(corvo_registry* registry, corvo_user** user) {
  return call([&] {
    corvo_user*& result = resultAt(user);
    auto object = std::make_shared<UserObject>();
    if (registry == nullptr) {
      object->own.emplace();
    } else {
      const auto stamps = shared(registries(), registry);
      object->own.emplace(stamps->platform.clock, stamps->platform.timeZone);
    }
    object->builder = &*object->own;
    result = handleIn<corvo_user>(users(), std::move(object));
  });
}

corvo_status corvo_user_free(corvo_user* user) {
  return call([&] { freeHandle(users(), user); });
}

corvo_status corvo_user_set(corvo_user* user, corvo_user_property property, corvo_text value) {
  return withUser(user, [&](UserObject& object) {
    if (property < 0 || property >= static_cast<int>(std::size(kSetters))) {
      throw Misuse(CORVO_INVALID_ARGUMENT, "there is no such property");
    }
    (object.builder->*kSetters[property])(optionalViewOf(value));
  });
}

corvo_status corvo_user_set_custom(corvo_user* user, corvo_text key, const corvo_value* value) {
  return withUser(user, [&](UserObject& object) {
    if (value == nullptr) throw Misuse(CORVO_INVALID_ARGUMENT, "the value is null");
    setCustom(*object.builder, viewOf(key), *value);
  });
}

corvo_status corvo_user_restore(corvo_user* user, corvo_text name, corvo_text value,
                                corvo_text expiry) {
  return withUser(user, [&](UserObject& object) {
    const std::string key = corvo_internal::base::wellFormed(viewOf(name));
    const auto until = optionalViewOf(expiry);
    object.builder->properties.insert_or_assign(key,
                                                corvo_internal::base::wellFormed(viewOf(value)));
    if (until) {
      object.builder->corvoExpiration.insert_or_assign(key,
                                                       corvo_internal::base::wellFormed(*until));
    } else {
      object.builder->corvoExpiration.erase(key);
    }
  });
}

corvo_status corvo_user_describe(corvo_user* user, corvo_text* json) {
  return withUser(user, [&](UserObject& object) {
    corvo_text& result = resultAt(json);
    object.description =
        toJson(JsonObject{{"properties", jsonOf(object.builder->properties)},
                          {"corvoExpiration", jsonOf(object.builder->corvoExpiration)}});
    result = asText(object.description);
  });
}
