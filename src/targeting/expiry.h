// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <corvo/platform/time_zone.h>

#include <cstdint>
#include <string>

namespace corvo::corvo_internal::targeting {

/// The second at which a property set at this time expires: 24 hours later, rounded down.
[[nodiscard]] std::int64_t expirySecond(double now) noexcept;

/// The expiry of a property set at this time: 24 hours later, as local time "yyyy-MM-dd HH:mm:ss",
/// rounded down to a second.
[[nodiscard]] std::string expiryText(double now, const TimeZone& timeZone);

}  // namespace corvo::corvo_internal::targeting
