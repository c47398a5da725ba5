// SPDX-License-Identifier: Apache-2.0

#include <corvo/fakes/fake_time_zone.h>

#include <iterator>
#include <string>

#include "fakes/arguments.h"
#include "zones/named_zone.h"

namespace corvo::fakes {

std::int32_t FakeTimeZone::offsetAt(std::int64_t moment) const {
  if (named_) return named_->offsetAt(moment);
  const auto next = transitions_.upper_bound(moment);
  return next == transitions_.begin() ? offset_ : std::prev(next)->second;
}

void FakeTimeZone::change(std::int32_t offset, Transitions transitions) {
  named_ = nullptr;
  offset_ = offset;
  transitions_ = std::move(transitions);
  ++identifier_;
}

void FakeTimeZone::change(std::string_view name) {
  auto zone = corvo_internal::zones::namedZone(std::string(name));
  if (!zone) {
    throw wrong({"there is no time zone \"", name,
                 "\" in the system's database (TZDIR, else /usr/share/zoneinfo); without a "
                 "database, give the zone's offset and its transitions"});
  }
  named_ = std::move(zone);
  ++identifier_;
}

}  // namespace corvo::fakes
