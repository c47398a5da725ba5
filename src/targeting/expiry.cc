#include "targeting/expiry.h"

#include "base/civil_time.h"
#include "targeting/local_time.h"

namespace corvo::corvo_internal::targeting {

constexpr double kLifetimeSeconds = 86'400;

std::string expiryText(double now, const TimeZone& timeZone) {
  const base::LocalSeconds expiry = LocalTime(timeZone).at(now + kLifetimeSeconds);
  return base::formatDate(expiry, base::DatePattern::second);
}

}  // namespace corvo::corvo_internal::targeting
