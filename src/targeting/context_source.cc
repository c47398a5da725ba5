// SPDX-License-Identifier: Apache-2.0

#include "targeting/context_source.h"

#include <string>

#include "base/civil_time.h"
#include "base/text.h"

namespace corvo::corvo_internal::targeting {
namespace {

// Turns a view with a null pointer into an empty text.
std::string_view present(std::string_view text) { return text.data() == nullptr ? "" : text; }

// The expiry of a user's properties. Names must be requested in ascending order, like the user's
// own lists.
class Expiries {
 public:
  Expiries(const CorvoUser& user, const LocalTime& localTime) : localTime_(localTime) {
    const auto ofUserId = user.properties.find("corvoExpiration");
    if (ofUserId != user.properties.end()) ofUserId_ = &ofUserId->second;
    if (!user.corvoExpiration) return;
    next_ = user.corvoExpiration->begin();
    end_ = user.corvoExpiration->end();
  }

  // Without an expiry, or with one that is not an existing local time, the property has expired for
  // good.
  double of(std::string_view name) {
    const std::string* text = textOf(name);
    if (text == nullptr) return kForGood;
    if (last_ == nullptr || *text != *last_) {  // one text often serves all
      const auto local = base::parseDate(*text, base::DatePattern::second);
      const auto moment = local ? localTime_.momentOf(*local) : std::nullopt;
      lastMoment_ = moment ? static_cast<double>(*moment) : kForGood;
      last_ = text;
    }
    return lastMoment_;
  }

 private:
  const std::string* textOf(std::string_view name) {
    if (name == "userId" && ofUserId_ != nullptr) return ofUserId_;
    for (; next_ != end_; ++next_) {
      const int order = next_->first.compare(name);
      if (order >= 0) return order == 0 ? &next_->second : nullptr;
    }
    return nullptr;
  }

  const LocalTime& localTime_;
  const std::string* ofUserId_ = nullptr;
  PropertyMap::const_iterator next_{};
  PropertyMap::const_iterator end_{};
  const std::string* last_ = nullptr;
  double lastMoment_ = kForGood;
};

}  // namespace

ContextSource::ContextSource(const TimeZone& zone) : zone_(zone), localTime_(zone) {
  static const PropertyNames identifiersAlone;
  setNames(identifiersAlone);
}

void ContextSource::setDevice(const DeviceFacts& facts) {
  ++revision_;
  device_ = DeviceProperties(facts);
  vendorIdentifier_.reset();
  if (facts.vendorIdentifier) vendorIdentifier_ = device_.deviceId();
  isBehindRead_ = false;
}

void ContextSource::setNames(const PropertyNames& names) {
  table_.resize(names.count());
  names_ = &names;
  isUserRead_ = false;
  isBehindRead_ = false;
}

Context ContextSource::ofUser(double now) {
  const std::uint64_t zone = zone_.identifier();
  if (zone != zoneIdentifier_) {
    localTime_.forget();
    isUserRead_ = false;  // expiries are local times
    zoneIdentifier_ = zone;
  }
  if (!isUserRead_) readUser();
  Context context = bare(now);
  context.own = &own_;
  context.revision = revision_;
  context.vendorIdentifier = vendorIdentifier_;
  return context;
}

Context ContextSource::at(double now) {
  Context context = ofUser(now);
  const bool showsAnother = device_.show(now, zoneIdentifier_, localTime_);
  if (!isBehindRead_) {
    readBehind();
  } else if (showsAnother) {
    for (const DeviceProperties::Property* each : device_.clock()) {
      const std::uint32_t number = names_->find(each->name);
      if (number != PropertyNames::kNone) table_.changeBehind(number, each->value);
    }
  }
  table_.forgetReadings();
  context.properties = &table_;
  return context;
}

void ContextSource::readUser() {
  table_.forgetUser();
  own_ = {};
  if (user_ != nullptr) {
    readRecord();
  } else {
    readLasting();
  }
  isUserRead_ = true;
}

void ContextSource::readRecord() {
  Expiries expiries(*user_, localTime_);
  for (const auto& [name, value] : user_->properties) {
    const std::uint32_t number = names_->find(name);
    if (number == PropertyNames::kNone) continue;
    putUser(number, value, expiries.of(name));
  }
}

// A found name is well-formed. The value of a name that is ill-formed is not needed.
void ContextSource::readLasting() {
  repaired_.clear();
  for (const auto& [name, value] : properties_) {
    std::uint32_t number = names_->find(name);
    if (number == PropertyNames::kNone && !base::isWellFormed(name)) {
      number = names_->find(base::wellFormed(name));
    }
    if (number == PropertyNames::kNone) continue;
    const bool isWellFormed = base::isWellFormed(value);
    putUser(number, isWellFormed ? value : repaired_.emplace_front(base::wellFormed(value)),
            kNever);
  }
}

void ContextSource::putUser(std::uint32_t number, std::string_view value, double expiry) {
  table_.putUser(number, value, expiry);
  if (number < own_.size() && !own_[number].isThere) own_[number] = {present(value), expiry, true};
}

// The first entry counts, so the device hides the location.
void ContextSource::readBehind() {
  table_.forgetBehind();
  isBehindRead_ = true;
  const auto put = [this](const auto& name, std::string_view value) {
    const std::uint32_t number = names_->find(name);
    if (number != PropertyNames::kNone) table_.putBehind(number, value);
  };
  for (const DeviceProperties::Property& each : device_.list()) put(each.name, each.value);
  if (location_ == nullptr) return;
  for (const auto& [name, value] : *location_) put(name, value);
}

}  // namespace corvo::corvo_internal::targeting
