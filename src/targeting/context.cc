#include "targeting/context.h"

#include <optional>

#include "base/civil_time.h"

namespace corvo::corvo_internal::targeting {
namespace {

const std::string* find(const PropertyMap& map, std::string_view name) {
  const auto found = map.find(name);
  return found == map.end() ? nullptr : &found->second;
}

const std::string* expiryText(const CorvoUser& user, std::string_view name) {
  if (name == "userId") {
    if (const std::string* own = find(user.properties, "corvoExpiration")) return own;
  }
  return user.corvoExpiration ? find(*user.corvoExpiration, name) : nullptr;
}

}  // namespace

PropertyLayer userLayer(const CorvoUser& user, const LocalTime& localTime) {
  PropertyLayer layer;
  for (const auto& [name, value] : user.properties) {
    const std::string* text = expiryText(user, name);
    if (text == nullptr) continue;
    const auto local = base::parseDate(*text, base::DatePattern::second);
    const auto expiry = local ? localTime.momentOf(*local) : std::nullopt;
    if (expiry) layer.put(name, value, static_cast<double>(*expiry));
  }
  return layer;
}

PropertyLayer lastingLayer(const PropertyMap& properties) {
  PropertyLayer layer;
  for (const auto& [name, value] : properties) layer.put(name, value);
  return layer;
}

}  // namespace corvo::corvo_internal::targeting
