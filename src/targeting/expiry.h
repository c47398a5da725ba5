#pragma once

#include <corvo/platform/time_zone.h>

#include <cstdint>
#include <string>

namespace corvo::corvo_internal::targeting {

/// The second at which a property that is set at a moment expires: 24 hours later, fractions
/// dropped.
[[nodiscard]] std::int64_t expirySecond(double now) noexcept;

/// The expiry of a property that is set at a moment: 24 hours later, as local time
/// "yyyy-MM-dd HH:mm:ss", fractions of a second dropped.
[[nodiscard]] std::string expiryText(double now, const TimeZone& timeZone);

}  // namespace corvo::corvo_internal::targeting
