#pragma once

#include <corvo/platform/time_zone.h>

#include <string>

namespace corvo::targeting {

/// The expiry of a property that is set at a moment: 24 hours later, as local time
/// "yyyy-MM-dd HH:mm:ss", fractions of a second dropped.
[[nodiscard]] std::string expiryText(double now, const TimeZone& timeZone);

}  // namespace corvo::targeting
