// SPDX-License-Identifier: Apache-2.0

#include "targeting/expiry.h"

#include "base/civil_time.h"

namespace corvo::corvo_internal::targeting {

constexpr double kLifetimeSeconds = 86'400;

std::int64_t expirySecond(double now) noexcept {
  return base::wholeSeconds(now + kLifetimeSeconds);
}

std::string expiryText(double now, const TimeZone& timeZone) {
  const std::int64_t second = expirySecond(now);
  return base::formatDate(second + timeZone.offsetAt(second), base::DatePattern::second);
}

}  // namespace corvo::corvo_internal::targeting
