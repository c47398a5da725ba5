// SPDX-License-Identifier: Apache-2.0

#include "c/context_copy.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "c/call.h"
#include "c/objects.h"
#include "c/user_object.h"

namespace corvo::corvo_internal::c {
namespace {

class CallerZone final : public TimeZone {
 public:
  explicit CallerZone(const corvo_time_zone& zone) : zone_(zone) {}

  [[nodiscard]] std::int32_t offsetAt(std::int64_t moment) const override {
    return zone_.offset_at(zone_.context, moment);
  }
  [[nodiscard]] std::uint64_t identifier() const override {
    return zone_.identifier(zone_.context);
  }

 private:
  const corvo_time_zone zone_;
};

/// A zone without functions is the system's.
corvo_time_zone zoneOf(const corvo_time_zone* zone) {
  if (zone == nullptr) return {};
  if (zone->offset_at == nullptr || zone->identifier == nullptr) {
    throw Misuse(CORVO_INVALID_ARGUMENT, "a function of the time zone is null");
  }
  return *zone;
}

bool isSame(const corvo_time_zone& a, const corvo_time_zone& b) {
  return a.context == b.context && a.offset_at == b.offset_at && a.identifier == b.identifier;
}

}  // namespace

void ContextCopy::take(const corvo_context* given) {
  static constexpr corvo_context kEmpty{};
  const corvo_context& from = given == nullptr ? kEmpty : sizedAt(given);
  const corvo_time_zone zone = zoneOf(from.time_zone);
  PropertyMap location;
  for (const auto& [name, value] : listOf(from.location, from.location_count)) {
    location.emplace(viewOf(name), viewOf(value));
  }
  DeviceFacts device;
  device.applicationVersion = optionalViewOf(from.application_version);
  device.vendorIdentifier = optionalViewOf(from.device_id);
  device.systemName = optionalViewOf(from.system_name);
  device.systemVersion = optionalViewOf(from.system_version);
  CorvoUser user;
  if (from.user != nullptr) {
    useAlone(users(), from.user, [&](const UserObject& object) { user = object.builder->build(); });
  }
  takeProperties(from.properties, from.property_count);
  // An evaluation goes on with what it knows about a zone as long as the object is the same.
  if (!isSame(zone, zone_)) {
    context_.timeZone = zone.offset_at == nullptr ? nullptr : std::make_shared<CallerZone>(zone);
    zone_ = zone;
  }
  user_ = std::move(user);
  context_.user = from.user == nullptr ? nullptr : &user_;
  context_.location = std::move(location);
  context_.device = std::move(device);
  context_.now = isTrue(from.has_now) ? std::optional(from.now) : std::nullopt;
}

// The texts do not move while the list is made, because their memory is reserved first.
void ContextCopy::takeProperties(const corvo_property* properties, std::size_t count) {
  const auto list = listOf(properties, count);
  std::size_t size = 0;
  for (const auto& [name, value] : list) size += viewOf(name).size() + viewOf(value).size();
  context_.properties = {};
  properties_.clear();
  properties_.reserve(list.size());
  texts_.clear();
  texts_.reserve(size);
  const auto keep = [&](corvo_text text) {
    const std::size_t start = texts_.size();
    texts_ += viewOf(text);
    return std::string_view(texts_).substr(start);
  };
  for (const auto& [name, value] : list) {
    const std::string_view keptName = keep(name);
    properties_.emplace_back(keptName, keep(value));
  }
  context_.properties = properties_;
}

}  // namespace corvo::corvo_internal::c
