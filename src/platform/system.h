#pragma once

#include <corvo/platform/clock.h>
#include <corvo/platform/time_zone.h>

#include <memory>

namespace corvo::corvo_internal::platform {

/// The system's clock. One instance per process; any thread.
[[nodiscard]] std::shared_ptr<Clock> systemClock();

/// The time zone of the process, as the C library knows it: the variable TZ, else the system's
/// setting. It follows a change of either, with or without a call of `tzset`. One instance per
/// process; any thread, as long as nobody changes the environment meanwhile.
[[nodiscard]] std::shared_ptr<TimeZone> systemTimeZone();

}  // namespace corvo::corvo_internal::platform
