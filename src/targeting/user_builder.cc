// SPDX-License-Identifier: Apache-2.0

#include <corvo/user_builder.h>

#include <utility>

#include "base/number.h"
#include "base/text.h"
#include "platform/system.h"
#include "targeting/expiry.h"

namespace corvo {

using namespace corvo_internal;

namespace {

void erase(PropertyMap& map, std::string_view key) {
  if (const auto found = map.find(key); found != map.end()) map.erase(found);
}

}  // namespace

CorvoUser::Builder::Builder() : Builder(platform::systemClock(), platform::systemTimeZone()) {}

CorvoUser::Builder::Builder(std::shared_ptr<const Clock> clock,
                            std::shared_ptr<const TimeZone> timeZone)
    : clock_(std::move(clock)), timeZone_(std::move(timeZone)) {}

CorvoUser::Builder& CorvoUser::Builder::set(std::string_view key, OptionalText value) {
  if (!value.view()) {
    erase(properties, key);
    erase(corvoExpiration, key);
    return *this;
  }
  const base::WellFormed text(*value.view());
  properties.insert_or_assign(std::string(key), std::string_view(text));
  corvoExpiration.insert_or_assign(std::string(key), expiryText());
  return *this;
}

// Properties are set one after another, usually within one second.
const std::string& CorvoUser::Builder::expiryText() {
  const double now = clock_->now();
  const std::int64_t second = targeting::expirySecond(now);
  const std::uint64_t zone = timeZone_->identifier();
  if (expiry_.empty() || second != expirySecond_ || zone != zone_) {
    expiry_ = targeting::expiryText(now, *timeZone_);
    expirySecond_ = second;
    zone_ = zone;
  }
  return expiry_;
}

CorvoUser::Builder& CorvoUser::Builder::setCustom(std::string_view key, OptionalText value) {
  std::string name = "custom.";
  name += base::WellFormed(key);
  return set(name, value);
}

std::string CorvoUser::Builder::describe(double value) { return base::describe(value); }
std::string CorvoUser::Builder::describe(float value) { return base::describe(value); }

}  // namespace corvo
